#include "app/controller/ControllerFixture.h"

namespace lumvik::test {
namespace {

using State = PlaybackSupervisorState;
using Connection = NetworkConnection::State;

class PreflightTest : public ControllerFixture {
  protected:
    /// Launches with connections that report nothing, until the first connection or player exists.
    void launchSilently(const CameraList &cameras = threeCameras()) {
        network.answer = std::nullopt;
        launch(cameras);
        EXPECT_TRUE(eventually([&] {
            queue.runPending();
            return !network.connections.empty() || playerGeneration() > 0;
        }));
    }
    [[nodiscard]] FakeConnection &probe() { return *network.connections.back(); }
    [[nodiscard]] QList<LoggedLine> networkLog() const { return log.lines(u"network"_s); }
    [[nodiscard]] static LoggedLine line(LogLevel level, const QString &text) {
        return {level, u"network"_s, text};
    }
};

TEST_F(PreflightTest, ProbesTheCamerasHostBeforeThePlayerStarts) {
    launchSilently();
    EXPECT_EQ(probe().host, u"camera.example"_s);
    EXPECT_EQ(probe().port, 554);
    EXPECT_TRUE(probe().isStarted);
    EXPECT_TRUE(mpv.calls().empty());
    EXPECT_EQ(
        networkLog(),
        QList<LoggedLine>{line(
            LogLevel::debug, u"Beginning private local-network preflight for camera index 0."_s)});
}

TEST_F(PreflightTest, ProbesThePortInTheAddress) {
    launchSilently({{u"Front"_s, u"rtsp://camera.example:8554/front"_s}});
    EXPECT_EQ(probe().port, 8554);
}

TEST_F(PreflightTest, AddressWithoutAHostStartsThePlayerAtOnce) {
    launchSilently({{u"Front"_s, u"rtsp:///front"_s}});
    EXPECT_TRUE(network.connections.empty());
    EXPECT_EQ(playerGeneration(), 1);
    EXPECT_TRUE(networkLog().isEmpty());
}

TEST_F(PreflightTest, ReadyProbeIsClosedAndThePlayerStarts) {
    launchSilently();
    probe().report(Connection::preparing);
    probe().report(Connection::ready);
    EXPECT_EQ(playerGeneration(), 0) << "the player starts in a later turn";
    queue.runPending();
    EXPECT_EQ(playerGeneration(), 1);
    EXPECT_FALSE(probeIsUnderWay());
    EXPECT_THAT(queue.delays(), testing::Not(testing::Contains(preflightFallbackDelay)));
    EXPECT_TRUE(probe().isCancelled);
    EXPECT_FALSE(probe().hasHandler());
    EXPECT_EQ(networkLog().last(),
              line(LogLevel::debug, u"The local-network preflight reached ready state."_s));
}

TEST_F(PreflightTest, WaitingProbeContinuesAfterTheFallbackDelay) {
    launchSilently();
    probe().report(Connection::waiting);
    EXPECT_EQ(networkLog().last(),
              line(LogLevel::debug, u"The local-network preflight is waiting for macOS."_s));
    queue.advance(1.249);
    EXPECT_EQ(playerGeneration(), 0);
    queue.advance(0.001);
    EXPECT_EQ(playerGeneration(), 1);
    EXPECT_EQ(networkLog().last(),
              line(LogLevel::debug, u"The local-network preflight fallback elapsed; continuing "
                                    "with playback recovery."_s));
    EXPECT_TRUE(probe().isCancelled);
}

TEST_F(PreflightTest, SilentProbeReloadsAnExistingPlayer) {
    launchAndPlay(threeCameras());
    queue.runPending();
    network.answer = std::nullopt;
    mpv.forgetCalls();
    delegate->requestLocalNetworkAccessAndStart();
    queue.advance(1.25);
    EXPECT_EQ(mpv.callsTo("mpv_command").size(), 1U);
    EXPECT_EQ(playerGeneration(), 1);
}

TEST_F(PreflightTest, FailedProbeStillStartsTheFirstPlayer) {
    launchSilently();
    probe().report(Connection::failed);
    EXPECT_EQ(networkLog().last(), line(LogLevel::error, u"The local-network preflight failed."_s));
    queue.runPending();
    EXPECT_EQ(playerGeneration(), 1);
    EXPECT_EQ(access().playbackRetryCount(), 0);
}

TEST_F(PreflightTest, FailedProbeWithAPlayerBacksOff) {
    launchAndPlay(threeCameras());
    queue.runPending();
    network.answer = Connection::failed;
    mpv.forgetCalls();
    delegate->requestLocalNetworkAccessAndStart();
    queue.runPending();
    EXPECT_EQ(playbackLog().last(), u"Scheduling recovery 1 in 0.500000 seconds; recreate=false; "
                                    "reason=local-network preflight failed."_s);
    EXPECT_TRUE(mpv.callsTo("mpv_command").empty());
}

TEST_F(PreflightTest, ReadyProbeWithAPlayerReloads) {
    launchAndPlay(threeCameras());
    queue.runPending();
    mpv.forgetCalls();
    delegate->requestLocalNetworkAccessAndStart();
    queue.runPending();
    EXPECT_EQ(mpv.callsTo("mpv_command").size(), 1U);
    EXPECT_EQ(playerGeneration(), 1);
}

TEST_F(PreflightTest, ChoosingAnotherCameraCancelsTheProbeAndProbesItsHost) {
    launchSilently({{u"One"_s, u"rtsp://one.example/"_s}, {u"Two"_s, u"rtsp://two.example/"_s}});
    FakeConnection &first = probe();
    first.report(Connection::ready); // posts to the main thread
    delegate->selectCamera(1);
    EXPECT_TRUE(first.isCancelled);
    ASSERT_EQ(network.connections.size(), 2U);
    EXPECT_EQ(probe().host, u"two.example"_s);
    queue.runPending();
    EXPECT_EQ(playerGeneration(), 0) << "the late report belongs to a cancelled probe";
    EXPECT_TRUE(probeIsUnderWay());
    probe().report(Connection::ready);
    queue.runPending();
    EXPECT_EQ(playerGeneration(), 1);
    EXPECT_TRUE(mpv.position("mpv_command(core 1, loadfile, rtsp://two.example/") >= 0);
}

TEST_F(PreflightTest, ProbeForAnEarlierSelectionStartsNothing) {
    launchSilently();
    const std::int64_t earlier = access().selectionGeneration();
    delegate->selectCamera(1);
    delegate->finishLocalNetworkProbe(network.connections.back(), true, earlier);
    EXPECT_EQ(playerGeneration(), 0);
    EXPECT_FALSE(probeIsUnderWay());
}

TEST_F(PreflightTest, SecondRequestWhileProbingDoesNothing) {
    launchSilently();
    delegate->requestLocalNetworkAccessAndStart();
    EXPECT_EQ(network.connections.size(), 1U);
    EXPECT_FALSE(probe().isCancelled);
    EXPECT_EQ(networkLog().size(), 1);
}

TEST_F(PreflightTest, ReadyProbeAndFallbackStartOnlyOnePlayer) {
    launchSilently();
    queue.advance(1.2);
    probe().report(Connection::ready);
    queue.advance(1);
    EXPECT_EQ(playerGeneration(), 1);
    delegate->finishLocalNetworkProbe(network.connections.back(), true, 0);
    EXPECT_EQ(mpv.callsTo("mpv_command").size(), 1U);
}

TEST_F(PreflightTest, RequestsAreRefusedWhenNothingMayStart) {
    whilePlaybackIsImpossible([&](const char *why) {
        const std::size_t before = network.connections.size();
        delegate->requestLocalNetworkAccessAndStart();
        EXPECT_EQ(network.connections.size(), before) << why;
    });
    launchAndPlay(threeCameras());
    queue.runPending();
    const std::size_t before = network.connections.size();
    delegate->requestLocalNetworkAccessAndStart();
    EXPECT_EQ(network.connections.size(), before + 1);
}

TEST_F(PreflightTest, NothingStartsBeforeTheWindowWasDrawn) {
    launch(threeCameras());
    delegate->requestLocalNetworkAccessAndStart();
    delegate->selectCamera(1);
    EXPECT_TRUE(network.connections.empty());
    startPlaying();
    EXPECT_EQ(network.connections.size(), 1U);
    EXPECT_EQ(networkLog().last().text, u"The local-network preflight reached ready state."_s);
}

TEST_F(PreflightTest, ClosingCancelsTheProbe) {
    launchSilently();
    window().performClose();
    EXPECT_TRUE(probe().isCancelled);
    EXPECT_TRUE(queue.delays().empty()) << "the fallback is cancelled";
    queue.advance(10);
    EXPECT_EQ(playerGeneration(), 0);
}

TEST_F(PreflightTest, ReadyProbeOfADestroyedControllerDoesNothing) {
    launchSilently();
    const auto connection = network.connections.back();
    connection->report(Connection::ready);
    delegate.reset();
    queue.advance(10);
    EXPECT_TRUE(mpv.calls().empty());
}

} // namespace
} // namespace lumvik::test
