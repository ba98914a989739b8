#include "AreaFixture.h"

#include <QTest>

#include <algorithm>

namespace lumvik::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// On the square screen, the picture of 1920 by 1080 pixels has 800 by 450 points between bars.
class FullScreenTest : public AreaFixture {
  protected:
    void setState(Qt::WindowState state) {
        window().setWindowState(state);
        ASSERT_TRUE(window().windowStates().testFlag(state) || state == Qt::WindowNoState);
        ASSERT_TRUE(
            eventually([&] { return interactionView()->size() == QSizeF(window().size()); }));
    }
    void enterFullScreen() {
        setState(Qt::WindowFullScreen);
        newSettings();
    }
    void doubleClick(QPointF at = {300, 200}) {
        send(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton);
        send(QEvent::MouseButtonRelease, at, Qt::LeftButton, {});
        send(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton);
        send(QEvent::MouseButtonDblClick, at, Qt::LeftButton, Qt::LeftButton);
        send(QEvent::MouseButtonRelease, at, Qt::LeftButton, {});
    }
    void movePointer(QPointF at = {300, 400}) {
        send(QEvent::MouseMove, at, Qt::NoButton, Qt::NoButton);
    }
    [[nodiscard]] static bool pointerIsHidden() {
        return window().cursor().shape() == Qt::BlankCursor;
    }
    [[nodiscard]] static bool isFullScreen() {
        return window().windowStates().testFlag(Qt::WindowFullScreen);
    }

    const std::vector<std::string> fitted{"keepaspect=yes", "panscan=0"};
    const std::vector<std::string> filled{"keepaspect=yes", "panscan=1.0"};
};

TEST_F(FullScreenTest, WholePictureIsShownInWindowsWithAShapeOfTheirOwn) {
    for (const auto state : {Qt::WindowFullScreen, Qt::WindowMaximized}) {
        setState(state);
        EXPECT_EQ(newSettings(), fitted);
        setState(Qt::WindowNoState);
        EXPECT_EQ(newSettings(), filled);
    }
}

TEST_F(FullScreenTest, RightClickRemovesTheBarsUntilTheEndOfFullScreen) {
    enterFullScreen();
    rightClick();
    EXPECT_EQ(newSettings(), filled);
    rightClick();
    EXPECT_EQ(newSettings(), fitted);
    rightClick();
    setState(Qt::WindowNoState);
    newSettings();
    setState(Qt::WindowFullScreen);
    EXPECT_EQ(newSettings(), fitted);
}

TEST_F(FullScreenTest, AreaIsTheOneUnderTheRectangle) {
    enterFullScreen();
    choose({100, 250, 200, 100});
    EXPECT_THAT(newSettings(),
                ElementsAre("video-crop=480x240+240+180", "keepaspect=yes", "panscan=0"));
    rightClick();
    EXPECT_THAT(newSettings(), ElementsAre("video-crop=", "keepaspect=yes", "panscan=0"));
    rightClick();
    EXPECT_THAT(newSettings(),
                ElementsAre("video-crop=480x240+240+180", "keepaspect=yes", "panscan=0"));
}

TEST_F(FullScreenTest, AreaOfAFilledPictureIsTheOneUnderTheRectangle) {
    enterFullScreen();
    rightClick();
    newSettings();
    choose({100, 250, 200, 100}); // the picture is 800 points high and extends to both sides
    EXPECT_THAT(newSettings(),
                ElementsAre("video-crop=270x136+555+337", "keepaspect=yes", "panscan=0"));
}

// The window has the camera's shape, in which the area would be distorted.
TEST_F(FullScreenTest, AreaChosenInFullScreenKeepsItsShapeAfterwards) {
    enterFullScreen();
    choose({100, 250, 100, 200});
    newSettings();
    setState(Qt::WindowNoState);
    EXPECT_THAT(newSettings(), IsEmpty());
    delegate->toggleFocusArea();
    EXPECT_EQ(newSettings(), originalSettings);
}

TEST_F(FullScreenTest, NewPlayerShowsTheWholePicture) {
    enterFullScreen();
    delegate->stopPlayerEngine();
    newSettings();
    delegate->startPlayer();
    const std::vector<std::string> settings = newSettings();
    EXPECT_EQ(std::count(settings.begin(), settings.end(), "panscan=0"), 1);
    EXPECT_EQ(std::count(settings.begin(), settings.end(), "panscan=1.0"), 0);
}

TEST_F(FullScreenTest, DoubleClickSwitchesFullScreenAndMovesNothing) {
    const QRect before = window().geometry();
    doubleClick();
    EXPECT_TRUE(isFullScreen());
    doubleClick();
    EXPECT_FALSE(isFullScreen());
    EXPECT_TRUE(eventually([&] { return window().geometry() == before; }));
    EXPECT_EQ(window().frame(), before);
}

TEST_F(FullScreenTest, DoubleClickDuringASelectionIsNone) {
    delegate->toggleFocusArea();
    send(QEvent::MouseButtonDblClick, {300, 200}, Qt::LeftButton, Qt::LeftButton);
    EXPECT_FALSE(isFullScreen());
}

TEST_F(FullScreenTest, EscapeLeavesASelectionThenFullScreenButNotTheArea) {
    enterFullScreen();
    choose({100, 250, 200, 100});
    QTest::keyClick(&window(), Qt::Key_Escape);
    EXPECT_FALSE(isFullScreen());
    EXPECT_TRUE(isFocused());
    QTest::keyClick(&window(), Qt::Key_Escape);
    EXPECT_TRUE(isFocused());
    delegate->toggleFocusArea();
    enterFullScreen();
    delegate->toggleFocusArea();
    QTest::keyClick(&window(), Qt::Key_Escape);
    EXPECT_TRUE(isOriginal());
    EXPECT_TRUE(isFullScreen());
}

TEST_F(FullScreenTest, RestingPointerDisappearsWithTheControls) {
    enterFullScreen();
    movePointer();
    queue.advance(1);
    movePointer({310, 400});
    EXPECT_TRUE(closeViewerButton()->isEnabled());
    queue.advance(2.9);
    EXPECT_FALSE(pointerIsHidden());
    queue.advance(0.2);
    EXPECT_TRUE(pointerIsHidden());
    EXPECT_FALSE(closeViewerButton()->isEnabled());
    movePointer({320, 400});
    EXPECT_FALSE(pointerIsHidden());
    EXPECT_TRUE(closeViewerButton()->isEnabled());
}

TEST_F(FullScreenTest, PointerThatRestsBeforeFullScreenDisappears) {
    movePointer();
    queue.advance(10);
    EXPECT_FALSE(pointerIsHidden());
    enterFullScreen();
    queue.advance(3.1);
    EXPECT_TRUE(pointerIsHidden());
    setState(Qt::WindowNoState);
    EXPECT_FALSE(pointerIsHidden());
}

TEST_F(FullScreenTest, PointerStaysWhileTheControlsAreInUse) {
    enterFullScreen();
    movePointer();
    delegate->toggleFocusArea();
    queue.advance(4); // before the missing frames end the selection
    EXPECT_FALSE(pointerIsHidden());
    delegate->toggleFocusArea();
    queue.advance(3.1);
    EXPECT_TRUE(pointerIsHidden());
}

} // namespace
} // namespace lumvik::test
