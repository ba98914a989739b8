// Tests how the viewer handles a camera that ends its stream, stalls, stops replying, closes
// connections or is killed.

#include "system/harness/ColourBars.h"
#include "system/harness/Eventually.h"
#include "system/harness/FaultFixture.h"

#include <csignal>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

const QString loaded =
    QStringLiteral("debug playback: mpv loaded stream headers and began decoding\\.");
const QString probeReady =
    QStringLiteral("debug network: The local-network preflight reached ready state\\.");
const QString probeFailed = QStringLiteral("error network: The local-network preflight failed\\.");
const QString newEngine = QStringLiteral("default playback: Starting video engine generation 2\\.");
const QString endedReason = QStringLiteral("mpv ended the stream");

/// Tests of streams that are lost while the camera remains reachable.
class LostStreamTest : public FaultFixture, public testing::WithParamInterface<const char *> {};

TEST_P(LostStreamTest, PictureReturnsAtOnce) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    camera->command(GetParam());
    faultIsOver();
    EXPECT_TRUE(isLiveAgainWithin(4s, mark));
    EXPECT_TRUE(logShows({streamEnded, backingOff(1, endedReason), probing, probeReady, loading,
                          began, loaded, resumed},
                         mark));
    EXPECT_EQ(countInLog(anyScheduling, mark), 1);
    expectOneStream(*camera);
}

INSTANTIATE_TEST_SUITE_P(All, LostStreamTest, testing::Values("end", "drop", "drop reset"),
                         [](const testing::TestParamInfo<const char *> &command) {
                             const QByteArray name(command.param);
                             return name == "end"    ? "EndOfStream"
                                    : name == "drop" ? "ConnectionClosed"
                                                     : "ConnectionReset";
                         });

class CameraFaultTest : public FaultFixture {
  protected:
    /// Runs the event loop for `duration` and fails the test unless `condition` holds throughout.
    static void expectThroughout(Milliseconds duration,
                                 const std::function<testing::AssertionResult()> &condition) {
        testing::AssertionResult verdict = testing::AssertionSuccess();
        const bool held = always(duration, [&] {
            verdict = condition();
            return static_cast<bool>(verdict);
        });
        EXPECT_TRUE(held) << verdict.message();
    }
};

TEST_F(CameraFaultTest, RestartedCameraIsShownAgain) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    CameraSetup setup = camera->setup();
    setup.port = camera->port();
    QElapsedTimer absence;
    absence.start();
    camera->process().sendSignal(SIGKILL);
    ASSERT_TRUE(camera->process().waitForExit(5s));
    ASSERT_TRUE(logShows({streamEnded}, mark, 3s));
    EXPECT_TRUE(eventually(2s, [this] { return bool{windowAdmitsThatNothingIsLive()}; }));
    EXPECT_FALSE(windowShowsNoPicture()) << "the last picture was not kept";
    expectThroughout(5s - Milliseconds(absence.elapsed()),
                     [this] { return windowAdmitsThatNothingIsLive(); });

    camera = startCamera(setup);
    ASSERT_TRUE(camera);
    faultIsOver();
    EXPECT_TRUE(isLiveAgainWithin(5s, mark));
    const QString unreachable = QStringLiteral("local-network preflight failed");
    EXPECT_TRUE(logShows(
        {streamEnded, backingOff(1, endedReason), probing, probeFailed, backingOff(2, unreachable),
         probing, probeFailed, backingOff(3, unreachable), probing, probeFailed, newEngine, loading,
         streamEnded, backingOff(4, endedReason), probing, probeReady, loading, resumed},
        mark));
    EXPECT_TRUE(neverTwoAttemptsPending(mark));
    expectOneStream(*camera);
}

TEST_F(CameraFaultTest, ShortStallTriggersNoRecovery) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    camera->command("freeze");
    expectThroughout(6s, [&] { return nothingScheduled(mark); });
    camera->command("thaw");
    faultIsOver();
    const auto isLive = pictureIsLive(2s);
    EXPECT_TRUE(isLive);
    report("live again after", sinceFault(), 2s);
    EXPECT_EQ(logLines(mark), QStringList());
    expectOneStream(*camera);
    EXPECT_EQ(streamsOf(*camera).all, 1);
}

TEST_F(CameraFaultTest, LongStallBlanksThePictureUntilTheCameraResumes) {
    CameraProcess *camera = showCamera(faultCameraWithClock());
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    QElapsedTimer hang;
    hang.start();
    camera->command("freeze");
    QElapsedTimer sinceLastFrame;
    sinceLastFrame.start();
    std::optional<quint32> shown;
    const QString stalled = backingOff(1, QStringLiteral("video frame heartbeat stalled"));
    ASSERT_TRUE(eventually(15s, [&] {
        if (countInLog(stalled, mark) > 0)
            return true;
        const auto now = captureTime(screen.window(viewer->window()));
        if (now && now != shown) {
            shown = now;
            sinceLastFrame.restart();
        }
        return false;
    }));
    const Milliseconds requested(sinceLastFrame.elapsed());
    report("recovery requested after the last frame by", requested, 12s);
    // The limits allow for 30 ms because the time of the last frame is measured by repeated
    // screenshots.
    EXPECT_GE(requested, 10s - 30ms);
    EXPECT_LE(requested, 12s + 30ms);
    // The viewer must remove the last picture when it requests recovery, because a still picture
    // would look live.
    EXPECT_TRUE(eventually(500ms, [this] { return bool{windowShowsNoPicture()}; }));
    expectThroughout(20s - Milliseconds(hang.elapsed()), [this] { return windowShowsNoPicture(); });

    camera->command("thaw");
    faultIsOver();
    EXPECT_TRUE(isLiveAgainWithin(2s, mark));
    EXPECT_TRUE(logShows({stalled, probing, probeReady, loading, resumed}, mark));
    EXPECT_TRUE(neverTwoAttemptsPending(mark));
    expectOneStream(*camera);
}

TEST_F(CameraFaultTest, UnresponsiveCameraIsShownOnceItReplies) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    camera->command("silent");
    ASSERT_TRUE(logShows(
        {streamEnded, backingOff(1, endedReason), probing, probeReady, loading, began}, mark, 4s));
    ASSERT_TRUE(logShows({began, backingOff(2, QStringLiteral("no first video frame")), probing,
                          probeReady, loading, began},
                         mark, 14s));
    EXPECT_TRUE(windowShowsNoPicture());
    camera->command("speak");
    faultIsOver();
    EXPECT_TRUE(isLiveAgainWithin(45s, mark));
    EXPECT_TRUE(neverTwoAttemptsPending(mark));
    expectOneStream(*camera);
}

TEST_F(CameraFaultTest, CameraThatClosesEveryStreamIsRetriedLessAndLessOften) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    camera->command("hangup");
    QStringList story;
    for (const int number : {1, 2, 3, 4}) {
        story << streamEnded << backingOff(number, endedReason);
        if (number < 4)
            story << probing << probeReady << loading << began;
    }
    EXPECT_TRUE(logShows(story, mark, 15s));
    EXPECT_EQ(countInLog(resumed, mark), 0) << "a stream without a frame was treated as live";
    EXPECT_TRUE(windowAdmitsThatNothingIsLive());
    camera->command("stay");
    faultIsOver();
    // The fourth attempt is delayed by 4 to 4.35 seconds.
    EXPECT_TRUE(isLiveAgainWithin(8s, mark));
    EXPECT_TRUE(neverTwoAttemptsPending(mark));
    expectOneStream(*camera);
}

} // namespace
} // namespace lumvik::test
