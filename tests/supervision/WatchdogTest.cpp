#include "app/controller/ControllerFixture.h"

namespace lumvik::test {
namespace {

using namespace PlaybackEngineEvents;
using State = PlaybackSupervisorState;

class WatchdogTest : public ControllerFixture {
  protected:
    void SetUp() override {
        launchAndPlay(threeCameras());
        queue.runPending();
        delegate->handlePlaybackEngineEvent(StartFile{}, 1);
        loadedAt = access().lastCameraLoad();
    }

    /// Draws a frame every `interval` seconds for `seconds`.
    void playFor(double seconds, double interval = 0.04) {
        for (double played = 0; played < seconds; played += interval) {
            delegate->recordRenderedFrame(access().playerGeneration());
            queue.advance(interval);
        }
    }
    /// When the next request for recovery comes, in seconds from now; nothing within a minute is
    /// a failure.
    [[nodiscard]] double secondsUntilRequest() {
        const TimeStamp begin = queue.now();
        while (access().playbackRetryCount() == 0 && queue.now() - begin < 60)
            queue.advance(0.05);
        EXPECT_EQ(access().playbackRetryCount(), 1);
        return queue.now() - begin;
    }

    TimeStamp loadedAt = 0;
};

TEST_F(WatchdogTest, CameraWithoutAPictureIsGivenUpBetweenEightAndTenSeconds) {
    const double waited = secondsUntilRequest();
    EXPECT_GE(waited, 8);
    EXPECT_LE(waited, 10);
    EXPECT_TRUE(playbackLog().last().endsWith(u"recreate=false; reason=no first video frame."_s));
}

TEST_F(WatchdogTest, PictureThatFreezesIsGivenUpBetweenTenAndTwelveSeconds) {
    for (const double phase : {0.1, 0.7, 1.3, 1.99}) {
        playFor(20 + phase);
        delegate->recordRenderedFrame(access().playerGeneration());
        const double waited = secondsUntilRequest();
        EXPECT_GE(waited, 10) << phase;
        EXPECT_LE(waited, 12.1) << phase;
        EXPECT_TRUE(playbackLog().last().endsWith(
            u"recreate=false; reason=video frame heartbeat stalled."_s));
    }
}

TEST_F(WatchdogTest, SteadyPictureIsLeftAlone) {
    playFor(60);
    playFor(60, 9.9); // a camera that sends a frame now and then
    EXPECT_EQ(access().playbackState(), State::playing);
    EXPECT_EQ(access().playbackRetryCount(), 0);
}

TEST_F(WatchdogTest, FrameOfAnEarlierPlayerIsNoSignOfLife) {
    delegate->schedulePlaybackRecovery(
        {.reason = u"a test"_s, .recreation = PlayerRecreation::forced});
    queue.advance(0.5);
    ASSERT_EQ(access().playerGeneration(), 2);
    delegate->recordRenderedFrame(1);
    EXPECT_EQ(access().lastFrameRenderedAt(), std::nullopt);
    EXPECT_EQ(access().playbackState(), State::starting);
    EXPECT_EQ(access().playbackRetryCount(), 1);
}

TEST_F(WatchdogTest, NothingIsRequestedWithoutAPathOrWhileAsleep) {
    playFor(1);
    mpv.setProperty("eof-reached", 1);
    access().networkPathIsSatisfied() = false;
    queue.advance(100);
    EXPECT_EQ(access().playbackRetryCount(), 0);
    EXPECT_TRUE(errors().isEmpty());
    access().networkPathIsSatisfied() = true;
    access().systemIsSleeping() = true;
    queue.advance(100);
    EXPECT_EQ(access().playbackRetryCount(), 0);
    access().systemIsSleeping() = false;
    queue.advance(2);
    EXPECT_EQ(access().playbackRetryCount(), 1);
}

TEST_F(WatchdogTest, FirstFrameAfterARecoveryIsLoggedOnceAndEndsTheCount) {
    playFor(1);
    (void)secondsUntilRequest();
    queue.advance(0.5);
    delegate->handlePlaybackEngineEvent(StartFile{}, 1);
    const qsizetype before = playbackLog().size();
    EXPECT_EQ(access().playbackRetryCount(), 1);
    playFor(1);
    EXPECT_EQ(playbackLog().mid(before),
              QStringList(u"Live video frames resumed for player generation 1."_s));
    EXPECT_EQ(access().playbackRetryCount(), 0);
}

TEST_F(WatchdogTest, FrameThatComesAfterAllCancelsTheAttempt) {
    playFor(1);
    (void)secondsUntilRequest();
    ASSERT_NE(access().playbackRetry(), nullptr);
    delegate->recordRenderedFrame(1);
    EXPECT_EQ(access().playbackRetry(), nullptr);
    EXPECT_EQ(access().playbackState(), State::playing);
    mpv.forgetCalls();
    queue.advance(1);
    EXPECT_TRUE(mpv.callsTo("mpv_command").empty());
}

TEST_F(WatchdogTest, SleepingMachineDrawsNoFrames) {
    access().systemIsSleeping() = true;
    delegate->recordRenderedFrame(1);
    EXPECT_EQ(access().lastFrameRenderedAt(), std::nullopt);
    EXPECT_EQ(access().playbackState(), State::starting);
}

TEST_F(WatchdogTest, StateThatSaysStoppedBesideAPlayerIsMended) {
    access().playbackState() = State::stopped;
    queue.advance(2);
    EXPECT_TRUE(playbackLog().last().endsWith(
        u"recreate=true; reason=video engine stopped unexpectedly."_s));
}

TEST_F(WatchdogTest, WithoutAPlayerThereIsNothingToDo) {
    delegate->stopPlayerEngine();
    queue.advance(100);
    EXPECT_EQ(access().playbackRetryCount(), 0);
    EXPECT_NE(access().playbackWatchdog(), nullptr);
}

TEST_F(WatchdogTest, EveryStartReplacesTheTimer) {
    for (int n = 0; n < 5; ++n) {
        delegate->stopPlayerEngine();
        delegate->startPlayer();
    }
    EXPECT_EQ(queue.delays().size(), 1U);
    EXPECT_EQ(queue.delays().front(), 2);
}

TEST_F(WatchdogTest, SuspendedAndBackingOffPlaybackIsNotJudged) {
    playFor(1);
    for (const State state : {State::suspended, State::backingOff}) {
        access().playbackState() = state;
        queue.advance(30);
        EXPECT_EQ(access().playbackRetryCount(), 0);
    }
}

TEST_F(WatchdogTest, EndOfStreamThatNobodyAnnouncedIsFoundByTheTick) {
    playFor(1);
    mpv.setProperty("eof-reached", 1);
    queue.advance(2);
    EXPECT_TRUE(errors().contains(u"mpv ended the stream: reason=0, error=0."_s));
    EXPECT_EQ(playbackLog().filter(u"reason=mpv ended the stream."_s).size(), 1);
}

TEST_F(WatchdogTest, SteadyFramesLogNothingAndAskTheEngineNothing) {
    playFor(0.5);
    mpv.forgetCalls();
    const qsizetype before = log.lines().size();
    for (int n = 0; n < 1000; ++n)
        delegate->recordRenderedFrame(1);
    EXPECT_EQ(log.lines().size(), before);
    EXPECT_TRUE(mpv.calls().empty());
}

TEST_F(WatchdogTest, TheDecoderIsNamedOncePerPlayer) {
    const auto named = [this] {
        return log.texts(u"playback"_s).filter(u"The video is decoded"_s);
    };
    mpv.setTextProperty("hwdec-current", "no");
    EXPECT_TRUE(named().isEmpty()) << "before there is a picture";
    playFor(1);
    EXPECT_EQ(named(), QStringList(u"The video is decoded in software."_s));
    EXPECT_EQ(loadedPlayers, 1);
    // Another stream in the same player.
    mpv.setTextProperty("hwdec-current", "vaapi");
    delegate->selectCamera(1);
    playFor(1);
    EXPECT_EQ(named().size(), 1);
    // Another player.
    delegate->stopPlayerEngine();
    delegate->startPlayer();
    mpv.setTextProperty("hwdec-current", "vaapi");
    playFor(1);
    EXPECT_EQ(named().value(1), u"The video is decoded by hardware (vaapi)."_s);
    EXPECT_EQ(named().size(), 2);
}

} // namespace
} // namespace lumvik::test
