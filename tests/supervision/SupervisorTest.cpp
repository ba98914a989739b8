#include "app/controller/ControllerFixture.h"

namespace lumvik::test {
namespace {

using namespace PlaybackEngineEvents;

class SupervisorTest : public ControllerFixture {
  protected:
    void SetUp() override { launchAndPlay(threeCameras()); }
};

TEST_F(SupervisorTest, FirstFrameStartsPlayingAndIsLoggedOnce) {
    queue.advance(3);
    delegate->recordRenderedFrame(1);
    EXPECT_EQ(access().playbackState(), PlaybackSupervisorState::playing);
    EXPECT_EQ(access().lastFrameRenderedAt(), queue.now());
    queue.advance(1);
    delegate->recordRenderedFrame(1);
    EXPECT_EQ(access().lastFrameRenderedAt(), queue.now());
    EXPECT_EQ(playbackLog().count(u"Live video frames resumed for player generation 1."_s), 1);
}

TEST_F(SupervisorTest, FramesThatTheViewShowsAreCountedForTheirGeneration) {
    delegate->handlePlaybackEngineEvent(StartFile{}, 1);
    window().hide(); // frames are fetched but not drawn
    ASSERT_TRUE(eventually([&] { return !window().isExposed(); }));
    mpv.announceFrame();
    queue.runPending();
    EXPECT_EQ(access().playbackState(), PlaybackSupervisorState::playing);
    EXPECT_TRUE(playbackLog().contains(u"Live video frames resumed for player generation 1."_s));
}

TEST_F(SupervisorTest, FramesOfAnEarlierPlayerAreIgnored) {
    delegate->stopPlayerEngine();
    delegate->startPlayer();
    delegate->recordRenderedFrame(1);
    EXPECT_EQ(access().playbackState(), PlaybackSupervisorState::starting);
    EXPECT_EQ(access().lastFrameRenderedAt(), std::nullopt);
}

TEST_F(SupervisorTest, EventsOfAnEarlierPlayerAreIgnored) {
    mpv.sendEndFile(4, -13);
    ASSERT_TRUE(queue.waitForWork());
    delegate->stopPlayerEngine();
    delegate->startPlayer();
    queue.runPending();
    EXPECT_TRUE(errors().isEmpty());
    delegate->handlePlaybackEngineEvent(EndFile{4, -13}, 2);
    EXPECT_EQ(errors(), QStringList(u"mpv ended the stream: reason=4, error=-13."_s));
}

TEST_F(SupervisorTest, EventsAreIgnoredWhileTheViewerCloses) {
    delegate->closeCameraViewer();
    delegate->handlePlaybackEngineEvent(EndFile{4, -13}, 1);
    delegate->recordRenderedFrame(1);
    EXPECT_TRUE(errors().isEmpty());
    EXPECT_EQ(access().lastFrameRenderedAt(), std::nullopt);
}

TEST_F(SupervisorTest, LogsTheReportsOfTheEngine) {
    const auto logged = [&](const PlaybackEngineEvent &event) {
        const qsizetype before = log.lines().size();
        delegate->handlePlaybackEngineEvent(event, 1);
        QList<LoggedLine> lines = log.lines().mid(before);
        lines.removeIf([](const LoggedLine &line) { // recovery is tested elsewhere
            return line.text.startsWith(u"Scheduling recovery"_s);
        });
        return lines;
    };
    const auto line = [](LogLevel level, const QString &text) {
        return QList<LoggedLine>{{level, u"playback"_s, text}};
    };
    EXPECT_EQ(logged(StartFile{}),
              line(LogLevel::debug, u"mpv began opening the selected stream."_s));
    EXPECT_EQ(logged(FileLoaded{}),
              line(LogLevel::debug, u"mpv loaded stream headers and began decoding."_s));
    EXPECT_EQ(logged(PlaybackRestart{}),
              line(LogLevel::debug, u"mpv restarted playback; waiting for a rendered frame."_s));
    EXPECT_EQ(logged(EndFile{0, 0}),
              line(LogLevel::error, u"mpv ended the stream: reason=0, error=0."_s));
    EXPECT_EQ(logged(EndFile{}),
              line(LogLevel::error, u"mpv ended the stream: reason=-1, error=0."_s));
    EXPECT_EQ(logged(EndFile{6, 1}),
              line(LogLevel::error, u"mpv ended the stream: reason=6, error=1."_s));
    EXPECT_EQ(logged(Shutdown{}), line(LogLevel::error, u"mpv shut down unexpectedly."_s));
    EXPECT_EQ(logged(QueueOverflow{}), line(LogLevel::error, u"The mpv event queue overflowed."_s));
    for (const std::uint32_t expected : {2U, 3U, 5U})
        EXPECT_TRUE(logged(EndFile{expected, 0}).isEmpty()) << expected;
}

TEST_F(SupervisorTest, ChoosingACameraLoadsItAndIsRemembered) {
    delegate->selectCamera(2);
    EXPECT_EQ(access().selectionGeneration(), 1);
    EXPECT_EQ(cameraPicker()->indexOfSelectedItem(), 2);
    EXPECT_EQ(home.userDefaults().integer(u"selectedCameraIndex"_s), 2);
    EXPECT_EQ(mpv.texts().back(), "mpv_command(core 1, loadfile, rtsp://camera.example/garage, "
                                  "replace)");
    EXPECT_EQ(playbackLog().last(), u"Loading camera index 2 for selection generation 1."_s);
}

TEST_F(SupervisorTest, ChoosingACameraOutsideTheListDoesNothing) {
    delegate->selectCamera(-1);
    delegate->selectCamera(3);
    EXPECT_EQ(access().selectionGeneration(), 0);
    EXPECT_EQ(cameraPicker()->indexOfSelectedItem(), 0);
    EXPECT_EQ(mpv.callsTo("mpv_command").size(), 1U);
}

TEST_F(SupervisorTest, ChoosingACameraStartsAStoppedPlayer) {
    delegate->stopPlayerEngine();
    delegate->selectCamera(1);
    queue.runPending();
    EXPECT_EQ(mpv.texts().back(),
              "mpv_command(core 2, loadfile, rtsp://camera.example/yard, replace)");
}

} // namespace
} // namespace lumvik::test
