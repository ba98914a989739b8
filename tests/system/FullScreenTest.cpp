// Tests of the viewer in full screen: that it shows the whole picture, and how it is entered and
// left.

#include "system/harness/ColourBars.h"
#include "system/harness/Eventually.h"
#include "system/harness/Pixels.h"
#include "system/harness/ViewerFixture.h"

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

class FullScreenTest : public ViewerFixture {
  protected:
    void showCamera(QSize size) {
        CameraSetup setup;
        setup.size = size;
        ASSERT_TRUE(startListedCamera(setup));
        startViewerAndWaitForPicture();
        ordinaryFrame = viewer->geometry();
    }
    [[nodiscard]] QImage picture() const { return screen.window(viewer->window()); }

    /// Whether the window shows the whole picture of the camera at `frame`, and black around it.
    [[nodiscard]] bool showsPictureAt(const QRect &frame) const {
        const QImage shown = picture();
        const QRect left(0, 0, frame.left() - 2, shown.height());
        const QRect right(frame.right() + 3, 0, shown.width(), shown.height());
        return showsColourBars(shown.copy(frame)) && isDark(shown, left & shown.rect(), 20) &&
               isDark(shown, right & shown.rect(), 20);
    }

    QRect ordinaryFrame;
};

TEST_F(FullScreenTest, WholePictureIsShownBetweenBars) {
    ASSERT_NO_FATAL_FAILURE(showCamera({640, 480}));
    keyboard.press(u"F11"_s);
    ASSERT_TRUE(reachesFrame(desktop.area()));
    const QRect fitted(133, 0, 1333, 1000); // 4:3 on a screen of 1600 by 1000 pixels
    EXPECT_TRUE(eventually(5s, [&] { return showsPictureAt(fitted); }));
    pointer.moveTo(onScreen(QPoint(800, 700)));
    pointer.click(Pointer::Button::right);
    movePointerAway();
    EXPECT_TRUE(eventually(5s, [&] { return bool{showsColourBars(picture())}; }));
    pointer.click(Pointer::Button::right);
    EXPECT_TRUE(eventually(5s, [&] { return showsPictureAt(fitted); }));
    keyboard.press(u"Escape"_s);
    EXPECT_TRUE(reachesFrame(ordinaryFrame));
    EXPECT_TRUE(pictureFillsTheWindow());
}

TEST_F(FullScreenTest, DoubleClickEntersAndLeavesFullScreen) {
    ASSERT_NO_FATAL_FAILURE(showCamera({640, 360}));
    const auto doubleClick = [this](QPoint at) {
        pointer.moveTo(at);
        pointer.click();
        pointer.click();
    };
    doubleClick(onScreen(QPoint(300, 300)));
    EXPECT_TRUE(reachesFrame(desktop.area()));
    doubleClick({900, 700});
    EXPECT_TRUE(reachesFrame(ordinaryFrame));
    EXPECT_TRUE(always(1s, [this] { return viewer->geometry() == ordinaryFrame; }));
    movePointerAway();
}

TEST_F(FullScreenTest, ControlsDisappearWithAPointerThatRests) {
    ASSERT_NO_FATAL_FAILURE(showCamera({640, 360}));
    keyboard.press(u"F11"_s);
    ASSERT_TRUE(reachesFrame(desktop.area()));
    showControls();
    EXPECT_TRUE(always(2s, [this] { return controlsAreVisible(); }));
    EXPECT_TRUE(eventually(5s, [this] { return !controlsAreVisible(); }));
    EXPECT_TRUE(always(1s, [this] { return !controlsAreVisible(); }));
    pointer.glideTo(onScreen(QPoint(600, 500)));
    EXPECT_TRUE(eventually(2s, [this] { return controlsAreVisible(); }));
    movePointerAway();
}

TEST_F(FullScreenTest, PixelsThatAreNotSquareAreShownAsTheyAreMeant) {
    CameraSetup setup;
    setup.size = {480, 360};
    setup.pixelRatio = {4, 3};
    ASSERT_TRUE(startListedCamera(setup));
    startViewer();
    ASSERT_TRUE(viewer->waitForLiveVideo());
    EXPECT_TRUE(eventually(10s, [this] {
        return bool{hasShape({640, 360})};
    })) << hasShape({640, 360}).message();
    EXPECT_TRUE(pictureFillsTheWindow());
    keyboard.press(u"F11"_s);
    ASSERT_TRUE(reachesFrame(desktop.area()));
    EXPECT_TRUE(eventually(5s, [this] {
        const QImage shown = picture();
        return showsColourBars(shown.copy(0, 50, 1600, 900)) &&
               isDark(shown, QRect(0, 0, 1600, 47), 20);
    }));
}

} // namespace
} // namespace lumvik::test
