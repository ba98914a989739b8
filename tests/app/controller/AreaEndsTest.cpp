// Events that cancel the selection of an area or restore the whole picture.

#include "AreaFixture.h"

namespace lumvik::test {
namespace {

using testing::Contains;
using testing::IsEmpty;

class AreaEndsTest : public AreaFixture {
  protected:
    /// The last three properties set since the previous call of `newSettings`.
    std::vector<std::string> lastSettings() {
        const std::vector<std::string> all = newSettings();
        return all.size() < 3 ? all : std::vector<std::string>(all.end() - 3, all.end());
    }
};

TEST_F(AreaEndsTest, AnotherCameraRestoresTheWholePicture) {
    choose(area);
    newSettings();
    delegate->selectCamera(1);
    EXPECT_TRUE(isOriginal());
    EXPECT_EQ(newSettings(), originalSettings);
    EXPECT_EQ(window().frame(), originalFrame);
    EXPECT_TRUE(eventually([&] { return window().minimumSize() == QSize(480, 270); }));
}

TEST_F(AreaEndsTest, ChoosingTheSameCameraAgainRestoresTheWholePicture) {
    choose(area);
    delegate->selectCamera(0);
    EXPECT_TRUE(isOriginal());
    EXPECT_EQ(lastSettings(), originalSettings);
}

TEST_F(AreaEndsTest, NewConnectionKeepsTheAreaUntilThePictureHasAnotherSize) {
    choose(area);
    settle();
    const QRect frame = window().frame();
    delegate->loadCamera(0);
    delegate->handlePlaybackEngineEvent(PlaybackEngineEvents::StartFile{}, 1);
    reportVideo(1920, 1080);
    EXPECT_TRUE(isFocused());
    EXPECT_EQ(window().frame(), frame);
    EXPECT_THAT(newSettings(), testing::Not(Contains("video-crop=")));
    delegate->loadCamera(0);
    delegate->handlePlaybackEngineEvent(PlaybackEngineEvents::StartFile{}, 1);
    reportVideo(1280, 720);
    EXPECT_TRUE(isOriginal());
    EXPECT_EQ(lastSettings(), originalSettings);
}

TEST_F(AreaEndsTest, RecoveryKeepsTheArea) {
    choose(area);
    settle();
    newSettings();
    delegate->schedulePlaybackRecovery(
        {.reason = u"test"_s, .urgency = RecoveryUrgency::immediate});
    const auto loads = mpv.callsTo("mpv_command").size();
    queue.advance(60);
    EXPECT_TRUE(runUntil([&] { return mpv.callsTo("mpv_command").size() > loads; }));
    EXPECT_TRUE(isFocused());
    EXPECT_THAT(newSettings(), testing::Not(Contains("video-crop=")));
}

TEST_F(AreaEndsTest, NewPlayerShowsTheArea) {
    choose(area);
    delegate->stopPlayerEngine();
    newSettings();
    delegate->startPlayer();
    EXPECT_TRUE(isFocused());
    EXPECT_THAT(newSettings(), testing::IsSupersetOf(focusedSettings));
}

TEST_F(AreaEndsTest, NewPlayerOfAnotherCameraShowsTheWholePicture) {
    choose(area);
    delegate->stopPlayerEngine();
    newSettings();
    delegate->selectCamera(1);
    EXPECT_TRUE(runUntil([&] { return isOriginal(); }));
    EXPECT_THAT(newSettings(), testing::Not(Contains(testing::StartsWith("video-crop=6"))));
}

TEST_F(AreaEndsTest, LoadingACameraCancelsTheSelection) {
    delegate->toggleFocusArea();
    delegate->selectCamera(1);
    EXPECT_TRUE(isOriginal());
    EXPECT_FALSE(interactionView()->isSelectingFocusArea());
    EXPECT_FALSE(controlsAreWanted());
}

TEST_F(AreaEndsTest, LoadingBeforeTheAreaIsShownDiscardsTheArea) {
    delegate->toggleFocusArea();
    drag({100, 250}, {300, 150});
    delegate->selectCamera(1);
    newSettings();
    queue.advance(0.4);
    EXPECT_TRUE(isOriginal());
    EXPECT_THAT(newSettings(), IsEmpty());
    EXPECT_TRUE(alerts.shown().isEmpty());
}

TEST_F(AreaEndsTest, ActivatingAnotherApplicationCancelsTheSelection) {
    delegate->toggleFocusArea();
    delegate->applicationDidResignActive();
    EXPECT_TRUE(isOriginal());
    EXPECT_FALSE(interactionView()->isSelectingFocusArea());
    EXPECT_FALSE(controlsAreWanted());
}

TEST_F(AreaEndsTest, ActivatingAnotherApplicationBeforeTheAreaIsShownDiscardsTheArea) {
    delegate->toggleFocusArea();
    drag({100, 250}, {300, 150});
    delegate->applicationDidResignActive();
    queue.advance(1);
    EXPECT_TRUE(isOriginal());
    EXPECT_THAT(newSettings(), IsEmpty());
}

TEST_F(AreaEndsTest, ActivatingAnotherApplicationKeepsTheShownArea) {
    choose(area);
    delegate->applicationDidResignActive();
    EXPECT_TRUE(isFocused());
}

TEST_F(AreaEndsTest, ClosingCancelsTheSelection) {
    delegate->toggleFocusArea();
    delegate->closeCameraViewer();
    EXPECT_FALSE(interactionView()->isSelectingFocusArea());
}

TEST_F(AreaEndsTest, ClosingBeforeTheAreaIsShownDiscardsTheArea) {
    delegate->toggleFocusArea();
    drag({100, 250}, {300, 150});
    delegate->closeCameraViewer();
    EXPECT_FALSE(interactionView()->isFinalizingFocusSelection());
    newSettings();
    queue.advance(1);
    EXPECT_FALSE(isFocused());
    EXPECT_THAT(newSettings(), IsEmpty());
    EXPECT_TRUE(alerts.shown().isEmpty());
}

TEST_F(AreaEndsTest, ClosingViewerIgnoresFurtherInput) {
    choose(area);
    delegate->closeCameraViewer();
    newSettings();
    delegate->toggleFocusArea();
    delegate->secondaryClick();
    delegate->focusSelectionCompleted(area);
    EXPECT_TRUE(isFocused());
    EXPECT_THAT(newSettings(), IsEmpty());
}

TEST_F(AreaEndsTest, ResizingBeforeTheAreaIsShownDiscardsTheArea) {
    delegate->toggleFocusArea();
    drag({100, 250}, {300, 150});
    resizeWindow({560, 315});
    queue.advance(1);
    EXPECT_TRUE(isOriginal());
    EXPECT_THAT(newSettings(), IsEmpty());
}

// ---- Full screen ----

TEST_F(AreaEndsTest, FullScreenIsKeptAndNotRemembered) {
    window().showFullScreen();
    ASSERT_FALSE(window().hasOrdinaryFrame());
    ASSERT_TRUE(eventually([&] { return interactionView()->size() == QSizeF(window().size()); }));
    const QRect screen = window().geometry();
    choose({100, 250, 200, 100});
    EXPECT_TRUE(isFocused());
    EXPECT_EQ(window().geometry(), screen);
    delegate->toggleFocusArea();
    EXPECT_TRUE(isOriginal());
    EXPECT_EQ(window().geometry(), screen);
}

TEST_F(AreaEndsTest, OriginalFrameIsRestoredAfterFullScreen) {
    choose(area);
    settle();
    window().showFullScreen();
    ASSERT_FALSE(window().hasOrdinaryFrame());
    delegate->toggleFocusArea();
    EXPECT_EQ(window().frame(), originalFrame)
        << "the frame that the window takes after full screen";
    window().showNormal();
    EXPECT_TRUE(eventually([&] { return window().geometry() == originalFrame; }));
}

} // namespace
} // namespace lumvik::test
