#include "app/controller/ControllerFixture.h"
#include "platform/network/PathSignatures.h"

#include <QApplication>

#include <algorithm>

namespace lumvik::test {
namespace {

using namespace PlaybackEngineEvents;
using State = PlaybackSupervisorState;

constexpr NetworkPathSignature noPath{};

class NetworkPathTest : public ControllerFixture {
  protected:
    void report(const NetworkPathSignature &signature) {
        networkPath.report(signature);
        queue.runPending();
    }
    void play() {
        launchAndPlay(threeCameras());
        queue.runPending();
        delegate->handlePlaybackEngineEvent(StartFile{}, playerGeneration());
        delegate->recordRenderedFrame(playerGeneration());
    }
};

TEST_F(NetworkPathTest, IsMonitoredBeforeTheListIsLoadedAndTheWindowCreated) {
    networkPath.whenStarted = [&] {
        const QWidgetList widgets = QApplication::topLevelWidgets();
        EXPECT_TRUE(std::ranges::any_of(widgets, [](const QWidget *widget) {
            const auto *menu = qobject_cast<const QMenu *>(widget);
            return menu != nullptr && menu->title() == u"Lumvik"_s;
        })) << "the main menu exists";
        EXPECT_TRUE(sleepMonitor.isWatching());
        EXPECT_FALSE(log.texts(u"configuration"_s).contains(u"Loaded 3 cameras."_s));
        EXPECT_EQ(findWindow(), nullptr);
    };
    launch(threeCameras());
    EXPECT_TRUE(log.texts(u"configuration"_s).contains(u"Loaded 3 cameras."_s));
    EXPECT_TRUE(networkPath.isStarted);
    EXPECT_TRUE(sleepMonitor.isWatching());
    startPlaying();
    EXPECT_EQ(playerGeneration(), 1) << "a launch does not wait for the first path update";
}

TEST_F(NetworkPathTest, FirstUsablePathIsOnlyLogged) {
    play();
    report(wiFi);
    EXPECT_EQ(log.lines(u"network"_s).last(),
              (LoggedLine{LogLevel::info, u"network"_s,
                          u"Network path update: satisfied=true, wifi=true, ethernet=false."_s}));
    EXPECT_EQ(access().playbackState(), State::playing);
    EXPECT_EQ(access().playbackRetryCount(), 0);
}

TEST_F(NetworkPathTest, FirstUpdateWithoutAPathSuspendsPlaybackAndCancelsThePreflight) {
    network.answer = std::nullopt;
    launch(threeCameras());
    ASSERT_TRUE(eventually([&] {
        queue.runPending();
        return !network.connections.empty();
    }));
    report(noPath);
    EXPECT_EQ(access().playbackState(), State::suspended);
    EXPECT_FALSE(probeIsUnderWay());
    EXPECT_TRUE(network.connections.front()->isCancelled);
    queue.advance(60);
    EXPECT_TRUE(mpv.calls().empty()) << "nothing is started without a path";
    network.answer = NetworkConnection::State::ready;
    report(ethernet);
    queue.advance(0.5);
    EXPECT_EQ(playerGeneration(), 1);
}

TEST_F(NetworkPathTest, AnotherInterfaceCausesOneNewConnection) {
    play();
    report(wiFi);
    report(ethernet);
    EXPECT_EQ(playbackLog().last(), u"Scheduling recovery 1 in 0.500000 seconds; recreate=true; "
                                    "reason=network path became usable or changed."_s);
    report({.isSatisfied = true, .usesEthernet = true, .usesOther = true});
    EXPECT_EQ(access().playbackRetryCount(), 1);
    queue.advance(0.5);
    EXPECT_EQ(playerGeneration(), 2);
    EXPECT_EQ(mpv.liveCores(), 1);
    delegate->handlePlaybackEngineEvent(StartFile{}, 2);
    delegate->recordRenderedFrame(2);
    queue.advance(5);
    EXPECT_EQ(playerGeneration(), 2);
}

TEST_F(NetworkPathTest, RepeatedUsablePathIsOnlyLogged) {
    play();
    report(wiFi);
    report(wiFi);
    EXPECT_EQ(log.texts(u"network"_s)
                  .count(u"Network path update: satisfied=true, wifi=true, ethernet=false."_s),
              2);
    EXPECT_EQ(access().playbackState(), State::playing);
    EXPECT_EQ(access().playbackRetryCount(), 0);
}

TEST_F(NetworkPathTest, PathLossCancelsTheAttemptAndItsReturnContinuesCounting) {
    play();
    report(wiFi);
    failRecoveryAttempts(5);
    const std::int64_t generation = playerGeneration();
    delegate->schedulePlaybackRecovery({.reason = u"a test"_s});
    ASSERT_NE(access().playbackRetry(), nullptr);
    report(noPath);
    EXPECT_EQ(access().playbackRetry(), nullptr);
    EXPECT_EQ(access().playbackState(), State::suspended);
    EXPECT_EQ(mpv.liveCores(), 1) << "the player is kept unchanged";
    queue.advance(60);
    EXPECT_EQ(playerGeneration(), generation);
    report(wiFi);
    EXPECT_EQ(playbackLog().last(), u"Scheduling recovery 7 in 0.500000 seconds; recreate=true; "
                                    "reason=network path became usable or changed."_s);
}

TEST_F(NetworkPathTest, RepeatedLossIsHarmless) {
    play();
    report(noPath);
    report(noPath);
    EXPECT_EQ(access().playbackState(), State::suspended);
    report(wiFi);
    EXPECT_EQ(access().playbackRetryCount(), 1);
}

TEST_F(NetworkPathTest, FrozenPictureIsHiddenWhileThereIsNoPath) {
    play();
    mpv.announceFrame();
    report(noPath);
    queue.advance(9);
    EXPECT_TRUE(videoHost()->showsPicture());
    queue.advance(3);
    EXPECT_FALSE(videoHost()->showsPicture()) << "a frozen picture would look live";
    EXPECT_EQ(access().playbackRetryCount(), 0);
}

TEST_F(NetworkPathTest, UpdatesAreIgnoredWhileTheViewerCloses) {
    play();
    delegate->closeCameraViewer();
    report(noPath);
    EXPECT_TRUE(log.texts(u"network"_s).filter(u"Network path update"_s).isEmpty());
}

TEST_F(NetworkPathTest, TerminationStopsTheMonitor) {
    play();
    delegate->applicationWillTerminate();
    EXPECT_TRUE(networkPath.isCancelled);
}

TEST_F(NetworkPathTest, PendingUpdateForADestroyedControllerDoesNothing) {
    play();
    networkPath.report(noPath);
    delegate.reset();
    queue.runPending();
    EXPECT_TRUE(log.texts(u"network"_s).filter(u"Network path update"_s).isEmpty());
}

} // namespace
} // namespace lumvik::test
