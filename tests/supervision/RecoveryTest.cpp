#include "app/controller/ControllerFixture.h"

namespace lumvik::test {
namespace {

using namespace PlaybackEngineEvents;
using State = PlaybackSupervisorState;

/// A player that was started and has shown nothing yet.
class RecoveryTest : public ControllerFixture {
  protected:
    void SetUp() override {
        launchAndPlay(threeCameras());
        queue.runPending();
        delegate->handlePlaybackEngineEvent(StartFile{}, 1);
    }

    [[nodiscard]] std::int64_t loads() const {
        std::int64_t loads = 0;
        for (const MpvCall &call : mpv.callsTo("mpv_command"))
            loads += call.arguments.front() == "loadfile" ? 1 : 0;
        return loads;
    }
    void fail(const QString &reason = u"a test"_s) {
        delegate->schedulePlaybackRecovery({.reason = reason});
    }
    [[nodiscard]] QString lastLine() const { return playbackLog().last(); }
};

TEST_F(RecoveryTest, RequestBacksOffAndSaysSo) {
    random = 0.5;
    fail(u"the reason"_s);
    EXPECT_EQ(access().playbackState(), State::backingOff);
    EXPECT_EQ(access().playbackRetryCount(), 1);
    EXPECT_EQ(log.lines(u"playback"_s).last(),
              (LoggedLine{LogLevel::standard, u"playback"_s,
                          u"Scheduling recovery 1 in 0.675000 seconds; recreate=false; "
                          "reason=the reason."_s}));
}

TEST_F(RecoveryTest, ReloadsTheCameraOnceTheDelayIsOver) {
    fail();
    queue.advance(0.499);
    EXPECT_EQ(loads(), 1);
    EXPECT_NE(access().playbackRetry(), nullptr);
    queue.advance(0.001);
    EXPECT_EQ(loads(), 2);
    EXPECT_EQ(access().playbackRetry(), nullptr);
    EXPECT_EQ(access().playbackState(), State::starting);
    EXPECT_EQ(access().playerGeneration(), 1);
    EXPECT_EQ(network.connections.size(), 2U) << "by way of the preflight";
}

TEST_F(RecoveryTest, ForcedRecreationMakesANewPlayer) {
    delegate->schedulePlaybackRecovery(
        {.reason = u"a test"_s, .recreation = PlayerRecreation::forced});
    EXPECT_TRUE(lastLine().contains(u"recreate=true"_s));
    queue.advance(0.5);
    EXPECT_EQ(access().playerGeneration(), 2);
    EXPECT_EQ(mpv.liveCores(), 1);
    EXPECT_EQ(access().playbackState(), State::starting);
}

TEST_F(RecoveryTest, FirstFramesThatStayAwayThreeTimesReloadTwiceAndThenRecreate) {
    const std::vector<double> delays{0.5, 1, 2};
    random = 0.999;
    for (std::size_t n = 0; n < delays.size(); ++n) {
        ASSERT_TRUE(access().playbackRetry() == nullptr);
        const double waited = queue.now();
        while (access().playbackRetry() == nullptr && queue.now() - waited < 20)
            queue.advance(0.25);
        EXPECT_TRUE(lastLine().endsWith(u"reason=no first video frame."_s));
        EXPECT_GE(queue.now() - waited, 8);
        EXPECT_LE(queue.now() - waited, 10.25);
        const double delay = lastLine().section(u' ', 4, 4).toDouble();
        EXPECT_GE(delay, delays[n]) << n;
        EXPECT_LE(delay, delays[n] + 0.35) << n;
        queue.advance(delays[n] + 0.35);
        EXPECT_EQ(access().playerGeneration(), n < 2 ? 1 : 2) << n;
        EXPECT_EQ(loads(), static_cast<std::int64_t>(n) + 2) << n;
    }
}

TEST_F(RecoveryTest, SeventhAndEveryLaterAttemptWaitsThirtySeconds) {
    const std::vector<double> delays{0.5, 1, 2, 4, 8, 15, 30, 30, 30, 30, 30, 30};
    for (std::size_t n = 0; n < delays.size(); ++n) {
        access().playbackWatchdog().reset(); // it would ask for attempts of its own
        fail();
        ASSERT_EQ(access().playbackRetryCount(), static_cast<std::int64_t>(n) + 1);
        EXPECT_EQ(queue.delays(), std::vector<double>{delays[n]});
        queue.advance(delays[n]);
        EXPECT_EQ(loads(), static_cast<std::int64_t>(n) + 2);
    }
}

TEST_F(RecoveryTest, ImmediateNinthAttemptIsSoonAndRecreates) {
    access().playbackRetryCount() = 8;
    delegate->schedulePlaybackRecovery(
        {.reason = u"a test"_s, .urgency = RecoveryUrgency::immediate});
    EXPECT_EQ(lastLine(), u"Scheduling recovery 9 in 0.500000 seconds; recreate=true; "
                          "reason=a test."_s);
    queue.advance(0.5);
    EXPECT_EQ(access().playerGeneration(), 2);
}

TEST_F(RecoveryTest, FirstRequestWinsWhateverTheSecondAsksFor) {
    access().playbackRetryCount() = 6;
    access().playbackWatchdog().reset();
    fail();
    const QStringList before = playbackLog();
    delegate->handleNetworkPath({.isSatisfied = true, .usesWiFi = true});
    delegate->handleNetworkPath({.isSatisfied = true, .usesEthernet = true});
    EXPECT_EQ(playbackLog(), before);
    EXPECT_EQ(access().playbackRetryCount(), 7);
    queue.advance(29.9);
    EXPECT_EQ(loads(), 1) << "the attempt that waited keeps its delay";
    queue.advance(0.2);
    EXPECT_EQ(loads(), 2);
    EXPECT_EQ(access().playerGeneration(), 1) << "and does what it was to do";
}

TEST_F(RecoveryTest, RequestsAreRefusedWithoutATrace) {
    whilePlaybackIsBarred([&](const char *why) {
        const QStringList before = playbackLog();
        const State state = access().playbackState();
        fail();
        EXPECT_EQ(playbackLog(), before) << why;
        EXPECT_EQ(access().playbackState(), state) << why;
        EXPECT_EQ(access().playbackRetryCount(), 0) << why;
        EXPECT_EQ(access().playbackRetry(), nullptr) << why;
    });
    fail();
    EXPECT_EQ(access().playbackRetryCount(), 1);
}

TEST_F(RecoveryTest, AttemptThatBecameImpossibleDoesNothingButForgetItself) {
    const auto doesNothing = [&](const char *why, const std::function<void()> &undo) {
        queue.advance(0.5);
        EXPECT_EQ(access().playbackRetry(), nullptr) << why;
        EXPECT_EQ(loads(), 1) << why;
        EXPECT_EQ(network.connections.size(), 1U) << why;
        undo();
        access().playbackRetryCount() = 0;
    };
    fail();
    access().isClosingViewer() = true;
    doesNothing("closing", [&] { access().isClosingViewer() = false; });
    fail();
    access().systemIsSleeping() = true;
    doesNothing("sleeping", [&] { access().systemIsSleeping() = false; });
    fail();
    access().networkPathIsSatisfied() = false;
    doesNothing("no path", [&] { access().networkPathIsSatisfied() = true; });
    fail();
    ++access().playbackSelectionGeneration();
    doesNothing("another camera was chosen", [] {});
}

TEST_F(RecoveryTest, ChoosingACameraCancelsTheAttemptAndTheCount) {
    fail();
    delegate->selectCamera(1);
    EXPECT_EQ(access().playbackRetry(), nullptr);
    EXPECT_EQ(access().playbackRetryCount(), 0);
    EXPECT_EQ(loads(), 2);
    queue.advance(1);
    EXPECT_EQ(loads(), 2) << "the attempt for the camera before does nothing";
}

TEST_F(RecoveryTest, ControllerThatIsGoneIsNotCalledBack) {
    fail();
    delegate.reset();
    queue.advance(60);
    EXPECT_EQ(mpv.liveCores(), 0);
}

TEST_F(RecoveryTest, NothingIsScheduledOnceTheViewerCloses) {
    fail();
    access().window()->performClose();
    EXPECT_EQ(access().playbackRetry(), nullptr);
    EXPECT_EQ(access().playbackWatchdog(), nullptr);
    EXPECT_EQ(exitLimits, 1);
    queue.advance(60);
    EXPECT_EQ(loads(), 1);
    EXPECT_EQ(mpv.liveCores(), 0);
}

TEST_F(RecoveryTest, TerminationEndsAProbe) {
    network.answer = std::nullopt;
    delegate->requestLocalNetworkAccessAndStart();
    delegate->applicationWillTerminate();
    EXPECT_TRUE(network.connections.back()->isCancelled);
    EXPECT_EQ(access().localNetworkProbe(), nullptr);
}

TEST_F(RecoveryTest, TerminationCancelsTheAttempt) {
    fail();
    delegate->applicationWillTerminate();
    EXPECT_EQ(access().playbackRetry(), nullptr);
    EXPECT_TRUE(networkPath.isCancelled);
    EXPECT_FALSE(sleepMonitor.isWatching());
    EXPECT_EQ(access().playbackWatchdog(), nullptr);
    queue.advance(60);
    EXPECT_EQ(mpv.liveCores(), 0);
}

// ---- What asks for recovery ----

struct EngineFailure {
    const char *name;
    PlaybackEngineEvent event;
    QString scheduled;
};

class EngineFailureTest : public RecoveryTest, public testing::WithParamInterface<EngineFailure> {};

TEST_P(EngineFailureTest, IsFollowedByItsRequest) {
    delegate->handlePlaybackEngineEvent(GetParam().event, 1);
    EXPECT_EQ(lastLine(), GetParam().scheduled);
    EXPECT_EQ(access().playbackState(), State::backingOff);
}

INSTANTIATE_TEST_SUITE_P(
    Events, EngineFailureTest,
    testing::Values(EngineFailure{"EndOfStream", EndFile{0, 0},
                                  u"Scheduling recovery 1 in 0.500000 seconds; recreate=false; "
                                  "reason=mpv ended the stream."_s},
                    EngineFailure{"ReasonOutsideTheMask", EndFile{1, 0},
                                  u"Scheduling recovery 1 in 0.500000 seconds; recreate=false; "
                                  "reason=mpv ended the stream."_s},
                    EngineFailure{"Error", EndFile{4, -13},
                                  u"Scheduling recovery 1 in 0.500000 seconds; recreate=false; "
                                  "reason=mpv ended the stream."_s},
                    EngineFailure{"Unknown", EndFile{},
                                  u"Scheduling recovery 1 in 0.500000 seconds; recreate=false; "
                                  "reason=mpv ended the stream."_s},
                    EngineFailure{"Shutdown", Shutdown{},
                                  u"Scheduling recovery 1 in 0.500000 seconds; recreate=true; "
                                  "reason=mpv shutdown."_s},
                    EngineFailure{"Overflow", QueueOverflow{},
                                  u"Scheduling recovery 1 in 0.500000 seconds; recreate=true; "
                                  "reason=mpv event queue overflow."_s}),
    [](const auto &failure) { return failure.param.name; });

TEST_F(RecoveryTest, ReportsOfProgressChangeNothingButTheStart) {
    delegate->recordRenderedFrame(1);
    delegate->handlePlaybackEngineEvent(FileLoaded{}, 1);
    delegate->handlePlaybackEngineEvent(PlaybackRestart{}, 1);
    EXPECT_EQ(access().playbackState(), State::playing);
    delegate->handlePlaybackEngineEvent(StartFile{}, 1);
    EXPECT_EQ(access().playbackState(), State::starting);
    EXPECT_EQ(access().playbackRetryCount(), 0);
}

TEST_F(RecoveryTest, WhatADestroyedPlayerHadToSayIsIgnored) {
    delegate->stopPlayerEngine();
    delegate->handlePlaybackEngineEvent(EndFile{4, -13}, 1);
    delegate->recordRenderedFrame(1);
    EXPECT_TRUE(errors().isEmpty());
    EXPECT_EQ(access().playbackRetryCount(), 0);
    EXPECT_EQ(access().playbackState(), State::stopped);
}

TEST_F(RecoveryTest, ExpectedEndsAskForNothing) {
    for (const std::uint32_t reason : {2U, 3U, 5U})
        delegate->handlePlaybackEngineEvent(EndFile{reason, 0}, 1);
    EXPECT_EQ(access().playbackRetry(), nullptr);
    EXPECT_EQ(access().playbackState(), State::starting);
}

TEST_F(RecoveryTest, LoadThatIsRejectedAsksForRecovery) {
    mpv.setCommandResult("loadfile", -12);
    delegate->selectCamera(1);
    EXPECT_EQ(lastLine(), u"Scheduling recovery 1 in 0.500000 seconds; recreate=false; "
                          "reason=mpv rejected the load command."_s);
}

TEST_F(RecoveryTest, LoadsThatAreRejectedForHoursOpenOneAlert) {
    mpv.setCommandResult("loadfile", -12);
    alerts.setWhileOpen([&] {
        if (alerts.shown().size() == 1)
            queue.advance(3600);
    });
    delegate->selectCamera(1);
    queue.runPending();
    EXPECT_EQ(alerts.shown().size(), 1);
    EXPECT_GT(loads(), 100);
    queue.advance(60); // once it was answered, another one may come
    EXPECT_GT(alerts.shown().size(), 1);
}

TEST_F(RecoveryTest, NothingIsStartedWhileTheGraphicsAreAway) {
    fail();
    access().graphicsWereLost();
    EXPECT_EQ(access().mpv(), nullptr);
    EXPECT_EQ(access().playbackState(), State::stopped);
    EXPECT_EQ(access().playbackRetry(), nullptr);
    fail();
    queue.advance(60);
    EXPECT_EQ(access().playerGeneration(), 1);
    EXPECT_TRUE(alerts.shown().isEmpty());
}

TEST_F(RecoveryTest, StartThatFailsIsTriedAgainAndOneAlertTellsOfIt) {
    delegate->stopPlayerEngine();
    mpv.setCreateFails(true);
    delegate->startPlayer();
    EXPECT_EQ(access().playbackState(), State::stopped);
    EXPECT_EQ(lastLine(), u"Scheduling recovery 1 in 0.500000 seconds; recreate=false; "
                          "reason=video engine could not start."_s);
    queue.advance(0.4);
    mpv.setCreateFails(false);
    queue.advance(0.1);
    EXPECT_NE(access().mpv(), nullptr);
    EXPECT_EQ(alerts.texts(), QStringList(u"Lumvik could not start its video engine."_s));
}

TEST_F(RecoveryTest, FrameThatIsDrawnCancelsEvenAForcedAttempt) {
    delegate->schedulePlaybackRecovery({.reason = u"a test"_s,
                                        .urgency = RecoveryUrgency::immediate,
                                        .recreation = PlayerRecreation::forced});
    delegate->recordRenderedFrame(1);
    queue.advance(1);
    EXPECT_EQ(access().playerGeneration(), 1) << "a picture that is live is left alone";
    EXPECT_EQ(access().playbackState(), State::playing);
}

TEST_F(RecoveryTest, RecreationCancelsAProbeThatIsUnderWay) {
    delegate->schedulePlaybackRecovery(
        {.reason = u"a test"_s, .recreation = PlayerRecreation::forced});
    network.answer = std::nullopt;
    delegate->requestLocalNetworkAccessAndStart();
    const auto before = network.connections.back();
    queue.advance(0.5);
    EXPECT_TRUE(before->isCancelled);
    EXPECT_EQ(access().mpv(), nullptr);
    EXPECT_EQ(network.connections.size(), 3U);
}

TEST_F(RecoveryTest, PlayerThatTakesLongToStopDoesNotHoldTheNextUp) {
    mpv.setDestructionHangs(true);
    delegate->schedulePlaybackRecovery(
        {.reason = u"a test"_s, .recreation = PlayerRecreation::forced});
    queue.advance(0.5);
    EXPECT_EQ(access().playerGeneration(), 2);
    EXPECT_EQ(mpv.liveCores(), 2);
    EXPECT_FALSE(delegate->finishPlayers(std::chrono::milliseconds(10)));
    mpv.setDestructionHangs(false);
    EXPECT_TRUE(delegate->finishPlayers(std::chrono::seconds(20)));
    EXPECT_EQ(mpv.liveCores(), 1);
}

TEST_F(RecoveryTest, GraphicsThatAreBackAskForANewPlayerAtOnce) {
    access().graphicsWereLost();
    access().graphicsAreBack();
    EXPECT_EQ(lastLine(), u"Scheduling recovery 1 in 0.500000 seconds; recreate=true; "
                          "reason=window graphics restored."_s);
    queue.advance(0.5);
    EXPECT_EQ(access().playerGeneration(), 2);
}

// ---- The end of a stream that the engine turns into a standing frame ----

TEST_F(RecoveryTest, StreamThatEndedInOrderIsReplacedAtOnce) {
    delegate->recordRenderedFrame(1);
    mpv.setProperty("eof-reached", 1);
    mpv.sendPropertyChange("eof-reached");
    queue.runPending();
    EXPECT_TRUE(errors().contains(u"mpv ended the stream: reason=0, error=0."_s));
    EXPECT_EQ(access().playbackState(), State::backingOff);
    EXPECT_FALSE(access().videoHost()->expectsPicture()) << "a last frame would look live";
    queue.advance(0.5);
    EXPECT_EQ(loads(), 2);
    EXPECT_EQ(errors().size(), 1) << "the end is reported once";
}

TEST_F(RecoveryTest, StreamThatGoesOnIsNotTakenForEnded) {
    delegate->recordRenderedFrame(1);
    mpv.setProperty("eof-reached", 0);
    mpv.sendPropertyChange("eof-reached");
    queue.runPending();
    EXPECT_EQ(access().playbackState(), State::playing);
    EXPECT_TRUE(errors().isEmpty());
}

TEST_F(RecoveryTest, EndOfAStreamThatIsBeingReplacedIsIgnored) {
    delegate->recordRenderedFrame(1);
    mpv.setProperty("eof-reached", 1);
    mpv.sendPropertyChange("eof-reached");
    delegate->selectCamera(1);
    queue.runPending();
    EXPECT_TRUE(errors().isEmpty());
    EXPECT_EQ(access().playbackState(), State::starting);
}

TEST_F(RecoveryTest, StreamsThatEndBeforeAnyFrameBackOffMoreAndMore) {
    mpv.setProperty("eof-reached", 1);
    const std::vector<double> delays{0.5, 1, 2, 4, 8, 15, 30};
    for (std::size_t n = 0; n < delays.size(); ++n) {
        access().playbackWatchdog().reset(); // it would ask for attempts of its own
        mpv.sendPropertyChange("eof-reached");
        queue.runPending();
        ASSERT_EQ(access().playbackRetryCount(), static_cast<std::int64_t>(n) + 1);
        EXPECT_EQ(queue.delays(), std::vector<double>{delays[n]});
        queue.advance(delays[n]);
        delegate->handlePlaybackEngineEvent(StartFile{}, access().playerGeneration());
    }
}

} // namespace
} // namespace lumvik::test
