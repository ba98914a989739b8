#pragma once

#include <QTest>

#include <chrono>
#include <functional>

namespace lumvik::test {

/// Runs the event loop until `predicate` answers true or `deadline` has passed, and answers what
/// the predicate said last. It is asked at least once, and about a hundred times a second.
///
/// Deadlines say how long a slow machine may take, not how long something is expected to take: a
/// test that passes never waits for one.
[[nodiscard]] inline bool eventually(std::chrono::milliseconds deadline,
                                     const std::function<bool()> &predicate) {
    return QTest::qWaitFor(predicate, static_cast<int>(deadline.count()));
}

/// Whether `predicate` answers true for all of `duration`, asked with the event loop running.
[[nodiscard]] inline bool always(std::chrono::milliseconds duration,
                                 const std::function<bool()> &predicate) {
    return !QTest::qWaitFor([&] { return !predicate(); }, static_cast<int>(duration.count()));
}

} // namespace lumvik::test
