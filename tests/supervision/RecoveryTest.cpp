#include "app/controller/ControllerFixture.h"
#include "fakes/Named.h"

#include <utility>

namespace lumvik::test {
namespace {

using namespace PlaybackEngineEvents;
using State = PlaybackSupervisorState;

/// The controller with a player that was started and has not shown a frame yet.
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
    /// The delay that the last line announces, in seconds.
    [[nodiscard]] double lastDelay() const { return lastLine().section(u' ', 4, 4).toDouble(); }
};

TEST_F(RecoveryTest, RequestBacksOffAndIsLogged) {
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
    EXPECT_EQ(playerGeneration(), 1);
    EXPECT_EQ(network.connections.size(), 2U) << "the reload is preceded by a preflight";
}

TEST_F(RecoveryTest, ForcedRecreationCreatesANewPlayer) {
    delegate->schedulePlaybackRecovery(
        {.reason = u"a test"_s, .recreation = PlayerRecreation::forced});
    EXPECT_TRUE(lastLine().contains(u"recreate=true"_s));
    queue.advance(0.5);
    EXPECT_EQ(playerGeneration(), 2);
    EXPECT_EQ(mpv.liveCores(), 1);
    EXPECT_EQ(access().playbackState(), State::starting);
}

TEST_F(RecoveryTest, ThreeMissingFirstFramesReloadTwiceAndThenRecreate) {
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
        EXPECT_GE(lastDelay(), delays[n]) << n;
        EXPECT_LE(lastDelay(), delays[n] + 0.35) << n;
        queue.advance(delays[n] + 0.35);
        EXPECT_EQ(playerGeneration(), n < 2 ? 1 : 2) << n;
        EXPECT_EQ(loads(), static_cast<std::int64_t>(n) + 2) << n;
    }
}

TEST_F(RecoveryTest, AttemptsFromTheSeventhOnWaitThirtySeconds) {
    const std::vector<double> delays{0.5, 1, 2, 4, 8, 15, 30, 30, 30, 30, 30, 30};
    for (std::size_t n = 0; n < delays.size(); ++n) {
        fail();
        ASSERT_EQ(access().playbackRetryCount(), static_cast<std::int64_t>(n) + 1);
        EXPECT_EQ(lastDelay(), delays[n]);
        queue.advance(delays[n] - 0.01);
        EXPECT_EQ(loads(), static_cast<std::int64_t>(n) + 1);
        queue.advance(0.02);
        EXPECT_EQ(loads(), static_cast<std::int64_t>(n) + 2);
    }
}

TEST_F(RecoveryTest, ImmediateNinthAttemptHasAShortDelayAndRecreates) {
    failRecoveryAttempts(8);
    const std::int64_t generation = playerGeneration();
    delegate->schedulePlaybackRecovery(
        {.reason = u"a test"_s, .urgency = RecoveryUrgency::immediate});
    EXPECT_EQ(lastLine(), u"Scheduling recovery 9 in 0.500000 seconds; recreate=true; "
                          "reason=a test."_s);
    queue.advance(0.5);
    EXPECT_EQ(playerGeneration(), generation + 1);
}

TEST_F(RecoveryTest, PendingRequestIsNotReplacedByALaterOne) {
    failRecoveryAttempts(6);
    const std::int64_t generation = playerGeneration();
    const std::int64_t loadsBefore = loads();
    fail();
    const QStringList before = playbackLog();
    delegate->handleNetworkPath({.isSatisfied = true, .usesWiFi = true});
    delegate->handleNetworkPath({.isSatisfied = true, .usesEthernet = true});
    EXPECT_EQ(playbackLog(), before);
    EXPECT_EQ(access().playbackRetryCount(), 7);
    queue.advance(29.9);
    EXPECT_EQ(loads(), loadsBefore) << "the pending attempt keeps its delay";
    queue.advance(0.2);
    EXPECT_EQ(loads(), loadsBefore + 1);
    EXPECT_EQ(playerGeneration(), generation) << "the pending attempt still only reloads";
}

TEST_F(RecoveryTest, RequestsAreRefusedWithoutEffectWhilePlaybackIsImpossible) {
    whilePlaybackIsImpossible([&](const char *why) {
        const QStringList before = playbackLog();
        const State state = access().playbackState();
        fail();
        EXPECT_EQ(playbackLog(), before) << why;
        EXPECT_EQ(access().playbackState(), state) << why;
        EXPECT_EQ(access().playbackRetryCount(), 0) << why;
        EXPECT_EQ(access().playbackRetry(), nullptr) << why;
    });
    launchAndPlay(threeCameras());
    fail();
    EXPECT_EQ(access().playbackRetryCount(), 1);
}

TEST_F(RecoveryTest, AttemptThatBecameImpossibleDoesNothing) {
    const std::vector<std::pair<const char *, std::function<void()>>> obstacles{
        {"closing", [&] { delegate->closeCameraViewer(); }},
        {"sleeping", [&] { sleepMonitor.sleep(); }},
        {"no path", [&] { delegate->handleNetworkPath({}); }},
        {"another camera was chosen", [&] { delegate->selectCamera(1); }},
    };
    for (const auto &[why, obstruct] : obstacles) {
        launchAndPlay(threeCameras());
        queue.runPending();
        fail();
        obstruct();
        const std::int64_t loadsBefore = loads();
        const std::size_t connections = network.connections.size();
        queue.advance(0.5);
        EXPECT_EQ(access().playbackRetry(), nullptr) << why;
        EXPECT_EQ(loads(), loadsBefore) << why;
        EXPECT_EQ(network.connections.size(), connections) << why;
    }
}

TEST_F(RecoveryTest, ChoosingACameraCancelsTheAttemptAndTheCount) {
    fail();
    delegate->selectCamera(1);
    EXPECT_EQ(access().playbackRetry(), nullptr);
    EXPECT_EQ(access().playbackRetryCount(), 0);
    EXPECT_EQ(loads(), 2);
    queue.advance(1);
    EXPECT_EQ(loads(), 2) << "the attempt for the previous camera does nothing";
}

TEST_F(RecoveryTest, DestroyedControllerIsNotCalledBack) {
    fail();
    delegate.reset();
    queue.advance(60);
    EXPECT_EQ(mpv.liveCores(), 0);
}

TEST_F(RecoveryTest, NothingIsScheduledOnceTheViewerCloses) {
    fail();
    window().performClose();
    EXPECT_EQ(access().playbackRetry(), nullptr);
    EXPECT_TRUE(queue.delays().empty()) << "the watchdog is cancelled as well";
    EXPECT_EQ(exitLimits, 1);
    queue.advance(60);
    EXPECT_EQ(loads(), 1);
    EXPECT_EQ(mpv.liveCores(), 0);
}

TEST_F(RecoveryTest, TerminationCancelsTheProbe) {
    network.answer = std::nullopt;
    delegate->requestLocalNetworkAccessAndStart();
    delegate->applicationWillTerminate();
    EXPECT_TRUE(network.connections.back()->isCancelled);
    EXPECT_FALSE(probeIsUnderWay());
}

TEST_F(RecoveryTest, TerminationCancelsTheAttempt) {
    fail();
    delegate->applicationWillTerminate();
    EXPECT_EQ(access().playbackRetry(), nullptr);
    EXPECT_TRUE(networkPath.isCancelled);
    EXPECT_FALSE(sleepMonitor.isWatching());
    EXPECT_TRUE(queue.delays().empty()) << "the watchdog is cancelled as well";
    queue.advance(60);
    EXPECT_EQ(mpv.liveCores(), 0);
}

// ---- Requests for recovery ----

struct EngineFailure {
    PlaybackEngineEvent event;
    QString scheduled;
};

class EngineFailureTest : public RecoveryTest,
                          public testing::WithParamInterface<Named<EngineFailure>> {};

TEST_P(EngineFailureTest, SchedulesItsRecovery) {
    delegate->handlePlaybackEngineEvent(GetParam().value.event, 1);
    EXPECT_EQ(lastLine(), GetParam().value.scheduled);
    EXPECT_EQ(access().playbackState(), State::backingOff);
}

INSTANTIATE_TEST_SUITE_P(
    Events, EngineFailureTest,
    testing::Values(
        Named<EngineFailure>{{EndFile{0, 0},
                              u"Scheduling recovery 1 in 0.500000 seconds; recreate=false; "
                              "reason=mpv ended the stream."_s},
                             "EndOfStream"},
        Named<EngineFailure>{{EndFile{1, 0},
                              u"Scheduling recovery 1 in 0.500000 seconds; recreate=false; "
                              "reason=mpv ended the stream."_s},
                             "ReasonOutsideTheMask"},
        Named<EngineFailure>{{EndFile{4, -13},
                              u"Scheduling recovery 1 in 0.500000 seconds; recreate=false; "
                              "reason=mpv ended the stream."_s},
                             "Error"},
        Named<EngineFailure>{{EndFile{},
                              u"Scheduling recovery 1 in 0.500000 seconds; recreate=false; "
                              "reason=mpv ended the stream."_s},
                             "Unknown"},
        Named<EngineFailure>{{Shutdown{},
                              u"Scheduling recovery 1 in 0.500000 seconds; recreate=true; "
                              "reason=mpv shutdown."_s},
                             "Shutdown"},
        Named<EngineFailure>{{QueueOverflow{},
                              u"Scheduling recovery 1 in 0.500000 seconds; recreate=true; "
                              "reason=mpv event queue overflow."_s},
                             "Overflow"}),
    nameOfParameter);

TEST_F(RecoveryTest, OfAllProgressReportsOnlyTheStartOfAFileChangesTheState) {
    delegate->recordRenderedFrame(1);
    delegate->handlePlaybackEngineEvent(FileLoaded{}, 1);
    delegate->handlePlaybackEngineEvent(PlaybackRestart{}, 1);
    EXPECT_EQ(access().playbackState(), State::playing);
    delegate->handlePlaybackEngineEvent(StartFile{}, 1);
    EXPECT_EQ(access().playbackState(), State::starting);
    EXPECT_EQ(access().playbackRetryCount(), 0);
}

TEST_F(RecoveryTest, ReportsOfADestroyedPlayerAreIgnored) {
    delegate->stopPlayerEngine();
    delegate->handlePlaybackEngineEvent(EndFile{4, -13}, 1);
    delegate->recordRenderedFrame(1);
    EXPECT_TRUE(errors().isEmpty());
    EXPECT_EQ(access().playbackRetryCount(), 0);
    EXPECT_EQ(access().playbackState(), State::stopped);
}

TEST_F(RecoveryTest, ExpectedEndsRequestNothing) {
    for (const std::uint32_t reason : {2U, 3U, 5U})
        delegate->handlePlaybackEngineEvent(EndFile{reason, 0}, 1);
    EXPECT_EQ(access().playbackRetry(), nullptr);
    EXPECT_EQ(access().playbackState(), State::starting);
}

TEST_F(RecoveryTest, RejectedLoadRequestsRecovery) {
    mpv.setCommandResult("loadfile", -12);
    delegate->selectCamera(1);
    EXPECT_EQ(lastLine(), u"Scheduling recovery 1 in 0.500000 seconds; recreate=false; "
                          "reason=mpv rejected the load command."_s);
}

TEST_F(RecoveryTest, LoadsRejectedForHoursOpenOneAlert) {
    mpv.setCommandResult("loadfile", -12);
    alerts.setWhileOpen([&] {
        if (alerts.shown().size() == 1)
            queue.advance(3600);
    });
    delegate->selectCamera(1);
    queue.runPending();
    EXPECT_EQ(alerts.shown().size(), 1);
    EXPECT_GT(loads(), 100);
    queue.advance(60); // after the first alert was answered, another may be shown
    EXPECT_GT(alerts.shown().size(), 1);
}

TEST_F(RecoveryTest, NothingIsStartedWhileTheGraphicsAreLost) {
    fail();
    loseGraphics();
    EXPECT_EQ(mpv.liveCores(), 0);
    EXPECT_EQ(access().playbackState(), State::stopped);
    EXPECT_EQ(access().playbackRetry(), nullptr);
    fail();
    queue.advance(60);
    EXPECT_EQ(playerGeneration(), 1);
    EXPECT_TRUE(alerts.shown().isEmpty());
}

TEST_F(RecoveryTest, FailedStartIsRetriedAndShownInOneAlert) {
    delegate->stopPlayerEngine();
    mpv.setCreateFails(true);
    delegate->startPlayer();
    EXPECT_EQ(access().playbackState(), State::stopped);
    EXPECT_EQ(lastLine(), u"Scheduling recovery 1 in 0.500000 seconds; recreate=false; "
                          "reason=video engine could not start."_s);
    queue.advance(0.4);
    mpv.setCreateFails(false);
    queue.advance(0.1);
    EXPECT_EQ(mpv.liveCores(), 1);
    EXPECT_EQ(alerts.texts(), QStringList(u"Lumvik could not start its video engine."_s));
}

TEST_F(RecoveryTest, DrawnFrameCancelsEvenAForcedAttempt) {
    delegate->schedulePlaybackRecovery({.reason = u"a test"_s,
                                        .urgency = RecoveryUrgency::immediate,
                                        .recreation = PlayerRecreation::forced});
    delegate->recordRenderedFrame(1);
    queue.advance(1);
    EXPECT_EQ(playerGeneration(), 1) << "a player with a live picture is kept";
    EXPECT_EQ(access().playbackState(), State::playing);
}

TEST_F(RecoveryTest, RecreationCancelsARunningProbe) {
    delegate->schedulePlaybackRecovery(
        {.reason = u"a test"_s, .recreation = PlayerRecreation::forced});
    network.answer = std::nullopt;
    delegate->requestLocalNetworkAccessAndStart();
    const auto before = network.connections.back();
    queue.advance(0.5);
    EXPECT_TRUE(before->isCancelled);
    EXPECT_EQ(mpv.liveCores(), 0);
    EXPECT_EQ(network.connections.size(), 3U);
}

TEST_F(RecoveryTest, SlowPlayerDestructionDoesNotDelayTheNextPlayer) {
    mpv.setDestructionHangs(true);
    delegate->schedulePlaybackRecovery(
        {.reason = u"a test"_s, .recreation = PlayerRecreation::forced});
    queue.advance(0.5);
    EXPECT_EQ(playerGeneration(), 2);
    EXPECT_EQ(mpv.liveCores(), 2);
    EXPECT_FALSE(delegate->finishPlayers(std::chrono::milliseconds(10)));
    mpv.setDestructionHangs(false);
    EXPECT_TRUE(delegate->finishPlayers(std::chrono::seconds(20)));
    EXPECT_EQ(mpv.liveCores(), 1);
}

TEST_F(RecoveryTest, RestoredGraphicsRequestANewPlayerAtOnce) {
    loseGraphics();
    restoreGraphics();
    EXPECT_EQ(lastLine(), u"Scheduling recovery 1 in 0.500000 seconds; recreate=true; "
                          "reason=window graphics restored."_s);
    queue.advance(0.5);
    EXPECT_EQ(playerGeneration(), 2);
}

// ---- Streams that end while the engine keeps showing the last frame ----

TEST_F(RecoveryTest, StreamThatEndedRegularlyIsReplacedAtOnce) {
    delegate->recordRenderedFrame(1);
    mpv.setProperty("eof-reached", 1);
    mpv.sendPropertyChange("eof-reached");
    queue.runPending();
    EXPECT_TRUE(errors().contains(u"mpv ended the stream: reason=0, error=0."_s));
    EXPECT_EQ(access().playbackState(), State::backingOff);
    EXPECT_FALSE(videoHost()->expectsPicture()) << "a last frame would look live";
    queue.advance(0.5);
    EXPECT_EQ(loads(), 2);
    EXPECT_EQ(errors().size(), 1) << "the end is reported once";
}

TEST_F(RecoveryTest, ContinuingStreamDoesNotCountAsEnded) {
    delegate->recordRenderedFrame(1);
    mpv.setProperty("eof-reached", 0);
    mpv.sendPropertyChange("eof-reached");
    queue.runPending();
    EXPECT_EQ(access().playbackState(), State::playing);
    EXPECT_TRUE(errors().isEmpty());
}

TEST_F(RecoveryTest, EndOfAReplacedStreamIsIgnored) {
    delegate->recordRenderedFrame(1);
    mpv.setProperty("eof-reached", 1);
    mpv.sendPropertyChange("eof-reached");
    delegate->selectCamera(1);
    queue.runPending();
    EXPECT_TRUE(errors().isEmpty());
    EXPECT_EQ(access().playbackState(), State::starting);
}

TEST_F(RecoveryTest, StreamsThatEndBeforeAnyFrameBackOffIncreasingly) {
    mpv.setProperty("eof-reached", 1);
    const std::vector<double> delays{0.5, 1, 2, 4, 8, 15, 30};
    for (std::size_t n = 0; n < delays.size(); ++n) {
        mpv.sendPropertyChange("eof-reached");
        queue.runPending();
        ASSERT_EQ(access().playbackRetryCount(), static_cast<std::int64_t>(n) + 1);
        EXPECT_EQ(lastDelay(), delays[n]);
        queue.advance(delays[n] - 0.01);
        EXPECT_NE(access().playbackRetry(), nullptr);
        queue.advance(0.02);
        EXPECT_EQ(access().playbackRetry(), nullptr);
        delegate->handlePlaybackEngineEvent(StartFile{}, playerGeneration());
    }
}

} // namespace
} // namespace lumvik::test
