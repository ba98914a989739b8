#pragma once

#include "LocalPort.h"
#include "platform/QueueWork.h"
#include "platform/network/TcpConnection.h"

#include <QtTest/QTest>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <ostream>
#include <utility>
#include <vector>

namespace lumvik {

/// Prints a state in failure messages.
inline void PrintTo(NetworkConnection::State state, std::ostream *stream) {
    static constexpr const char *names[] = {"preparing", "waiting", "failed", "ready", "cancelled"};
    *stream << names[static_cast<int>(state)];
}

namespace test {

/// Collects the states that a connection reports. The states can be read on any thread.
class Reports {
  public:
    using State = NetworkConnection::State;
    using States = std::vector<State>;
    /// The time limit on a slow machine, in milliseconds, for operations that normally take
    /// milliseconds.
    static constexpr int deadline = 20'000;

    [[nodiscard]] NetworkConnection::StateUpdateHandler handler() {
        return [this](State state) {
            const std::scoped_lock lock(m_mutex);
            m_states.push_back(state);
        };
    }
    [[nodiscard]] States states() const {
        const std::scoped_lock lock(m_mutex);
        return m_states;
    }
    [[nodiscard]] bool endWith(State state) const {
        const States all = states();
        return !all.empty() && all.back() == state;
    }
    [[nodiscard]] bool reach(State state) const {
        return QTest::qWaitFor([&] { return endWith(state); }, deadline);
    }

  private:
    mutable std::mutex m_mutex;
    States m_states;
};

/// Runs connections on the test's own queue, which outlives the connections.
class TcpConnectionFixture : public testing::Test {
  protected:
    using State = Reports::State;
    using States = Reports::States;
    static constexpr int deadline = Reports::deadline;

    [[nodiscard]] std::shared_ptr<TcpConnection>
    started(const QString &host, std::uint16_t port, NameResolver resolver = resolveWithSystem) {
        auto connection = std::make_shared<TcpConnection>(host, port, std::move(resolver));
        connection->setStateUpdateHandler(reports.handler());
        connection->start(queue);
        return connection;
    }

    [[nodiscard]] ConnectionFailure failureOf(const TcpConnection &connection) {
        return runOn(queue, [&connection] { return connection.failure(); });
    }

    const QString loopback = QStringLiteral("127.0.0.1");
    Reports reports;
    SerialQueue queue{QStringLiteral("test.connection")};
};

} // namespace test
} // namespace lumvik
