#pragma once

#include "fakes/CapturingLogSink.h"
#include "fakes/LogindDouble.h"
#include "fakes/PrivateBus.h"
#include "platform/LogindSleepMonitor.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QStringList>
#include <QtTest/QTest>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <utility>

namespace lumvik::test {

inline bool eventually(const std::function<bool()> &predicate) {
    return QTest::qWaitFor(predicate, 20'000);
}

/// Lets come what is on its way.
inline bool never(const std::function<bool()> &predicate) {
    return !QTest::qWaitFor(predicate, 200);
}

/// Another program on the bus.
class BusNeighbour {
  public:
    explicit BusNeighbour(const QString &address)
        : m_bus(QDBusConnection::connectToBus(address, QStringLiteral("neighbour"))) {}
    BusNeighbour(const BusNeighbour &) = delete;
    BusNeighbour &operator=(const BusNeighbour &) = delete;
    ~BusNeighbour() { QDBusConnection::disconnectFromBus(QStringLiteral("neighbour")); }

    [[nodiscard]] QDBusConnection &bus() { return m_bus; }
    [[nodiscard]] QStringList names() const {
        const QDBusMessage call = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("ListNames"));
        return m_bus.call(call).arguments().value(0).toStringList();
    }

  private:
    QDBusConnection m_bus;
};

/// Monitors on a bus of the test's own, with a login manager that does what the test says.
class LogindSleepMonitorFixture : public testing::Test {
  protected:
    using Behaviour = LogindDouble::Behaviour;

    void SetUp() override {
        ASSERT_TRUE(bus.isRunning()) << "dbus-daemon cannot be started";
        logind = std::make_unique<LogindDouble>(bus.address());
        ASSERT_TRUE(logind->isPresent());
    }

    void start(LogindSleepMonitor &monitor) {
        monitor.start(
            [this](SleepMonitor::SleepDelay delay) {
                ++sleeps;
                lastDelay = std::move(delay);
            },
            [this] { ++wakes; });
    }
    /// Starts the monitor and waits until it was granted its inhibitor. What the login manager
    /// sends later also arrives later.
    void startHolding(LogindSleepMonitor &monitor) {
        start(monitor);
        ASSERT_TRUE(eventually([&] { return isHeld(monitor); }));
    }
    /// The monitor is asked too, because a signal may overtake the answer that was sent before it.
    [[nodiscard]] bool isHeld(const LogindSleepMonitor &monitor) const {
        return logind->openInhibitors() == 1 && monitor.holdsInhibitor();
    }

    const PrivateBus bus;
    std::unique_ptr<LogindDouble> logind;
    const CapturedLog log;
    int sleeps = 0;
    int wakes = 0;
    SleepMonitor::SleepDelay lastDelay;
};

} // namespace lumvik::test
