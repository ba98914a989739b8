#include "app/controller/ControllerFixture.h"

namespace lumvik::test {
namespace {

using namespace PlaybackEngineEvents;
using State = PlaybackSupervisorState;

constexpr NetworkPathSignature noPath{};
constexpr NetworkPathSignature wifi{.isSatisfied = true, .usesWiFi = true};
constexpr NetworkPathSignature ethernet{.isSatisfied = true, .usesEthernet = true};

class NetworkPathTest : public ControllerFixture {
  protected:
    void tell(const NetworkPathSignature &signature) {
        networkPath.report(signature);
        queue.runPending();
    }
    void play() {
        launchAndPlay(threeCameras());
        queue.runPending();
        delegate->handlePlaybackEngineEvent(StartFile{}, access().playerGeneration());
        delegate->recordRenderedFrame(access().playerGeneration());
    }
};

TEST_F(NetworkPathTest, IsFollowedFromBeforeTheListAndTheWindowOn) {
    networkPath.whenStarted = [&] {
        EXPECT_NE(access().mainMenu(), nullptr);
        EXPECT_TRUE(sleepMonitor.isWatching());
        EXPECT_TRUE(access().cameras().isEmpty());
        EXPECT_EQ(access().window(), nullptr);
    };
    launch(threeCameras());
    EXPECT_TRUE(networkPath.isStarted);
    EXPECT_TRUE(sleepMonitor.isWatching());
    EXPECT_TRUE(access().networkPathIsSatisfied()) << "a launch waits for no update";
}

TEST_F(NetworkPathTest, FirstUsablePathIsOnlyLogged) {
    play();
    tell(wifi);
    EXPECT_EQ(log.lines(u"network"_s).last(),
              (LoggedLine{LogLevel::info, u"network"_s,
                          u"Network path update: satisfied=true, wifi=true, ethernet=false."_s}));
    EXPECT_EQ(access().playbackState(), State::playing);
    EXPECT_EQ(access().playbackRetryCount(), 0);
}

TEST_F(NetworkPathTest, FirstUpdateWithoutAPathParksPlaybackAndEndsThePreflight) {
    network.answer = std::nullopt;
    launch(threeCameras());
    ASSERT_TRUE(eventually([&] {
        queue.runPending();
        return !network.connections.empty();
    }));
    tell(noPath);
    EXPECT_EQ(access().playbackState(), State::suspended);
    EXPECT_EQ(access().localNetworkProbe(), nullptr);
    EXPECT_TRUE(network.connections.front()->isCancelled);
    queue.advance(60);
    EXPECT_TRUE(mpv.calls().empty()) << "nothing is started without a path";
    network.answer = NetworkConnection::State::ready;
    tell(ethernet);
    queue.advance(0.5);
    EXPECT_EQ(access().playerGeneration(), 1);
}

TEST_F(NetworkPathTest, AnotherInterfaceMakesAFreshConnectionOnce) {
    play();
    tell(wifi);
    tell(ethernet);
    EXPECT_EQ(playbackLog().last(), u"Scheduling recovery 1 in 0.500000 seconds; recreate=true; "
                                    "reason=network path became usable or changed."_s);
    tell({.isSatisfied = true, .usesEthernet = true, .usesOther = true});
    EXPECT_EQ(access().playbackRetryCount(), 1);
    queue.advance(0.5);
    EXPECT_EQ(access().playerGeneration(), 2);
    EXPECT_EQ(mpv.liveCores(), 1);
    delegate->handlePlaybackEngineEvent(StartFile{}, 2);
    delegate->recordRenderedFrame(2);
    queue.advance(5);
    EXPECT_EQ(access().playerGeneration(), 2);
}

TEST_F(NetworkPathTest, SameUsablePathAgainIsOnlyLogged) {
    play();
    tell(wifi);
    tell(wifi);
    EXPECT_EQ(log.texts(u"network"_s)
                  .count(u"Network path update: satisfied=true, wifi=true, ethernet=false."_s),
              2);
    EXPECT_EQ(access().playbackState(), State::playing);
    EXPECT_EQ(access().playbackRetryCount(), 0);
}

TEST_F(NetworkPathTest, PathLossCancelsTheAttemptAndItsReturnContinuesTheCount) {
    play();
    tell(wifi);
    access().playbackRetryCount() = 5;
    delegate->schedulePlaybackRecovery({.reason = u"a test"_s});
    ASSERT_NE(access().playbackRetry(), nullptr);
    tell(noPath);
    EXPECT_EQ(access().playbackRetry(), nullptr);
    EXPECT_EQ(access().playbackState(), State::suspended);
    EXPECT_NE(access().mpv(), nullptr) << "the player is left as it is";
    queue.advance(60);
    EXPECT_EQ(access().playerGeneration(), 1);
    tell(wifi);
    EXPECT_EQ(playbackLog().last(), u"Scheduling recovery 7 in 0.500000 seconds; recreate=true; "
                                    "reason=network path became usable or changed."_s);
}

TEST_F(NetworkPathTest, RepeatedLossIsHarmless) {
    play();
    tell(noPath);
    tell(noPath);
    EXPECT_EQ(access().playbackState(), State::suspended);
    tell(wifi);
    EXPECT_EQ(access().playbackRetryCount(), 1);
}

TEST_F(NetworkPathTest, PictureThatStandsWhileTheNetworkIsGoneIsHidden) {
    play();
    mpv.announceFrame();
    tell(noPath);
    queue.advance(9);
    EXPECT_TRUE(access().videoHost()->showsPicture());
    queue.advance(3);
    EXPECT_FALSE(access().videoHost()->showsPicture()) << "it would look live";
    EXPECT_EQ(access().playbackRetryCount(), 0);
}

TEST_F(NetworkPathTest, NothingIsNotedWhileTheViewerCloses) {
    play();
    access().isClosingViewer() = true;
    tell(noPath);
    EXPECT_EQ(access().networkPathSignature(), std::nullopt);
    EXPECT_TRUE(access().networkPathIsSatisfied());
    EXPECT_TRUE(log.texts(u"network"_s).filter(u"Network path update"_s).isEmpty());
}

TEST_F(NetworkPathTest, TerminationEndsIt) {
    play();
    delegate->applicationWillTerminate();
    EXPECT_TRUE(networkPath.isCancelled);
}

TEST_F(NetworkPathTest, UpdateOnItsWayToAControllerThatIsGoneDoesNothing) {
    play();
    networkPath.report(noPath);
    delegate.reset();
    queue.runPending();
    EXPECT_TRUE(log.texts(u"network"_s).filter(u"Network path update"_s).isEmpty());
}

} // namespace
} // namespace lumvik::test
