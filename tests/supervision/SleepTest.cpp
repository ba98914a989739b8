#include "app/controller/ControllerFixture.h"

namespace lumvik::test {
namespace {

using namespace PlaybackEngineEvents;
using State = PlaybackSupervisorState;

class SleepTest : public ControllerFixture {
  protected:
    void SetUp() override {
        launchAndPlay(threeCameras());
        queue.runPending();
        delegate->handlePlaybackEngineEvent(StartFile{}, 1);
        delegate->recordRenderedFrame(1);
        mpv.forgetCalls();
    }
};

TEST_F(SleepTest, SleepSuspendsPlaybackAndStopsTheStream) {
    sleepMonitor.sleep();
    EXPECT_EQ(log.lines(u"lifecycle"_s).last(),
              (LoggedLine{LogLevel::standard, u"lifecycle"_s,
                          u"The Mac is sleeping; playback recovery is suspended."_s}));
    EXPECT_EQ(access().playbackState(), State::suspended);
    EXPECT_EQ(mpv.callsTo("mpv_command_string").size(), 1U);
    EXPECT_EQ(mpv.callsTo("mpv_command_string").front().text(), "mpv_command_string(core 1, stop)");
    EXPECT_EQ(mpv.liveCores(), 1);
}

TEST_F(SleepTest, WakeRequestsANewPlayerAtOnce) {
    sleepMonitor.sleep();
    queue.advance(3600);
    EXPECT_EQ(playerGeneration(), 1);
    sleepMonitor.wake();
    EXPECT_EQ(log.lines(u"lifecycle"_s).last(),
              (LoggedLine{LogLevel::standard, u"lifecycle"_s,
                          u"The Mac woke; scheduling a fresh camera connection."_s}));
    EXPECT_EQ(playbackLog().last(), u"Scheduling recovery 1 in 0.500000 seconds; recreate=true; "
                                    "reason=system wake."_s);
    EXPECT_EQ(access().lastFrameRenderedAt(), std::nullopt);
    queue.advance(0.5);
    EXPECT_EQ(playerGeneration(), 2);
    EXPECT_EQ(mpv.liveCores(), 1);
}

TEST_F(SleepTest, AttemptPendingAtSleepNeverRunsButStillCounts) {
    failRecoveryAttempts(4);
    mpv.forgetCalls();
    delegate->schedulePlaybackRecovery({.reason = u"a test"_s});
    sleepMonitor.sleep();
    EXPECT_EQ(access().playbackRetry(), nullptr);
    queue.advance(100);
    EXPECT_TRUE(mpv.callsTo("mpv_command").empty());
    sleepMonitor.wake();
    EXPECT_TRUE(playbackLog().last().startsWith(u"Scheduling recovery 6 in 0.500000 seconds"_s));
    queue.advance(0.5);
    EXPECT_EQ(mpv.callsTo("mpv_command").size(), 1U);
}

TEST_F(SleepTest, WakeWithoutAPathWaitsForThePath) {
    networkPath.report({.isSatisfied = true, .usesWiFi = true});
    queue.runPending();
    sleepMonitor.sleep();
    networkPath.report({});
    queue.runPending();
    sleepMonitor.wake();
    EXPECT_EQ(access().playbackRetry(), nullptr);
    EXPECT_EQ(access().playbackState(), State::suspended);
    networkPath.report({.isSatisfied = true, .usesWiFi = true});
    queue.runPending();
    EXPECT_TRUE(playbackLog().last().endsWith(u"network path became usable or changed."_s));
    queue.advance(0.5);
    EXPECT_EQ(playerGeneration(), 2);
}

TEST_F(SleepTest, PictureFromBeforeAWakeIsHidden) {
    mpv.announceFrame();
    networkPath.report({});
    queue.runPending();
    ASSERT_TRUE(videoHost()->showsPicture());
    // The sleep was not announced, and without a network no new picture can arrive.
    sleepMonitor.wake();
    EXPECT_FALSE(videoHost()->showsPicture());
}

TEST_F(SleepTest, WakeWithoutAnnouncedSleepAlsoRequestsANewPlayer) {
    sleepMonitor.wake();
    EXPECT_EQ(access().playbackState(), State::backingOff);
    queue.advance(0.5);
    EXPECT_EQ(playerGeneration(), 2);
}

TEST_F(SleepTest, SleepAndWakeAreIgnoredWhileTheViewerCloses) {
    delegate->closeCameraViewer();
    const qsizetype before = log.lines().size();
    sleepMonitor.sleep();
    EXPECT_FALSE(sleepMonitor.isHeldOff());
    sleepMonitor.wake();
    EXPECT_EQ(log.lines().size(), before);
    EXPECT_TRUE(mpv.callsTo("mpv_command_string").empty());
}

TEST_F(SleepTest, SleepCancelsTheProbe) {
    network.answer = std::nullopt;
    delegate->requestLocalNetworkAccessAndStart();
    ASSERT_TRUE(probeIsUnderWay());
    sleepMonitor.sleep();
    EXPECT_FALSE(probeIsUnderWay());
}

TEST_F(SleepTest, ProbeThatEndedJustBeforeSleepStartsNothing) {
    network.answer = std::nullopt;
    delegate->requestLocalNetworkAccessAndStart();
    network.connections.back()->report(NetworkConnection::State::ready);
    sleepMonitor.sleep();
    queue.runPending();
    EXPECT_TRUE(mpv.callsTo("mpv_command").empty());
}

TEST_F(SleepTest, LastPictureIsHiddenBeforeSleep) {
    sleepMonitor.sleep();
    EXPECT_FALSE(videoHost()->expectsPicture());
}

TEST_F(SleepTest, MachineSleepsOnceTheStreamHasStopped) {
    sleepMonitor.sleep();
    EXPECT_TRUE(sleepMonitor.isHeldOff());
    queue.advance(0.1);
    EXPECT_TRUE(sleepMonitor.isHeldOff());
    delegate->handlePlaybackEngineEvent(EndFile{2, 0}, 1);
    EXPECT_FALSE(sleepMonitor.isHeldOff());
    EXPECT_TRUE(errors().isEmpty());
}

TEST_F(SleepTest, EngineThatNeverReportsTheEndDelaysSleepForOnlyTwoSeconds) {
    sleepMonitor.sleep();
    queue.advance(1.9);
    EXPECT_TRUE(sleepMonitor.isHeldOff());
    queue.advance(0.1);
    EXPECT_FALSE(sleepMonitor.isHeldOff());
}

TEST_F(SleepTest, StreamThatFailsDuringTheDelayReleasesIt) {
    sleepMonitor.sleep();
    delegate->handlePlaybackEngineEvent(EndFile{4, -13}, 1);
    EXPECT_FALSE(sleepMonitor.isHeldOff());
    EXPECT_EQ(access().playbackRetry(), nullptr);
}

TEST_F(SleepTest, PlayerWithoutAStreamDoesNotDelaySleep) {
    mpv.setProperty("idle-active", 1);
    sleepMonitor.sleep();
    EXPECT_FALSE(sleepMonitor.isHeldOff());
}

TEST_F(SleepTest, IdleStateIsQueriedBeforeTheStop) {
    sleepMonitor.sleep();
    ASSERT_GE(mpv.position("mpv_get_property(core 1, idle-active"), 0);
    EXPECT_LT(mpv.position("mpv_get_property(core 1, idle-active"),
              mpv.position("mpv_command_string(core 1, stop"));
}

TEST_F(SleepTest, LostGraphicsReleaseTheDelay) {
    sleepMonitor.sleep();
    loseGraphics();
    EXPECT_FALSE(sleepMonitor.isHeldOff());
}

TEST_F(SleepTest, SecondSleepAnnouncementHasItsOwnLimit) {
    sleepMonitor.sleep();
    queue.advance(1.5);
    sleepMonitor.sleep();
    queue.advance(1);
    EXPECT_TRUE(sleepMonitor.isHeldOff());
    queue.advance(1);
    EXPECT_FALSE(sleepMonitor.isHeldOff());
}

TEST_F(SleepTest, LongSleepDoesNotCountAsAStall) {
    sleepMonitor.sleep();
    queue.advance(3600);
    network.answer = std::nullopt;
    sleepMonitor.wake();
    queue.advance(1);
    EXPECT_TRUE(playbackLog().filter(u"stalled"_s).isEmpty());
    EXPECT_EQ(access().playbackRetryCount(), 1);
}

TEST_F(SleepTest, SecondWakeChangesNothing) {
    sleepMonitor.sleep();
    sleepMonitor.wake();
    sleepMonitor.wake();
    EXPECT_EQ(access().playbackRetryCount(), 1);
    queue.advance(1);
    EXPECT_EQ(playerGeneration(), 2);
}

TEST_F(SleepTest, UnannouncedSleepIsNoticedByTheNextTickOfTheWatchdog) {
    delegate->recordRenderedFrame(1);
    queue.jump(3600);
    queue.advance(2);
    EXPECT_EQ(playbackLog().filter(u"reason=process stood still."_s).size(), 1);
}

TEST_F(SleepTest, WithoutAPlayerTheMachineSleepsAtOnce) {
    delegate->stopPlayerEngine();
    sleepMonitor.sleep();
    EXPECT_FALSE(sleepMonitor.isHeldOff());
}

TEST_F(SleepTest, LimitOfAnEarlierSleepDoesNotShortenALaterDelay) {
    sleepMonitor.sleep();
    sleepMonitor.wake();
    EXPECT_FALSE(sleepMonitor.isHeldOff());
    queue.advance(1.5);
    sleepMonitor.sleep();
    queue.advance(1);
    EXPECT_TRUE(sleepMonitor.isHeldOff());
}

TEST_F(SleepTest, ClosingTheViewerReleasesTheDelay) {
    sleepMonitor.sleep();
    window().performClose();
    EXPECT_FALSE(sleepMonitor.isHeldOff());
}

} // namespace
} // namespace lumvik::test
