// What else ends the choice of an area, or a focused view.

#include "AreaFixture.h"

namespace lumvik::test {
namespace {

using testing::Contains;
using testing::IsEmpty;

class AreaEndsTest : public AreaFixture {
  protected:
    /// The settings of the last three calls that set one.
    std::vector<std::string> lastSettings() {
        const std::vector<std::string> all = newSettings();
        return all.size() < 3 ? all : std::vector<std::string>(all.end() - 3, all.end());
    }
};

TEST_F(AreaEndsTest, AnotherCameraBringsTheWholePictureBack) {
    choose(area);
    newSettings();
    delegate->selectCamera(1);
    EXPECT_TRUE(isOriginal());
    EXPECT_EQ(newSettings(), originalSettings);
    EXPECT_EQ(access().window()->frame(), originalFrame);
    EXPECT_TRUE(eventually([&] { return access().window()->minimumSize() == QSize(480, 270); }));
}

TEST_F(AreaEndsTest, TheSameCameraLoadedAgainBringsTheWholePictureBack) {
    choose(area);
    delegate->loadCamera(0);
    EXPECT_TRUE(isOriginal());
    EXPECT_EQ(lastSettings(), originalSettings);
}

TEST_F(AreaEndsTest, RecoveryBringsTheWholePictureBack) {
    choose(area);
    settle();
    newSettings();
    delegate->schedulePlaybackRecovery(
        {.reason = u"test"_s, .urgency = RecoveryUrgency::immediate});
    EXPECT_TRUE(isFocused()) << "not before the stream is loaded again";
    queue.advance(60);
    EXPECT_TRUE(runUntil([&] { return isOriginal(); }));
    EXPECT_THAT(newSettings(), testing::IsSupersetOf(originalSettings));
    EXPECT_EQ(access().window()->frame(), originalFrame);
}

TEST_F(AreaEndsTest, ANewPlayerShowsTheWholePicture) {
    choose(area);
    delegate->stopPlayerEngine();
    newSettings();
    delegate->startPlayer();
    EXPECT_TRUE(isOriginal());
    EXPECT_THAT(newSettings(), testing::Not(Contains(testing::StartsWith("video-crop=6"))));
    EXPECT_EQ(access().window()->contentAspectRatio(), (ContentAspectRatio{1920, 1080}));
}

TEST_F(AreaEndsTest, ALoadEndsTheChoice) {
    delegate->toggleFocusArea();
    delegate->selectCamera(1);
    EXPECT_TRUE(isOriginal());
    EXPECT_FALSE(access().interactionView()->isSelectingFocusArea());
    EXPECT_FALSE(access().viewerControlsAreVisible());
}

TEST_F(AreaEndsTest, ALoadInThePauseKeepsTheAreaBack) {
    delegate->toggleFocusArea();
    drag({100, 250}, {300, 150});
    delegate->selectCamera(1);
    newSettings();
    queue.advance(0.4);
    EXPECT_TRUE(isOriginal());
    EXPECT_THAT(newSettings(), IsEmpty());
    EXPECT_TRUE(alerts.shown().isEmpty());
}

TEST_F(AreaEndsTest, AnotherApplicationCancelsTheChoice) {
    delegate->toggleFocusArea();
    delegate->applicationDidResignActive();
    EXPECT_TRUE(isOriginal());
    EXPECT_FALSE(access().interactionView()->isSelectingFocusArea());
    EXPECT_FALSE(access().viewerControlsAreVisible());
}

TEST_F(AreaEndsTest, AnotherApplicationCancelsTheChoiceInThePause) {
    delegate->toggleFocusArea();
    drag({100, 250}, {300, 150});
    delegate->applicationDidResignActive();
    queue.advance(1);
    EXPECT_TRUE(isOriginal());
    EXPECT_THAT(newSettings(), IsEmpty());
}

TEST_F(AreaEndsTest, AnotherApplicationLeavesTheFocusedView) {
    choose(area);
    delegate->applicationDidResignActive();
    EXPECT_TRUE(isFocused());
}

TEST_F(AreaEndsTest, ClosingCancelsTheChoice) {
    delegate->toggleFocusArea();
    delegate->closeCameraViewer();
    EXPECT_FALSE(access().interactionView()->isSelectingFocusArea());
}

TEST_F(AreaEndsTest, ClosingInThePauseKeepsTheAreaBack) {
    delegate->toggleFocusArea();
    drag({100, 250}, {300, 150});
    delegate->closeCameraViewer();
    EXPECT_FALSE(access().interactionView()->isFinalizingFocusSelection());
    newSettings();
    queue.advance(1);
    EXPECT_EQ(access().focusCrop(), std::nullopt);
    EXPECT_THAT(newSettings(), IsEmpty());
    EXPECT_TRUE(alerts.shown().isEmpty());
}

TEST_F(AreaEndsTest, AClosingViewerTakesNothingMore) {
    choose(area);
    delegate->closeCameraViewer();
    newSettings();
    delegate->toggleFocusArea();
    delegate->secondaryClick();
    delegate->focusSelectionCompleted(area);
    EXPECT_EQ(access().focusCrop(), crop);
    EXPECT_FALSE(access().isShowingFullCameraTemporarily());
    EXPECT_THAT(newSettings(), IsEmpty());
}

TEST_F(AreaEndsTest, AWindowThatIsResizedInThePauseEndsTheChoice) {
    delegate->toggleFocusArea();
    drag({100, 250}, {300, 150});
    resizeWindow({560, 315});
    queue.advance(1);
    EXPECT_TRUE(isOriginal());
    EXPECT_THAT(newSettings(), IsEmpty());
}

// ---- A window that fills the screen ----

TEST_F(AreaEndsTest, FullScreenStaysAndIsNoFrameToComeBackTo) {
    access().window()->showFullScreen();
    ASSERT_FALSE(access().window()->hasOrdinaryFrame());
    ASSERT_TRUE(eventually(
        [&] { return access().interactionView()->size() == QSizeF(access().window()->size()); }));
    const QRect screen = access().window()->geometry();
    choose({100, 250, 200, 100});
    EXPECT_TRUE(isFocused());
    EXPECT_EQ(access().restoreFrameBeforeFocus(), std::nullopt);
    EXPECT_EQ(access().window()->geometry(), screen);
    delegate->toggleFocusArea();
    EXPECT_TRUE(isOriginal());
    EXPECT_EQ(access().window()->geometry(), screen);
}

TEST_F(AreaEndsTest, FocusedFrameComesBackAfterFullScreen) {
    choose(area);
    settle();
    access().window()->showFullScreen();
    ASSERT_FALSE(access().window()->hasOrdinaryFrame());
    delegate->toggleFocusArea();
    EXPECT_EQ(access().window()->frame(), originalFrame) << "where it leads";
    access().window()->showNormal();
    EXPECT_TRUE(eventually([&] { return access().window()->geometry() == originalFrame; }));
}

} // namespace
} // namespace lumvik::test
