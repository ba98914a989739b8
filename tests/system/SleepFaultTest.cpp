// A machine that sleeps and wakes, and buses that do not tell of it.

#include "fakes/Named.h"
#include "fakes/UnresponsiveBus.h"
#include "system/harness/Eventually.h"
#include "system/harness/SleepFaultFixture.h"

#include <QDir>

namespace lumvik::test {
namespace {

using SleepFaultTest = SleepFaultFixture;

using namespace std::chrono_literals;

TEST_F(SleepFaultTest, PictureIsBackAfterAShortSleep) {
    testSleep(3s);
}

TEST_F(SleepFaultTest, ASecondSleepIsLikeTheFirst) {
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

TEST_F(SleepFaultTest, SleepDuringARecoveryIsNotHeldUpAndNothingRunsInIt) {
    ASSERT_NO_FATAL_FAILURE(showCameraAndAwaitInhibitor());
    const qsizetype faultMark = viewer->logMark();
    camera->command("refuse");
    // The third attempt waits for two seconds, so that sleep comes in between.
    ASSERT_TRUE(
        logTells({QStringLiteral("default playback: Scheduling recovery 3 .*")}, faultMark, 20s));
    ASSERT_NO_FATAL_FAILURE(fallAsleep());
    camera->command("accept");
    const qsizetype mark = viewer->logMark();
    EXPECT_TRUE(always(
        3s, [&] { return countInLog(anyScheduling, mark) + countInLog(probing, mark) == 0; }));
    faultIsOver();
    logind->announceWake();
    EXPECT_TRUE(isLiveAgainWithin(5s, mark));
    // The attempts go on being counted; the wake's is immediate all the same.
    EXPECT_TRUE(logTells({waking,
                          QStringLiteral("default playback: Scheduling recovery 4 in 0\\.\\d+ "
                                         "seconds; recreate=true; reason=system wake\\."),
                          resumed},
                         mark));
    EXPECT_EQ(countInLog(anyScheduling, mark), 1);
}

/// Buses that tell nothing of sleep.
class BlindTest : public FaultFixture {
  protected:
    /// The viewer shows the camera, says why it will not notice sleep, and recovers as ever.
    void expectViewerRunsAsEver(const QString &reason) {
        CameraProcess *camera = showCamera();
        ASSERT_TRUE(camera);
        EXPECT_TRUE(logTells(
            {QStringLiteral("info lifecycle: Sleep cannot be noticed on this system: %1\\.")
                 .arg(reason)},
            0, 15s));
        const qsizetype mark = viewer->logMark();
        camera->command("drop");
        faultIsOver();
        EXPECT_TRUE(isLiveAgainWithin(4s, mark));
    }
};

TEST_F(BlindTest, WithoutABusTheViewerRunsAsEver) {
    viewerVariables = {
        {QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), QStringLiteral("unix:path=/nonexistent/bus")}};
    expectViewerRunsAsEver(QStringLiteral("there is no system bus"));
}

TEST_F(BlindTest, WithADeafBusTheViewerRunsAsEver) {
    const UnresponsiveBus deaf;
    ASSERT_TRUE(deaf.isThere());
    viewerVariables = {{QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), deaf.address()}};
    expectViewerRunsAsEver(QStringLiteral("the system bus does not answer"));
    ASSERT_FALSE(HasFatalFailure());
    expectOrderlyEnd();
}

TEST_F(BlindTest, WithADeafBusTheViewerEndsWhileItStillWaitsForAnAnswer) {
    const UnresponsiveBus deaf;
    ASSERT_TRUE(deaf.isThere());
    viewerVariables = {{QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), deaf.address()}};
    startViewer();
    ASSERT_FALSE(HasFatalFailure());
    ASSERT_TRUE(logTells({QStringLiteral("default lifecycle: Lumvik is launching\\.")}, 0, 5s));
    expectOrderlyEnd();
}

/// The moments at which the viewer is told to end. That it does so in order and in time is checked
/// at the end of every test.
enum class Moment { sleepIsAnnounced, asleep, attemptIsDue, playerStarts };

constexpr Named<Moment> moments[] = {{Moment::sleepIsAnnounced, "WhenSleepIsAnnounced"},
                                     {Moment::asleep, "WhileAsleep"},
                                     {Moment::attemptIsDue, "WhileAnAttemptIsDue"},
                                     {Moment::playerStarts, "WhileThePlayerStarts"}};

class QuitInSleepTest : public SleepFaultFixture,
                        public testing::WithParamInterface<Named<Moment>> {};

TEST_P(QuitInSleepTest, ViewerEndsInTime) {
    const Moment moment = GetParam().value;
    ASSERT_NO_FATAL_FAILURE(showCameraAndAwaitInhibitor());
    const qsizetype mark = viewer->logMark();
    if (moment == Moment::sleepIsAnnounced) {
        logind->announceSleep();
        return;
    }
    ASSERT_NO_FATAL_FAILURE(fallAsleep());
    if (moment == Moment::asleep) {
        EXPECT_TRUE(always(2s, [&] { return bool{nothingScheduled(mark)}; }));
        return;
    }
    logind->announceWake();
    ASSERT_TRUE(logTells({moment == Moment::attemptIsDue ? anyScheduling : probing}, mark, 5s));
}

INSTANTIATE_TEST_SUITE_P(All, QuitInSleepTest, testing::ValuesIn(moments), nameOfParameter);

} // namespace
} // namespace lumvik::test
