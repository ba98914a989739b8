#include "AreaFixture.h"
#include "viewer/AreaGeometry.h"

#include <QKeyEvent>

namespace lumvik::test {
namespace {

using testing::Contains;
using testing::IsEmpty;

const QString waitText = u"Wait for the camera picture, then choose the focus area again."_s;

class AreaTest : public AreaFixture {};

// ---- Selecting an area ----

TEST_F(AreaTest, ButtonBeginsTheSelection) {
    focusViewerButton()->setEnabled(true);
    focusViewerButton()->performClick();
    EXPECT_TRUE(interactionView()->isSelectingFocusArea());
    EXPECT_TRUE(interactionView()->isSelectingFocusArea());
    EXPECT_TRUE(focusViewerButton()->isSelectingArea());
    EXPECT_FALSE(focusViewerButton()->showsRestoreIcon());
    EXPECT_EQ(buttonText(), u"Cancel Area Selection"_s);
    EXPECT_TRUE(controlsAreWanted()) << "the controls are shown wherever the pointer is";
    EXPECT_THAT(newSettings(), IsEmpty());
}

TEST_F(AreaTest, ButtonCancelsTheSelection) {
    delegate->toggleFocusArea();
    delegate->toggleFocusArea();
    EXPECT_FALSE(interactionView()->isSelectingFocusArea());
    EXPECT_FALSE(focusViewerButton()->isSelectingArea());
    EXPECT_FALSE(controlsAreWanted());
    EXPECT_TRUE(isOriginal());
    EXPECT_THAT(newSettings(), IsEmpty());
}

TEST_F(AreaTest, EscapeRightClickAndClickCancelTheSelection) {
    const std::vector<std::function<void()>> ways{
        [&] {
            QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
            QCoreApplication::sendEvent(interactionView(), &escape);
        },
        [&] { rightClick(); },
        [&] {
            drag({300, 200}, {301, 200});
        }};
    for (const auto &cancel : ways) {
        delegate->toggleFocusArea();
        cancel();
        EXPECT_TRUE(isOriginal());
        movePointerOut();
        EXPECT_FALSE(controlsAreWanted());
    }
    EXPECT_EQ(window().frame(), originalFrame);
    EXPECT_THAT(newSettings(), IsEmpty());
    queue.runPending();
    EXPECT_TRUE(alerts.shown().isEmpty());
}

TEST_F(AreaTest, ButtonBeforeTheAreaIsShownCancelsTheSelection) {
    delegate->toggleFocusArea();
    drag({100, 250}, {300, 150});
    delegate->toggleFocusArea();
    queue.advance(1);
    EXPECT_TRUE(isOriginal());
    EXPECT_THAT(newSettings(), IsEmpty());
}

TEST_F(AreaTest, LateCancellationChangesNothing) {
    choose(area);
    static_cast<void>(newSettings());
    delegate->focusSelectionCancelled();
    EXPECT_TRUE(isFocused());
    EXPECT_TRUE(focusViewerButton()->showsRestoreIcon());
    EXPECT_THAT(newSettings(), IsEmpty());
}

// ---- Showing an area ----

TEST_F(AreaTest, OnlyTheSelectedAreaIsShown) {
    choose(area);
    EXPECT_EQ(newSettings(), focusedSettings);
    EXPECT_TRUE(isFocused());
    EXPECT_TRUE(focusViewerButton()->showsRestoreIcon());
    EXPECT_FALSE(focusViewerButton()->isSelectingArea());
    movePointerOut();
    EXPECT_FALSE(controlsAreWanted()) << "the selection no longer keeps the controls shown";
}

TEST_F(AreaTest, WindowKeepsItsPlaceOnADisconnectedScreen) {
    const WindowPlace place{{500, 300, 640, 360}, {0, 0, 1600, 1000}};
    window().restorePlace(place);
    settle();
    const QRect temporaryPosition(160, 300, 640, 360); // the screen has 800 by 800 points
    ASSERT_EQ(window().frame(), temporaryPosition);
    choose(area);
    settle();
    ASSERT_NE(window().frame(), temporaryPosition);
    delegate->toggleFocusArea();
    settle();
    EXPECT_EQ(window().frame(), temporaryPosition);
    EXPECT_EQ(window().place(), place);
}

TEST_F(AreaTest, WindowTakesTheShapeOfTheArea) {
    choose(area);
    EXPECT_TRUE(window().contentAspectRatio().isEmpty());
    EXPECT_EQ(window().minimumSize(), QSize(160, 160));
    EXPECT_EQ(window().frame(), QRect(0, 17, 720, 360))
        << "the centre is kept as far as the screen allows";
    settle();
}

TEST_F(AreaTest, SelectingTheWholeViewShowsTheWholePicture) {
    delegate->toggleFocusArea();
    drag({0, 359.9}, {700, -50});
    queue.advance(0.3);
    EXPECT_THAT(newSettings(), Contains("video-crop=1920x1080+0+0"));
    EXPECT_EQ(window().frame(), originalFrame);
}

TEST_F(AreaTest, AreaDraggedPastTheViewIsLimitedToThePicture) {
    delegate->toggleFocusArea();
    drag({400, 200}, {2000, 2000});
    queue.advance(0.3);
    EXPECT_THAT(newSettings(), Contains("video-crop=720x480+1200+600"));
}

TEST_F(AreaTest, WindowOfANarrowOrFlatAreaIsAtLeast160PointsWideAndHigh) {
    choose({100, 60, 12, 280});
    EXPECT_EQ(window().frame().size(), QSize(160, 360));
    delegate->toggleFocusArea();
    settle();
    choose({20, 200, 600, 12});
    EXPECT_EQ(window().frame().size(), QSize(800, 160));
}

TEST_F(AreaTest, WindowFrameOfTheAreaIsRemembered) {
    choose(area);
    settle();
    EXPECT_TRUE(eventually([&] {
        return home.userDefaults().string(u"mainWindowFrame"_s).startsWith(u"0 17 720 360 "_s);
    }));
}

TEST_F(AreaTest, RotatedPictureIsCroppedBeforeItIsRotated) {
    reportVideo(1080, 1920, 90); // the shown picture has the same shape as before
    choose(area);
    EXPECT_THAT(newSettings(), Contains("video-crop=300x600+450+1020"));
    EXPECT_EQ(window().frame().size(), QSize(720, 360))
        << "the window has the shape of the rotated area";
    reportVideo(1080, 1920, 90);
    EXPECT_TRUE(isFocused()) << "the area belongs to a picture of this size";
    reportVideo(1920, 1080, 90);
    EXPECT_TRUE(isOriginal());
}

TEST_F(AreaTest, SizeOfThePictureIsQueriedAgain) {
    mpv.setProperty("video-params/w", 960); // not reported yet
    mpv.setProperty("video-params/h", 540);
    choose(area);
    EXPECT_THAT(newSettings(), Contains("video-crop=300x150+150+225"));
    reportVideo(960, 540);
    EXPECT_TRUE(isFocused()) << "the area belongs to a picture of this size";
}

// ---- Restoring the whole picture ----

TEST_F(AreaTest, ButtonRestoresTheWholePicture) {
    choose(area);
    settle();
    newSettings();
    delegate->toggleFocusArea();
    EXPECT_EQ(newSettings(), originalSettings);
    EXPECT_TRUE(isOriginal());
    EXPECT_TRUE(eventually([&] { return window().minimumSize() == QSize(480, 270); }));
    EXPECT_EQ(window().contentAspectRatio(), (ContentAspectRatio{1920, 1080}));
    EXPECT_EQ(window().frame(), originalFrame);
    settle();
    EXPECT_EQ(window().geometry(), originalFrame);
}

TEST_F(AreaTest, ButtonRestoresTheFrameWhileTheWindowIsStillMoving) {
    choose(area);
    delegate->toggleFocusArea();
    EXPECT_EQ(window().frame(), originalFrame);
    settle();
    EXPECT_EQ(window().geometry(), originalFrame);
}

TEST_F(AreaTest, RotatedPictureRestoresTheRotatedWindowShape) {
    reportVideo(1080, 1920, 270);
    choose(area);
    delegate->toggleFocusArea();
    EXPECT_EQ(window().contentAspectRatio(), (ContentAspectRatio{1920, 1080}));
}

TEST_F(AreaTest, AnotherAreaCanBeSelectedAfterwards) {
    choose(area);
    settle();
    delegate->toggleFocusArea();
    settle();
    newSettings();
    choose({200, 150, 200, 100});
    EXPECT_THAT(newSettings(), Contains("video-crop=600x300+600+450"));
    delegate->toggleFocusArea();
    EXPECT_EQ(window().frame(), originalFrame);
}

TEST_F(AreaTest, VideoShapeDoesNotReshapeTheWindowOfAnArea) {
    choose(area);
    newSettings();
    mpv.sendPropertyChange("video-params");
    queue.runPending();
    EXPECT_TRUE(isFocused());
    EXPECT_TRUE(window().contentAspectRatio().isEmpty());
    EXPECT_THAT(newSettings(), IsEmpty());
}

TEST_F(AreaTest, PictureOfAnotherSizeRestoresTheWholePicture) {
    choose(area);
    newSettings();
    reportVideo(1600, 1200);
    EXPECT_TRUE(isOriginal());
    EXPECT_EQ(newSettings(), originalSettings);
    EXPECT_EQ(window().contentAspectRatio(), (ContentAspectRatio{1600, 1200}));
}

// ---- The right button ----

TEST_F(AreaTest, RightClickSwitchesBetweenTheAreaAndTheWholePicture) {
    choose(area);
    settle();
    newSettings();
    const QRect frame = window().frame();
    rightClick();
    EXPECT_EQ(newSettings(), wholePictureSettings);
    rightClick();
    EXPECT_EQ(newSettings(), focusedSettings);
    EXPECT_TRUE(isFocused());
    EXPECT_EQ(window().frame(), frame);
}

TEST_F(AreaTest, RightClickDoesNotReshapeTheWindowAgain) {
    choose(area);
    settle();
    resizeWindow({300, 500});
    const QSize size = window().size();
    newSettings();
    rightClick({150, 300});
    ASSERT_EQ(newSettings(), wholePictureSettings);
    rightClick({150, 300});
    ASSERT_EQ(newSettings(), focusedSettings);
    EXPECT_EQ(window().frame().size(), size);
}

TEST_F(AreaTest, NoAreaCanBeSelectedAfterTheStreamHasEnded) {
    const QRect frame = window().frame();
    delegate->handlePlaybackEngineEvent(PlaybackEngineEvents::EndFile{0, 0}, 1);
    choose(area);
    queue.runPending();
    EXPECT_EQ(alerts.texts(),
              QStringList(u"Wait for the camera picture, then choose the focus area again."_s));
    EXPECT_TRUE(isOriginal());
    EXPECT_EQ(window().frame(), frame);
}

TEST_F(AreaTest, ButtonRestoresTheWindowWhileTheWholePictureIsShown) {
    choose(area);
    settle();
    rightClick();
    newSettings();
    delegate->toggleFocusArea();
    EXPECT_EQ(newSettings(), originalSettings);
    EXPECT_TRUE(isOriginal());
    EXPECT_EQ(window().frame(), originalFrame);
}

TEST_F(AreaTest, RightClickWithoutAnAreaLeavesThePictureAlone) {
    rightClick();
    rightClick();
    EXPECT_THAT(newSettings(), IsEmpty());
}

TEST_F(AreaTest, RightClickBeforeTheAreaIsShownDoesNothing) {
    delegate->toggleFocusArea();
    drag({100, 250}, {300, 150});
    rightClick();
    EXPECT_EQ(window().frame(), originalFrame);
    queue.advance(0.3);
    EXPECT_EQ(newSettings(), focusedSettings);
}

// ---- Without a picture ----

TEST_F(AreaTest, SelectionWithoutAPlayerEndsWithoutAnAlert) {
    delegate->stopPlayerEngine();
    newSettings();
    choose(area);
    queue.runPending();
    EXPECT_TRUE(isOriginal());
    movePointerOut();
    EXPECT_FALSE(controlsAreWanted());
    EXPECT_TRUE(alerts.shown().isEmpty());
    EXPECT_THAT(newSettings(), IsEmpty());
}

TEST_F(AreaTest, AreaSmallerThanTwoPixelsShowsAnAlert) {
    reportVideo(4, 4);
    queue.advance(1);
    ASSERT_TRUE(
        eventually([&] { return interactionView()->width() == interactionView()->height(); }));
    newSettings();
    const qreal pixel = interactionView()->width() / 4;
    choose({pixel * 2 + 10, pixel * 2 + 10, 20, 20});
    queue.runPending();
    EXPECT_TRUE(isOriginal());
    EXPECT_EQ(alerts.texts(), QStringList(waitText));
    EXPECT_THAT(newSettings(), IsEmpty());
}

TEST_F(AreaTest, ShapeOfThePreviousStreamIsNotUsed) {
    delegate->loadCamera(1); // the engine still reports the previous picture
    newSettings();
    delegate->toggleFocusArea();
    delegate->focusSelectionCompleted(area);
    EXPECT_TRUE(isOriginal());
    EXPECT_TRUE(alerts.shown().isEmpty()) << "the alert is shown in a later turn";
    queue.runPending();
    EXPECT_EQ(alerts.texts(), QStringList(waitText));
    EXPECT_THAT(newSettings(), IsEmpty());
    EXPECT_EQ(window().frame(), originalFrame);
}

TEST_F(AreaTest, SelectionBeforeTheFirstPictureShowsAnAlert) {
    mpv.removeProperty("video-params/w");
    mpv.removeProperty("video-params/h");
    delegate->loadCamera(0);
    delegate->handlePlaybackEngineEvent(PlaybackEngineEvents::StartFile{}, 1);
    choose(area);
    queue.runPending();
    EXPECT_TRUE(isOriginal());
    EXPECT_EQ(alerts.texts(), QStringList(waitText));
}

} // namespace
} // namespace lumvik::test
