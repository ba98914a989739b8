// Tests of faults that last between twenty seconds and two minutes.

#include "system/harness/ColourBars.h"
#include "system/harness/Eventually.h"
#include "system/harness/FaultFixture.h"

#include <QElapsedTimer>

#include <algorithm>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

class SlowCameraFaultTest : public FaultFixture {
  protected:
    /// Lets the fault last for `duration`. During this time the window must admit that nothing is
    /// live, must be black once the last picture is too old, and at most one recovery attempt may
    /// be pending.
    void waitOutFault(Milliseconds duration, qsizetype mark) const {
        constexpr qint64 oldestPicture = 10'500; // in milliseconds, with the time for a redraw
        testing::AssertionResult verdict = testing::AssertionSuccess();
        QElapsedTimer fault;
        fault.start();
        EXPECT_TRUE(always(duration, [&] {
            verdict = fault.elapsed() > oldestPicture ? windowShowsNoPicture()
                                                      : windowAdmitsThatNothingIsLive();
            if (verdict)
                verdict = neverTwoAttemptsPending(mark);
            return static_cast<bool>(verdict);
        })) << verdict.message();
    }
};

TEST_F(SlowCameraFaultTest, CameraRefusingConnectionsForTwoMinutesIsShownOnceItAccepts) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    camera->command("refuse");
    QElapsedTimer refusal;
    refusal.start();
    camera->command("drop");
    ASSERT_TRUE(logShows({streamEnded}, mark, 3s));
    ASSERT_TRUE(eventually(2s, [this] { return bool{windowAdmitsThatNothingIsLive()}; }));
    waitOutFault(2min - Milliseconds(refusal.elapsed()), mark);
    QStringList story{streamEnded, backingOff(1, QStringLiteral("mpv ended the stream")), probing};
    for (int number = 2; number <= 9; ++number) {
        // Every third attempt creates a new engine, which connects to the camera without a
        // preflight.
        const bool engineAsked = number % 3 == 1;
        story << backingOff(number, engineAsked ? QStringLiteral("mpv ended the stream")
                                                : QStringLiteral("local-network preflight failed"))
              << probing;
    }
    story.removeLast(); // the ninth attempt may still be pending
    EXPECT_TRUE(logShows(story, mark));
    EXPECT_LE(countInLog(anyScheduling, mark), 9);
    camera->command("accept");
    faultIsOver();
    EXPECT_TRUE(isLiveAgainWithin(32s, mark));
    EXPECT_TRUE(neverTwoAttemptsPending(mark));
    expectOneStream(*camera);
}

TEST_F(SlowCameraFaultTest, CameraUnresponsiveForAMinuteIsShownOnceItReplies) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    camera->command("silent");
    ASSERT_TRUE(logShows({streamEnded}, mark, 3s));
    ASSERT_TRUE(eventually(2s, [this] { return bool{windowAdmitsThatNothingIsLive()}; }));
    waitOutFault(1min, mark);
    const QString none = QStringLiteral("no first video frame");
    EXPECT_TRUE(logShows({backingOff(2, none), loading, backingOff(3, none),
                          QStringLiteral("default playback: Starting video engine generation 2\\."),
                          loading, backingOff(4, none), loading, backingOff(5, none)},
                         mark));
    camera->command("speak");
    faultIsOver();
    EXPECT_TRUE(isLiveAgainWithin(45s, mark));
    EXPECT_TRUE(neverTwoAttemptsPending(mark));
    expectOneStream(*camera);
}

TEST_F(SlowCameraFaultTest, CameraStalledForAMinuteIsShownOnceItResumes) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    camera->command("freeze");
    const QString none = QStringLiteral("no first video frame");
    ASSERT_TRUE(
        logShows({backingOff(1, QStringLiteral("video frame heartbeat stalled"))}, mark, 13s));
    ASSERT_TRUE(eventually(500ms, [this] { return bool{windowShowsNoPicture()}; }));
    waitOutFault(48s, mark);
    EXPECT_TRUE(logShows({backingOff(2, none), loading, backingOff(3, none),
                          QStringLiteral("default playback: Starting video engine generation 2\\."),
                          loading, backingOff(4, none)},
                         mark));
    const int streams = streamsOf(*camera).all;
    camera->command("thaw");
    faultIsOver();
    // The picture returns at once if the connection survived the stall. The picture returns a
    // little later if a recovery attempt was already under way.
    EXPECT_TRUE(isLiveAgainWithin(4s, mark));
    const Milliseconds liveAfter = sinceFault();
    const bool isSameConnection = streamsOf(*camera).all == streams;
    EXPECT_LE(liveAfter, isSameConnection ? 2s : 4s);
    EXPECT_TRUE(neverTwoAttemptsPending(mark));
    expectOneStream(*camera);
}

TEST_F(SlowCameraFaultTest, CameraClosingStreamsForTwentySecondsIsRetriedRarely) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    camera->command("hangup");
    ASSERT_TRUE(logShows({streamEnded}, mark, 3s));
    ASSERT_TRUE(eventually(2s, [this] { return bool{windowAdmitsThatNothingIsLive()}; }));
    waitOutFault(20s, mark);
    // The recovery attempts are delayed by 0.5, 1, 2, 4 and 8 seconds plus some jitter, and each
    // attempt takes some time.
    const int attempts = streamsOf(*camera).all - 1;
    EXPECT_GE(attempts, 4);
    EXPECT_LE(attempts, 5);
    EXPECT_EQ(countInLog(resumed, mark), 0);
    camera->command("stay");
    faultIsOver();
    EXPECT_TRUE(isLiveAgainWithin(32s, mark));
    EXPECT_TRUE(neverTwoAttemptsPending(mark));
    expectOneStream(*camera);
}

TEST_F(SlowCameraFaultTest, PictureIsLiveAtOnceAfterAMinuteMinimised) {
    CameraProcess *camera = showCamera(faultCameraWithClock());
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    const QString id = QString::number(viewer->window());
    xdotool(desktop, {QStringLiteral("windowminimize"), id});
    ASSERT_TRUE(eventually(10s, [this] { return !desktop.x().isViewable(viewer->window()); }));
    EXPECT_TRUE(always(1min, [&] {
        return !desktop.x().isViewable(viewer->window()) && countInLog(anyScheduling, mark) == 0;
    }));
    xdotool(desktop, {QStringLiteral("windowactivate"), id});
    int oldest = 0;
    int looks = 0;
    EXPECT_TRUE(always(3s,
                       [&] {
                           if (const auto age = pictureAge(screen.window(viewer->window()))) {
                               oldest = std::max(oldest, *age);
                               ++looks;
                           }
                           return oldest <= 500;
                       }))
        << "a picture that was " << oldest << " ms old was shown";
    EXPECT_GE(looks, 10);
    report("oldest picture after the return", Milliseconds(oldest), 500ms);
    EXPECT_TRUE(nothingScheduled(mark));
    EXPECT_TRUE(pictureIsLive(2s));
    expectOneStream(*camera);
    EXPECT_EQ(streamsOf(*camera).all, 1);
}

} // namespace
} // namespace lumvik::test
