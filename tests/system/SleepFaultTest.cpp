// Tests how the viewer handles sleep and waking, and system buses that do not report sleep.

#include "fakes/Named.h"
#include "fakes/UnresponsiveBus.h"
#include "system/harness/Eventually.h"
#include "system/harness/SleepFaultFixture.h"

#include <QDir>

namespace lumvik::test {
namespace {

using SleepFaultTest = SleepFaultFixture;

using namespace std::chrono_literals;

TEST_F(SleepFaultTest, PictureReturnsAfterAShortSleep) {
    testSleep(3s);
}

TEST_F(SleepFaultTest, PictureReturnsAfterASecondSleep) {
    ASSERT_NO_FATAL_FAILURE(showCameraAndAwaitInhibitor());
    for (int round = 0; round < 2; ++round) {
        ASSERT_NO_FATAL_FAILURE(fallAsleep());
        const qsizetype mark = viewer->logMark();
        faultIsOver();
        logind->announceWake();
        ASSERT_TRUE(isLiveAgainWithin(5s, mark));
        EXPECT_EQ(countInLog(anyScheduling, mark), 1);
        ASSERT_TRUE(eventually(2s, [this] { return logind->openInhibitors() == 1; }));
    }
}

TEST_F(SleepFaultTest, SleepDuringARecoveryIsNotDelayedAndPausesTheRecovery) {
    ASSERT_NO_FATAL_FAILURE(showCameraAndAwaitInhibitor());
    const qsizetype faultMark = viewer->logMark();
    camera->command("refuse");
    // The third attempt is delayed by two seconds, so sleep begins before this attempt.
    ASSERT_TRUE(
        logShows({QStringLiteral("default playback: Scheduling recovery 3 .*")}, faultMark, 20s));
    ASSERT_NO_FATAL_FAILURE(fallAsleep());
    camera->command("accept");
    const qsizetype mark = viewer->logMark();
    EXPECT_TRUE(always(
        3s, [&] { return countInLog(anyScheduling, mark) + countInLog(probing, mark) == 0; }));
    faultIsOver();
    logind->announceWake();
    EXPECT_TRUE(isLiveAgainWithin(5s, mark));
    // Waking does not reset the attempt number, but the attempt after waking is made at once.
    EXPECT_TRUE(logShows({waking,
                          QStringLiteral("default playback: Scheduling recovery 4 in 0\\.\\d+ "
                                         "seconds; recreate=true; reason=system wake\\."),
                          resumed},
                         mark));
    EXPECT_EQ(countInLog(anyScheduling, mark), 1);
}

/// Uses system buses that do not report sleep.
class MissingSleepSignalTest : public FaultFixture {
  protected:
    /// Checks that the viewer shows the camera, logs why it cannot detect sleep, and recovers from
    /// a lost stream.
    void expectViewerWorks(const QString &reason) {
        CameraProcess *camera = showCamera();
        ASSERT_TRUE(camera);
        EXPECT_TRUE(logShows(
            {QStringLiteral("info lifecycle: Sleep cannot be detected on this system: %1\\.")
                 .arg(reason)},
            0, 15s));
        const qsizetype mark = viewer->logMark();
        camera->command("drop");
        faultIsOver();
        EXPECT_TRUE(isLiveAgainWithin(4s, mark));
    }
};

TEST_F(MissingSleepSignalTest, ViewerWorksWithoutASystemBus) {
    viewerVariables = {
        {QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), QStringLiteral("unix:path=/nonexistent/bus")}};
    expectViewerWorks(QStringLiteral("there is no system bus"));
}

TEST_F(MissingSleepSignalTest, ViewerWorksWithAnUnresponsiveSystemBus) {
    const UnresponsiveBus unresponsiveBus;
    ASSERT_TRUE(unresponsiveBus.isThere());
    viewerVariables = {{QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), unresponsiveBus.address()}};
    expectViewerWorks(QStringLiteral("the system bus does not answer"));
    ASSERT_FALSE(HasFatalFailure());
    expectOrderlyEnd();
}

TEST_F(MissingSleepSignalTest, ViewerExitsWhileItWaitsForAnUnresponsiveSystemBus) {
    const UnresponsiveBus unresponsiveBus;
    ASSERT_TRUE(unresponsiveBus.isThere());
    viewerVariables = {{QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), unresponsiveBus.address()}};
    startViewer();
    ASSERT_FALSE(HasFatalFailure());
    ASSERT_TRUE(logShows({QStringLiteral("default lifecycle: Lumvik is launching\\.")}, 0, 5s));
    expectOrderlyEnd();
}

/// The moments at which the tests terminate the viewer. The fixture checks at the end of every test
/// that the viewer exits cleanly and in time.
enum class SleepMoment { sleepIsAnnounced, asleep, attemptIsDue, playerStarts };

constexpr Named<SleepMoment> sleepMoments[] = {
    {SleepMoment::sleepIsAnnounced, "WhenSleepIsAnnounced"},
    {SleepMoment::asleep, "WhileAsleep"},
    {SleepMoment::attemptIsDue, "WhileAnAttemptIsDue"},
    {SleepMoment::playerStarts, "WhileThePlayerStarts"}};

class QuitInSleepTest : public SleepFaultFixture,
                        public testing::WithParamInterface<Named<SleepMoment>> {};

TEST_P(QuitInSleepTest, ViewerExitsInTime) {
    const SleepMoment moment = GetParam().value;
    ASSERT_NO_FATAL_FAILURE(showCameraAndAwaitInhibitor());
    const qsizetype mark = viewer->logMark();
    if (moment == SleepMoment::sleepIsAnnounced) {
        logind->announceSleep();
        return;
    }
    ASSERT_NO_FATAL_FAILURE(fallAsleep());
    if (moment == SleepMoment::asleep) {
        EXPECT_TRUE(always(2s, [&] { return bool{nothingScheduled(mark)}; }));
        return;
    }
    logind->announceWake();
    ASSERT_TRUE(
        logShows({moment == SleepMoment::attemptIsDue ? anyScheduling : probing}, mark, 5s));
}

INSTANTIATE_TEST_SUITE_P(All, QuitInSleepTest, testing::ValuesIn(sleepMoments), nameOfParameter);

} // namespace
} // namespace lumvik::test
