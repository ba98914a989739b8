#include "app/controller/ControllerFixture.h"
#include "supervision/PlaybackHealth.h"

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
    }

    /// Reports a drawn frame every `interval` seconds for `seconds`.
    void playFor(double seconds, double interval = 0.04) {
        for (double played = 0; played < seconds; played += interval) {
            delegate->recordRenderedFrame(playerGeneration());
            queue.advance(interval);
        }
    }
    /// Advances the clock until recovery is requested and returns the seconds that this took. The
    /// test fails if nothing is requested within a minute.
    [[nodiscard]] double secondsUntilRequest() {
        const TimeStamp begin = queue.now();
        while (access().playbackRetryCount() == 0 && queue.now() - begin < 60)
            queue.advance(0.05);
        EXPECT_EQ(access().playbackRetryCount(), 1);
        return queue.now() - begin;
    }
};

TEST_F(WatchdogTest, MissingFirstFrameRequestsRecoveryAfterEightToTenSeconds) {
    const double waited = secondsUntilRequest();
    EXPECT_GE(waited, 8);
    EXPECT_LE(waited, 10);
    EXPECT_TRUE(playbackLog().last().endsWith(u"recreate=false; reason=no first video frame."_s));
}

TEST_F(WatchdogTest, FrozenPictureRequestsRecoveryAfterTenToTwelveSeconds) {
    for (const double phase : {0.1, 0.7, 1.3, 1.99}) {
        playFor(20 + phase);
        delegate->recordRenderedFrame(playerGeneration());
        const double waited = secondsUntilRequest();
        EXPECT_GE(waited, 10) << phase;
        EXPECT_LE(waited, 12.1) << phase;
        EXPECT_TRUE(playbackLog().last().endsWith(
            u"recreate=false; reason=video frame heartbeat stalled."_s));
    }
}

TEST_F(WatchdogTest, SteadyPictureRequestsNothing) {
    playFor(60);
    playFor(60, 9.9); // a camera that rarely sends a frame
    EXPECT_EQ(access().playbackState(), State::playing);
    EXPECT_EQ(access().playbackRetryCount(), 0);
}

TEST_F(WatchdogTest, FrameOfAnEarlierPlayerDoesNotCount) {
    delegate->schedulePlaybackRecovery(
        {.reason = u"a test"_s, .recreation = PlayerRecreation::forced});
    queue.advance(0.5);
    ASSERT_EQ(playerGeneration(), 2);
    delegate->recordRenderedFrame(1);
    EXPECT_EQ(access().lastFrameRenderedAt(), std::nullopt);
    EXPECT_EQ(access().playbackState(), State::starting);
    EXPECT_EQ(access().playbackRetryCount(), 1);
}

TEST_F(WatchdogTest, NothingIsRequestedWithoutAPathOrWhileAsleep) {
    playFor(1);
    mpv.setProperty("eof-reached", 1);
    delegate->handleNetworkPath({});
    queue.advance(100);
    EXPECT_EQ(access().playbackRetryCount(), 0);
    EXPECT_TRUE(errors().isEmpty());
    sleepMonitor.sleep();
    delegate->handleNetworkPath({.isSatisfied = true});
    // Only the sleep itself keeps the watchdog from finding the end of the stream.
    access().playbackState() = State::playing;
    queue.advance(100);
    EXPECT_EQ(access().playbackRetryCount(), 0);
    EXPECT_TRUE(errors().isEmpty());
    sleepMonitor.wake();
    queue.advance(2);
    EXPECT_EQ(access().playbackRetryCount(), 1);
}

TEST_F(WatchdogTest, FirstFrameAfterARecoveryIsLoggedOnce) {
    playFor(1);
    (void)secondsUntilRequest();
    queue.advance(0.5);
    delegate->handlePlaybackEngineEvent(StartFile{}, 1);
    const qsizetype before = playbackLog().size();
    EXPECT_EQ(access().playbackRetryCount(), 1);
    playFor(1);
    EXPECT_EQ(playbackLog().mid(before),
              QStringList(u"Live video frames resumed for player generation 1."_s));
}

TEST_F(WatchdogTest, OnlyAStreamOfFiveSecondsEndsTheCountOfAttempts) {
    playFor(1);
    for (int attempt = 1; attempt <= 3; ++attempt) {
        while (access().playbackRetry() == nullptr)
            queue.advance(0.5);
        EXPECT_EQ(access().playbackRetryCount(), attempt);
        queue.advance(5);
        delegate->handlePlaybackEngineEvent(StartFile{}, playerGeneration());
        for (int frame = 0; frame < 49; ++frame) {
            delegate->recordRenderedFrame(playerGeneration());
            queue.advance(0.1);
        }
        EXPECT_EQ(access().playbackRetryCount(), attempt) << "the stream is 4.8 s old";
    }
    queue.advance(0.2);
    delegate->recordRenderedFrame(playerGeneration());
    EXPECT_EQ(access().playbackRetryCount(), 0);
}

TEST_F(WatchdogTest, StreamsThatEndAfterAFewFramesAreRequestedEverLessOften) {
    playFor(1);
    const TimeStamp begin = queue.now();
    int loadsInTheFirstMinute = 0;
    qsizetype loads = 0;
    while (queue.now() - begin < 300) {
        delegate->handlePlaybackEngineEvent(EndFile{}, playerGeneration());
        const std::ptrdiff_t before =
            static_cast<std::ptrdiff_t>(mpv.callsTo("mpv_command").size());
        while (static_cast<std::ptrdiff_t>(mpv.callsTo("mpv_command").size()) == before)
            queue.advance(0.1);
        ++loads;
        loadsInTheFirstMinute += queue.now() - begin < 60 ? 1 : 0;
        delegate->handlePlaybackEngineEvent(StartFile{}, playerGeneration());
        for (int frame = 0; frame < 3; ++frame) {
            delegate->recordRenderedFrame(playerGeneration());
            queue.advance(0.04);
        }
    }
    EXPECT_LE(loadsInTheFirstMinute, 8);
    EXPECT_LE(loads, 17) << "later attempts are 30 s apart";
}

TEST_F(WatchdogTest, StandstillOfSixSecondsBlackensThePictureAndReplacesTheConnection) {
    playFor(1);
    queue.jump(6);
    queue.advance(0);
    EXPECT_EQ(playbackLog().filter(u"reason=process stood still."_s).size(), 1);
    queue.advance(1);
    EXPECT_EQ(playerGeneration(), 2) << "the connection is replaced";
}

TEST_F(WatchdogTest, ShortStandstillChangesNothing) {
    playFor(2);
    queue.jump(3.9); // the last tick was less than two seconds ago
    queue.advance(0);
    EXPECT_EQ(playbackLog().filter(u"stood still"_s).size(), 0);
    EXPECT_EQ(playbackLog().filter(u"Scheduling recovery"_s).size(), 0);
}

TEST_F(WatchdogTest, LateFrameCancelsTheAttempt) {
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

TEST_F(WatchdogTest, FramesDoNotCountDuringSleep) {
    sleepMonitor.sleep();
    delegate->recordRenderedFrame(1);
    EXPECT_EQ(access().lastFrameRenderedAt(), std::nullopt);
    EXPECT_EQ(access().playbackState(), State::suspended);
}

TEST_F(WatchdogTest, RunningPlayerInStateStoppedIsReplaced) {
    access().playbackState() = State::stopped;
    queue.advance(2);
    EXPECT_TRUE(playbackLog().last().endsWith(
        u"recreate=true; reason=video engine stopped unexpectedly."_s));
}

TEST_F(WatchdogTest, WithoutAPlayerNothingIsRequested) {
    delegate->stopPlayerEngine();
    queue.advance(100);
    EXPECT_EQ(access().playbackRetryCount(), 0);
    EXPECT_THAT(queue.delays(), testing::ElementsAre(playbackWatchdogInterval))
        << "the watchdog is kept";
}

TEST_F(WatchdogTest, EveryPlayerStartReplacesTheTimer) {
    for (int n = 0; n < 5; ++n) {
        delegate->stopPlayerEngine();
        delegate->startPlayer();
    }
    const std::vector<double> delays = queue.delays();
    EXPECT_EQ(std::count(delays.begin(), delays.end(), playbackWatchdogInterval), 1);
}

TEST_F(WatchdogTest, SuspendedAndBackingOffPlaybackIsNotJudged) {
    playFor(1);
    for (const State state : {State::suspended, State::backingOff}) {
        access().playbackState() = state;
        queue.advance(30);
        EXPECT_EQ(access().playbackRetryCount(), 0);
    }
}

TEST_F(WatchdogTest, UnannouncedEndOfStreamIsFoundByTheNextTick) {
    playFor(1);
    mpv.setProperty("eof-reached", 1);
    queue.advance(2);
    EXPECT_TRUE(errors().contains(u"mpv ended the stream: reason=0, error=0."_s));
    EXPECT_EQ(playbackLog().filter(u"reason=mpv ended the stream."_s).size(), 1);
}

TEST_F(WatchdogTest, SteadyFramesLogNothingAndDoNotQueryTheEngine) {
    playFor(0.5);
    mpv.forgetCalls();
    const qsizetype before = log.lines().size();
    for (int n = 0; n < 1000; ++n)
        delegate->recordRenderedFrame(1);
    EXPECT_EQ(log.lines().size(), before);
    EXPECT_TRUE(mpv.calls().empty());
}

TEST_F(WatchdogTest, DecoderIsLoggedOncePerPlayer) {
    const auto named = [this] {
        return log.texts(u"playback"_s).filter(u"The video is decoded"_s);
    };
    mpv.setTextProperty("hwdec-current", "no");
    EXPECT_TRUE(named().isEmpty()) << "no decoder is logged before there is a picture";
    playFor(1);
    EXPECT_EQ(named(), QStringList(u"The video is decoded in software."_s));
    EXPECT_EQ(loadedPlayers, 1);
    // The same player opens another stream.
    mpv.setTextProperty("hwdec-current", "vaapi");
    delegate->selectCamera(1);
    playFor(1);
    EXPECT_EQ(named().size(), 1);
    // Another player is started.
    delegate->stopPlayerEngine();
    delegate->startPlayer();
    mpv.setTextProperty("hwdec-current", "vaapi");
    playFor(1);
    EXPECT_EQ(named().value(1), u"The video is decoded by hardware (vaapi)."_s);
    EXPECT_EQ(named().size(), 2);
}

} // namespace
} // namespace lumvik::test
