#include "AreaFixture.h"
#include "viewer/AreaGeometry.h"

#include <QKeyEvent>

namespace lumvik::test {
namespace {

using testing::Contains;
using testing::IsEmpty;

const QString waitText = u"Wait for the camera picture, then choose the focus area again."_s;

class AreaTest : public AreaFixture {};

// ---- Choosing ----

TEST_F(AreaTest, ButtonBeginsTheChoice) {
    access().focusViewerButton()->setEnabled(true);
    access().focusViewerButton()->performClick();
    EXPECT_TRUE(access().isSelectingFocusArea());
    EXPECT_TRUE(access().interactionView()->isSelectingFocusArea());
    EXPECT_TRUE(access().focusViewerButton()->isSelectingArea());
    EXPECT_FALSE(access().focusViewerButton()->showsRestoreIcon());
    EXPECT_EQ(buttonText(), u"Cancel Area Selection"_s);
    EXPECT_TRUE(access().viewerControlsAreVisible()) << "wherever the pointer is";
    EXPECT_THAT(newSettings(), IsEmpty());
}

TEST_F(AreaTest, ButtonCancelsTheChoice) {
    delegate->toggleFocusArea();
    delegate->toggleFocusArea();
    EXPECT_FALSE(access().interactionView()->isSelectingFocusArea());
    EXPECT_FALSE(access().focusViewerButton()->isSelectingArea());
    EXPECT_FALSE(access().viewerControlsAreVisible());
    EXPECT_TRUE(isOriginal());
    EXPECT_THAT(newSettings(), IsEmpty());
}

TEST_F(AreaTest, EscapeTheRightButtonAndAClickCancelTheChoice) {
    const std::vector<std::function<void()>> ways{
        [&] {
            QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
            QCoreApplication::sendEvent(access().interactionView(), &escape);
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
        EXPECT_FALSE(access().viewerControlsAreVisible());
    }
    EXPECT_FALSE(access().isTemporarilyMaximized());
    EXPECT_THAT(newSettings(), IsEmpty());
    queue.runPending();
    EXPECT_TRUE(alerts.shown().isEmpty());
}

TEST_F(AreaTest, ButtonInThePauseEndsTheChoice) {
    delegate->toggleFocusArea();
    drag({100, 250}, {300, 150});
    delegate->toggleFocusArea();
    queue.advance(1);
    EXPECT_TRUE(isOriginal());
    EXPECT_THAT(newSettings(), IsEmpty());
}

TEST_F(AreaTest, ALateCancellationChangesNothing) {
    choose(area);
    delegate->focusSelectionCancelled();
    EXPECT_TRUE(isFocused());
}

// ---- The focused view ----

TEST_F(AreaTest, AreaIsShownAlone) {
    choose(area);
    EXPECT_EQ(newSettings(), focusedSettings);
    EXPECT_EQ(access().focusCrop(), crop);
    EXPECT_TRUE(isFocused());
    EXPECT_TRUE(access().focusViewerButton()->showsRestoreIcon());
    EXPECT_FALSE(access().focusViewerButton()->isSelectingArea());
    EXPECT_FALSE(access().isShowingFullCameraTemporarily());
    movePointerOut();
    EXPECT_FALSE(access().viewerControlsAreVisible()) << "the choice no longer keeps them";
}

TEST_F(AreaTest, PlaceOnAScreenThatHasGoneIsStillTheWindowsAfterwards) {
    const WindowPlace place{{500, 300, 640, 360}, {0, 0, 1600, 1000}};
    access().window()->restorePlace(place);
    settle();
    const QRect refuge(160, 300, 640, 360); // on a screen of 800 by 800
    ASSERT_EQ(access().window()->frame(), refuge);
    choose(area);
    settle();
    ASSERT_NE(access().window()->frame(), refuge);
    EXPECT_EQ(access().restoreFrameBeforeFocus(), place.frame);
    delegate->toggleFocusArea();
    settle();
    EXPECT_EQ(access().window()->frame(), refuge);
    EXPECT_EQ(access().window()->place(), place);
}

TEST_F(AreaTest, WindowIsFreeAndTakesTheAreasShape) {
    choose(area);
    EXPECT_TRUE(access().window()->contentAspectRatio().isEmpty());
    EXPECT_EQ(access().window()->minimumSize(), QSize(160, 160));
    EXPECT_EQ(access().appliedVideoAspectRatio(), std::nullopt);
    EXPECT_EQ(access().restoreFrameBeforeFocus(), originalFrame);
    EXPECT_EQ(access().window()->frame(), QRect(0, 17, 720, 360))
        << "around the same centre, as far as the screen allows";
    settle();
}

TEST_F(AreaTest, WholeViewIsTheWholePicture) {
    delegate->toggleFocusArea();
    drag({0, 359.9}, {700, -50});
    queue.advance(0.3);
    EXPECT_THAT(newSettings(), Contains("video-crop=1920x1080+0+0"));
    EXPECT_EQ(access().window()->frame(), originalFrame);
}

TEST_F(AreaTest, AreaDraggedPastTheViewIsLimitedToThePicture) {
    delegate->toggleFocusArea();
    drag({400, 200}, {2000, 2000});
    queue.advance(0.3);
    EXPECT_THAT(newSettings(), Contains("video-crop=720x480+1200+600"));
}

TEST_F(AreaTest, NarrowAreaLeavesAWindowOf160Points) {
    choose({100, 60, 12, 280});
    EXPECT_EQ(access().window()->frame().size(), QSize(160, 360));
    delegate->toggleFocusArea();
    settle();
    choose({20, 200, 600, 12});
    EXPECT_EQ(access().window()->frame().size(), QSize(800, 160));
}

TEST_F(AreaTest, FocusedFrameIsRemembered) {
    choose(area);
    settle();
    EXPECT_TRUE(eventually([&] {
        return home.userDefaults().string(u"mainWindowFrame"_s).startsWith(u"0 17 720 360 "_s);
    }));
}

TEST_F(AreaTest, TurnedPictureIsCutBeforeItIsTurned) {
    reportVideo(1080, 1920, 90); // seen as before
    choose(area);
    EXPECT_THAT(newSettings(), Contains("video-crop=300x600+450+1020"));
    EXPECT_EQ(access().focusCrop()->sourceSize, QSizeF(1080, 1920));
    EXPECT_EQ(access().window()->frame().size(), QSize(720, 360)) << "the shape that is seen";
}

TEST_F(AreaTest, SizeOfThePictureIsAskedForAfresh) {
    mpv.setProperty("video-params/w", 960); // and nobody has said so yet
    mpv.setProperty("video-params/h", 540);
    choose(area);
    EXPECT_THAT(newSettings(), Contains("video-crop=300x150+150+225"));
    EXPECT_EQ(access().focusCrop()->sourceSize, QSizeF(960, 540));
}

// ---- And back ----

TEST_F(AreaTest, ButtonBringsTheWholePictureBack) {
    choose(area);
    settle();
    newSettings();
    delegate->toggleFocusArea();
    EXPECT_EQ(newSettings(), originalSettings);
    EXPECT_TRUE(isOriginal());
    EXPECT_TRUE(eventually([&] { return access().window()->minimumSize() == QSize(480, 270); }));
    EXPECT_EQ(access().window()->contentAspectRatio(), (ContentAspectRatio{1920, 1080}));
    EXPECT_EQ(access().appliedVideoAspectRatio(), 1920.0 / 1080.0);
    EXPECT_EQ(access().window()->frame(), originalFrame);
    settle();
    EXPECT_EQ(access().window()->geometry(), originalFrame);
}

TEST_F(AreaTest, ButtonBringsItBackWhileTheWindowIsOnItsWay) {
    choose(area);
    delegate->toggleFocusArea();
    EXPECT_EQ(access().window()->frame(), originalFrame);
    settle();
    EXPECT_EQ(access().window()->geometry(), originalFrame);
}

TEST_F(AreaTest, TurnedPictureGivesTheWindowItsTurnedShapeBack) {
    reportVideo(1080, 1920, 270);
    choose(area);
    delegate->toggleFocusArea();
    EXPECT_EQ(access().window()->contentAspectRatio(), (ContentAspectRatio{1920, 1080}));
    EXPECT_EQ(access().appliedVideoAspectRatio(), 1920.0 / 1080.0);
}

TEST_F(AreaTest, AnotherAreaCanBeChosenAfterwards) {
    choose(area);
    settle();
    delegate->toggleFocusArea();
    settle();
    newSettings();
    choose({200, 150, 200, 100});
    EXPECT_THAT(newSettings(), Contains("video-crop=600x300+600+450"));
    EXPECT_EQ(access().restoreFrameBeforeFocus(), originalFrame);
}

TEST_F(AreaTest, ShapeOfTheVideoIsNotTheFocusedWindows) {
    choose(area);
    newSettings();
    mpv.sendPropertyChange("video-params");
    queue.runPending();
    EXPECT_TRUE(isFocused());
    EXPECT_TRUE(access().window()->contentAspectRatio().isEmpty());
    EXPECT_EQ(access().appliedVideoAspectRatio(), std::nullopt);
    EXPECT_THAT(newSettings(), IsEmpty());
}

TEST_F(AreaTest, APictureOfAnotherSizeBringsTheWholeOneBack) {
    choose(area);
    newSettings();
    reportVideo(1600, 1200);
    EXPECT_TRUE(isOriginal());
    EXPECT_EQ(newSettings(), originalSettings);
    EXPECT_EQ(access().window()->contentAspectRatio(), (ContentAspectRatio{1600, 1200}));
}

// ---- The right button ----

TEST_F(AreaTest, RightClickFlipsBetweenTheAreaAndTheWholePicture) {
    choose(area);
    settle();
    newSettings();
    const QRect frame = access().window()->frame();
    rightClick();
    EXPECT_TRUE(access().isShowingFullCameraTemporarily());
    EXPECT_EQ(newSettings(), wholePictureSettings);
    rightClick();
    EXPECT_FALSE(access().isShowingFullCameraTemporarily());
    EXPECT_EQ(newSettings(), focusedSettings);
    EXPECT_TRUE(isFocused());
    EXPECT_EQ(access().window()->frame(), frame);
    EXPECT_FALSE(access().isTemporarilyMaximized());
}

TEST_F(AreaTest, RightClickDoesNotReshapeTheWindowAgain) {
    choose(area);
    settle();
    resizeWindow({300, 500});
    const QSize size = access().window()->size();
    rightClick({150, 300});
    ASSERT_TRUE(access().isShowingFullCameraTemporarily());
    rightClick({150, 300});
    ASSERT_FALSE(access().isShowingFullCameraTemporarily());
    EXPECT_EQ(access().window()->frame().size(), size);
}

TEST_F(AreaTest, BlackWindowAfterTheEndOfAStreamIsNoPictureToChooseFrom) {
    const QRect frame = access().window()->frame();
    delegate->handlePlaybackEngineEvent(PlaybackEngineEvents::EndFile{0, 0}, 1);
    choose(area);
    queue.runPending();
    EXPECT_EQ(alerts.texts(),
              QStringList(u"Wait for the camera picture, then choose the focus area again."_s));
    EXPECT_TRUE(isOriginal());
    EXPECT_EQ(access().window()->frame(), frame);
}

TEST_F(AreaTest, ButtonEndsTheWholePictureInTheFocusedWindow) {
    choose(area);
    settle();
    rightClick();
    newSettings();
    delegate->toggleFocusArea();
    EXPECT_EQ(newSettings(), originalSettings);
    EXPECT_TRUE(isOriginal());
    EXPECT_EQ(access().window()->frame(), originalFrame);
}

TEST_F(AreaTest, RightClickWithoutAnAreaLeavesThePictureAlone) {
    rightClick();
    rightClick();
    EXPECT_THAT(newSettings(), IsEmpty());
}

TEST_F(AreaTest, RightClickInThePauseDoesNothing) {
    delegate->toggleFocusArea();
    drag({100, 250}, {300, 150});
    rightClick();
    EXPECT_FALSE(access().isTemporarilyMaximized());
    queue.advance(0.3);
    EXPECT_EQ(access().focusCrop(), crop);
}

// ---- Without a picture ----

TEST_F(AreaTest, WithoutAPlayerTheChoiceEndsSilently) {
    delegate->stopPlayerEngine();
    newSettings();
    choose(area);
    queue.runPending();
    EXPECT_TRUE(isOriginal());
    movePointerOut();
    EXPECT_FALSE(access().viewerControlsAreVisible());
    EXPECT_TRUE(alerts.shown().isEmpty());
    EXPECT_THAT(newSettings(), IsEmpty());
}

TEST_F(AreaTest, AnAreaSmallerThanTwoPixelsIsAnswered) {
    reportVideo(4, 4);
    ASSERT_TRUE(eventually([&] {
        return access().interactionView()->width() == access().interactionView()->height();
    }));
    const qreal pixel = access().interactionView()->width() / 4;
    choose({pixel * 2 + 10, pixel * 2 + 10, 20, 20});
    queue.runPending();
    EXPECT_TRUE(isOriginal());
    EXPECT_EQ(alerts.texts(), QStringList(waitText));
    EXPECT_THAT(newSettings(), IsEmpty());
}

TEST_F(AreaTest, BeforeTheNextStreamBeginsTheOldOnesShapeIsNotUsed) {
    delegate->loadCamera(1); // the engine still answers with the picture before
    newSettings();
    delegate->toggleFocusArea();
    delegate->focusSelectionCompleted(area);
    EXPECT_TRUE(isOriginal());
    EXPECT_TRUE(alerts.shown().isEmpty()) << "in a later turn";
    queue.runPending();
    EXPECT_EQ(alerts.texts(), QStringList(waitText));
    EXPECT_THAT(newSettings(), IsEmpty());
    EXPECT_EQ(access().window()->frame(), originalFrame);
}

TEST_F(AreaTest, BeforeTheFirstPictureTheChoiceIsAnswered) {
    mpv.removeProperty("video-params/w");
    mpv.removeProperty("video-params/h");
    access().sourceVideoGeometry().reset();
    choose(area);
    queue.runPending();
    EXPECT_TRUE(isOriginal());
    EXPECT_EQ(alerts.texts(), QStringList(waitText));
}

} // namespace
} // namespace lumvik::test
