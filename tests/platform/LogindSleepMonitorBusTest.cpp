#include "LogindSleepMonitorFixture.h"
#include "fakes/UnresponsiveBus.h"

#include <QElapsedTimer>

// Tests with buses and login managers that are absent, unresponsive or restarted.

namespace lumvik::test {
namespace {

using LogindSleepMonitorTest = LogindSleepMonitorFixture;

TEST_F(LogindSleepMonitorTest, LogsOnceThatThereIsNoBus) {
    LogindSleepMonitor monitor(QStringLiteral("unix:path=/nonexistent/bus;unix:abstract=nowhere"));
    start(monitor);
    ASSERT_TRUE(eventually([this] { return !log.lines().isEmpty(); }));
    EXPECT_TRUE(never([this] { return log.lines().size() != 1; }));
    EXPECT_EQ(log.lines().constFirst(),
              (LoggedLine{LogLevel::info, QStringLiteral("lifecycle"),
                          QStringLiteral("Sleep cannot be detected on this system: "
                                         "there is no system bus.")}));
}

TEST_F(LogindSleepMonitorTest, UsesTheFirstResponsiveBus) {
    LogindSleepMonitor monitor(QStringLiteral("unix:path=/nonexistent/bus;") + bus.address());
    startHolding(monitor);
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(LogindSleepMonitorTest, UsesTheSystemBusFromTheEnvironment) {
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus.address().toUtf8());
    LogindSleepMonitor monitor;
    qunsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    startHolding(monitor);
}

TEST_F(LogindSleepMonitorTest, UnresponsiveBusBlocksNothing) {
    for (const UnresponsiveBus::Queue queue :
         {UnresponsiveBus::Queue::open, UnresponsiveBus::Queue::full}) {
        const UnresponsiveBus unresponsive(queue);
        ASSERT_TRUE(unresponsive.isThere());
        QElapsedTimer elapsed;
        elapsed.start();
        {
            LogindSleepMonitor monitor(unresponsive.address());
            start(monitor);
            EXPECT_LT(elapsed.elapsed(), 2000) << "starting the monitor must not block";
            // Connections to another bus are not blocked either.
            LogindDouble other(bus.address());
            EXPECT_TRUE(never([this] { return !log.lines().isEmpty(); }));
            elapsed.start();
        }
        EXPECT_LT(elapsed.elapsed(), 2000) << "destroying the monitor must not block";
    }
}

TEST_F(LogindSleepMonitorTest, LogsThatTheBusDoesNotAnswer) {
    const UnresponsiveBus unresponsive;
    ASSERT_TRUE(unresponsive.isThere());
    LogindSleepMonitor monitor(unresponsive.address(), std::chrono::milliseconds(100));
    start(monitor);
    ASSERT_TRUE(eventually([this] { return !log.lines().isEmpty(); }));
    EXPECT_EQ(log.lines().constFirst().text,
              QStringLiteral("Sleep cannot be detected on this system: "
                             "the system bus does not answer."));
}

TEST_F(LogindSleepMonitorTest, LogsOnceThatThereIsNoLoginManagerAndUsesOneThatAppears) {
    logind.reset();
    LogindSleepMonitor monitor(bus.address());
    start(monitor);
    ASSERT_TRUE(eventually([this] { return !log.lines().isEmpty(); }));
    EXPECT_EQ(log.lines().constFirst(),
              (LoggedLine{LogLevel::info, QStringLiteral("lifecycle"),
                          QStringLiteral("Sleep cannot be detected on this system: "
                                         "there is no login manager.")}));
    logind = std::make_unique<LogindDouble>(bus.address());
    ASSERT_TRUE(eventually([&] { return isHeld(monitor); }));
    logind->announceSleep();
    ASSERT_TRUE(eventually([this] { return sleeps == 1; }));
    EXPECT_TRUE(lastDelay);
    EXPECT_EQ(log.lines().size(), 1);
}

TEST_F(LogindSleepMonitorTest, RequestsAnInhibitorFromARestartedLoginManager) {
    LogindSleepMonitor monitor(bus.address());
    startHolding(monitor);
    logind.reset();
    logind = std::make_unique<LogindDouble>(bus.address());
    ASSERT_TRUE(eventually([&] { return isHeld(monitor); }));
    logind->announceSleep();
    ASSERT_TRUE(eventually([this] { return sleeps == 1; }));
    lastDelay.reset();
    EXPECT_TRUE(eventually([this] { return logind->openInhibitors() == 0; }));
    logind->announceWake();
    EXPECT_TRUE(eventually([this] { return wakes == 1; }));
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(LogindSleepMonitorTest, RepeatsARequestThatTheOldLoginManagerLeftUnanswered) {
    logind->setBehaviour(Behaviour::hesitating);
    LogindSleepMonitor monitor(bus.address());
    start(monitor);
    ASSERT_TRUE(eventually([this] { return logind->requests().size() == 1; }));
    logind.reset();
    logind = std::make_unique<LogindDouble>(bus.address());
    EXPECT_TRUE(eventually([this] { return logind->openInhibitors() == 1; }));
    EXPECT_TRUE(never([this] { return !log.lines().isEmpty(); }));
}

TEST_F(LogindSleepMonitorTest, RestartOfTheLoginManagerAfterAnnouncingSleepCountsAsWaking) {
    LogindSleepMonitor monitor(bus.address());
    startHolding(monitor);
    logind->announceSleep();
    ASSERT_TRUE(eventually([this] { return sleeps == 1; }));
    lastDelay.reset();
    logind.reset();
    EXPECT_TRUE(never([this] { return wakes != 0; }));
    logind = std::make_unique<LogindDouble>(bus.address());
    EXPECT_TRUE(eventually([this] { return wakes == 1; }));
    EXPECT_TRUE(eventually([this] { return logind->openInhibitors() == 1; }));
    EXPECT_EQ(logind->requests().size(), 1);
}

} // namespace
} // namespace lumvik::test
