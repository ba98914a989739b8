#pragma once

#include <QTest>

#include <chrono>
#include <functional>

namespace lumvik::test {

/// Runs the event loop until `predicate` returns true or `deadline` has passed, and returns the
/// last result of the predicate. The predicate is called at least once, and then about a hundred
/// times per second.
///
/// A deadline is the time that a slow machine may need, not the expected duration. A passing test
/// never waits until its deadline.
[[nodiscard]] inline bool eventually(std::chrono::milliseconds deadline,
                                     const std::function<bool()> &predicate) {
    return QTest::qWaitFor(predicate, static_cast<int>(deadline.count()));
}

/// Runs the event loop for `duration`, and returns whether `predicate` returned true throughout.
[[nodiscard]] inline bool always(std::chrono::milliseconds duration,
                                 const std::function<bool()> &predicate) {
    return !QTest::qWaitFor([&] { return !predicate(); }, static_cast<int>(duration.count()));
}

} // namespace lumvik::test
