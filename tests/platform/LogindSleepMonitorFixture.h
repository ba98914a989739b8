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

/// Returns whether the predicate stays false while pending messages arrive.
inline bool never(const std::function<bool()> &predicate) {
    return !QTest::qWaitFor(predicate, 200);
}

/// A client of the bus other than the monitor.
class BusClient {
  public:
    explicit BusClient(const QString &address)
        : m_bus(QDBusConnection::connectToBus(address, QStringLiteral("client"))) {}
    BusClient(const BusClient &) = delete;
    BusClient &operator=(const BusClient &) = delete;
    ~BusClient() { QDBusConnection::disconnectFromBus(QStringLiteral("client")); }

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

/// Runs monitors on a private bus with a scripted login manager.
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
    /// Starts the monitor and waits until it has been granted its inhibitor. Messages that the
    /// login manager sends after this call therefore arrive while the monitor holds the inhibitor.
    void startHolding(LogindSleepMonitor &monitor) {
        start(monitor);
        ASSERT_TRUE(eventually([&] { return isHeld(monitor); }));
    }
    /// Also checks the monitor, because a signal may overtake a reply that was sent before the
    /// signal.
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
