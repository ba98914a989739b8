#include "LogindSleepMonitorFixture.h"

#include <chrono>

// Tests of sleep and waking with a login manager that is available.

namespace lumvik::test {
namespace {

using LogindSleepMonitorTest = LogindSleepMonitorFixture;

TEST_F(LogindSleepMonitorTest, HoldsADelayInhibitorFromTheStart) {
    LogindSleepMonitor monitor(bus.address());
    startHolding(monitor);
    ASSERT_EQ(logind->requests().size(), 1);
    const InhibitRequest request = logind->requests().constFirst();
    EXPECT_EQ(request.what, QStringLiteral("sleep"));
    EXPECT_EQ(request.who, QStringLiteral("Lumvik"));
    EXPECT_FALSE(request.why.isEmpty());
    EXPECT_EQ(request.mode, QStringLiteral("delay"));
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(LogindSleepMonitorTest, DelaysSleepUntilTheDelayIsDropped) {
    LogindSleepMonitor monitor(bus.address());
    startHolding(monitor);
    logind->announceSleep();
    ASSERT_TRUE(eventually([this] { return sleeps == 1; }));
    ASSERT_TRUE(lastDelay);
    EXPECT_TRUE(never([this] { return logind->openInhibitors() != 1; }));
    lastDelay.reset();
    EXPECT_TRUE(eventually([this] { return logind->openInhibitors() == 0; }));
    EXPECT_EQ(wakes, 0);
}

TEST_F(LogindSleepMonitorTest, RequestsANewInhibitorAfterWaking) {
    LogindSleepMonitor monitor(bus.address());
    startHolding(monitor);
    for (int round = 1; round <= 3; ++round) {
        logind->announceSleep();
        ASSERT_TRUE(eventually([&] { return sleeps == round; }));
        EXPECT_TRUE(lastDelay);
        lastDelay.reset();
        ASSERT_TRUE(eventually([this] { return logind->openInhibitors() == 0; }));
        logind->announceWake();
        ASSERT_TRUE(eventually([&] { return wakes == round; }));
        ASSERT_TRUE(eventually([&] { return isHeld(monitor); }));
    }
    EXPECT_EQ(logind->requests().size(), 4);
}

TEST_F(LogindSleepMonitorTest, ReportsWakingWithoutSleepAndKeepsItsInhibitor) {
    LogindSleepMonitor monitor(bus.address());
    startHolding(monitor);
    logind->announceWake();
    ASSERT_TRUE(eventually([this] { return wakes == 1; }));
    EXPECT_TRUE(never([this] { return logind->openInhibitors() != 1; }));
    EXPECT_EQ(logind->requests().size(), 1);
}

TEST_F(LogindSleepMonitorTest, ReportsTwoSleepsInARow) {
    LogindSleepMonitor monitor(bus.address());
    startHolding(monitor);
    logind->announceSleep();
    ASSERT_TRUE(eventually([this] { return sleeps == 1; }));
    EXPECT_TRUE(lastDelay);
    logind->announceSleep();
    ASSERT_TRUE(eventually([this] { return sleeps == 2; }));
    EXPECT_FALSE(lastDelay);
}

TEST_F(LogindSleepMonitorTest, PassesNoDelayBeforeTheInhibitorIsGranted) {
    logind->setBehaviour(Behaviour::hesitating);
    LogindSleepMonitor monitor(bus.address());
    start(monitor);
    ASSERT_TRUE(eventually([this] { return logind->requests().size() == 1; }));
    lastDelay = std::make_shared<int>(0);
    logind->announceSleep();
    ASSERT_TRUE(eventually([this] { return sleeps == 1; }));
    EXPECT_FALSE(lastDelay);
    // A late inhibitor is not kept, because it would only delay the machine's sleep.
    logind->grantPending();
    EXPECT_TRUE(eventually([this] { return logind->openInhibitors() == 0; }));
    logind->setBehaviour(Behaviour::granting);
    logind->announceWake();
    EXPECT_TRUE(eventually([this] { return wakes == 1 && logind->openInhibitors() == 1; }));
}

TEST_F(LogindSleepMonitorTest, ReportsSleepWithoutAnInhibitorAndLogsTheRefusalOnce) {
    logind->setBehaviour(Behaviour::refusing);
    LogindSleepMonitor monitor(bus.address());
    start(monitor);
    ASSERT_TRUE(eventually([this] { return !log.lines().isEmpty(); }));
    lastDelay = std::make_shared<int>(0);
    logind->announceSleep();
    ASSERT_TRUE(eventually([this] { return sleeps == 1; }));
    EXPECT_FALSE(lastDelay);
    logind->announceWake();
    ASSERT_TRUE(eventually([this] { return wakes == 1 && logind->requests().size() == 2; }));
    EXPECT_TRUE(never([this] { return log.lines().size() != 1; }));
    EXPECT_EQ(log.lines().constFirst(),
              (LoggedLine{LogLevel::info, QStringLiteral("lifecycle"),
                          QStringLiteral("Sleep cannot be delayed on this system: "
                                         "Permission denied.")}));
}

TEST_F(LogindSleepMonitorTest, RunningMachineCountsAsAwakeAfterTheLoginManagerStops) {
    LogindSleepMonitor monitor(bus.address(), std::chrono::seconds(10),
                               std::chrono::milliseconds(200));
    startHolding(monitor);
    logind->announceSleep();
    ASSERT_TRUE(eventually([this] { return sleeps == 1; }));
    lastDelay.reset();
    logind.reset();
    EXPECT_TRUE(eventually([this] { return wakes == 1; }));
    EXPECT_TRUE(never([this] { return wakes > 1; }));
}

TEST_F(LogindSleepMonitorTest, AnnouncedWakingStopsTheSleepTimer) {
    LogindSleepMonitor monitor(bus.address(), std::chrono::seconds(10),
                               std::chrono::milliseconds(200));
    startHolding(monitor);
    logind->announceSleep();
    logind->announceWake();
    EXPECT_TRUE(eventually([this] { return wakes == 1; }));
    EXPECT_TRUE(never([this] { return wakes > 1; }));
}

TEST_F(LogindSleepMonitorTest, IgnoresAnnouncementsFromOtherClients) {
    BusClient client(bus.address());
    const QStringList others = client.names();
    LogindSleepMonitor monitor(bus.address());
    startHolding(monitor);
    forgeSleep(client.bus(), true);
    for (const QString &name : client.names()) {
        // A message addressed to the monitor directly arrives regardless of its subscriptions.
        if (!others.contains(name)) {
            forgeSleep(client.bus(), true, name);
            forgeSleep(client.bus(), false, name);
        }
    }
    EXPECT_TRUE(never([this] { return sleeps + wakes != 0; }));
    logind->announceSleep();
    EXPECT_TRUE(eventually([this] { return sleeps == 1; }));
}

TEST_F(LogindSleepMonitorTest, StopReleasesTheInhibitorAndIgnoresAnnouncements) {
    LogindSleepMonitor monitor(bus.address());
    startHolding(monitor);
    monitor.stop();
    EXPECT_TRUE(eventually([this] { return logind->openInhibitors() == 0; }));
    logind->announceSleep();
    logind->announceWake();
    EXPECT_TRUE(never([this] { return sleeps + wakes != 0; }));
    monitor.stop();
    EXPECT_EQ(logind->requests().size(), 1);
}

TEST_F(LogindSleepMonitorTest, StopBeforeTheReplyKeepsNoInhibitor) {
    logind->setBehaviour(Behaviour::hesitating);
    LogindSleepMonitor monitor(bus.address());
    start(monitor);
    ASSERT_TRUE(eventually([this] { return logind->requests().size() == 1; }));
    monitor.stop();
    logind->grantPending();
    EXPECT_TRUE(eventually([this] { return logind->openInhibitors() == 0; }));
}

TEST_F(LogindSleepMonitorTest, StopRightAfterStartPreventsAnyRequest) {
    {
        LogindSleepMonitor never;
        never.stop();
    }
    {
        LogindSleepMonitor monitor(bus.address());
        start(monitor);
        monitor.stop();
        start(monitor);
        EXPECT_TRUE(test::never([this] { return !logind->requests().isEmpty(); }));
    }
    {
        LogindSleepMonitor monitor(bus.address());
        start(monitor);
    }
    EXPECT_TRUE(test::never([this] { return logind->openInhibitors() != 0; }));
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(LogindSleepMonitorTest, HandlersMayStopTheMonitor) {
    LogindSleepMonitor monitor(bus.address());
    const auto witness = std::make_shared<int>(0);
    monitor.start(
        [&, witness](SleepMonitor::SleepDelay) {
            monitor.stop();
            sleeps += *witness + 1;
        },
        [] {});
    ASSERT_TRUE(eventually([&] { return isHeld(monitor); }));
    logind->announceSleep();
    EXPECT_TRUE(eventually([this] { return sleeps == 1; }));
    EXPECT_TRUE(eventually([this] { return logind->openInhibitors() == 0; }));
    EXPECT_EQ(witness.use_count(), 1);
}

} // namespace
} // namespace lumvik::test
