// Tests of the program in a Wayland session with XWayland, the X server that most Wayland desktops
// offer to X11 programs.

#include "system/harness/Eventually.h"
#include "system/harness/Pixels.h"
#include "system/harness/WaylandFixture.h"

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

class XWaylandTest : public WaylandFixture {
  protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(startSession(XWayland::offered));
        ASSERT_NO_FATAL_FAILURE(startCamera());
        ASSERT_NO_FATAL_FAILURE(startViewer());
        start = shownPicture();
        ASSERT_FALSE(HasFailure());
    }
    [[nodiscard]] ViewerControls controls() const { return ViewerControls(start.size()); }
    /// Shows the controls and clicks the centre of the control whose rectangle is `inWindow`.
    void clickControl(QRect inWindow) {
        ASSERT_NO_FATAL_FAILURE(showControls(start));
        pointer.moveTo(inWindow.translated(start.topLeft()).center());
        pointer.click();
    }

    QRect start; // the window's initial rectangle
};

TEST_F(XWaylandTest, XWaylandIsPreferredToWayland) {
    EXPECT_TRUE(hasMapped("libqxcb.so"));
    EXPECT_FALSE(hasMapped("libqwayland"));
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

TEST_F(XWaylandTest, DraggingThePictureMovesTheWindow) {
    // XWayland 24 loses a button press that arrives while the pointer enters the window.
    ASSERT_NO_FATAL_FAILURE(showControls(start));
    const QPoint middle = start.center();
    pointer.moveTo(middle);
    pointer.press();
    // The compositor starts the move only after the program's request has passed through XWayland.
    int distance = 0;
    EXPECT_TRUE(eventually(20s, [&] {
        distance += 8;
        pointer.moveTo(middle + QPoint(distance, distance / 2));
        return eventually(300ms, [&] { return windowArea().left() > start.left() + 4; });
    })) << "the window does not follow the pointer";
    const QPoint held = windowArea().topLeft();
    pointer.glideTo(middle + QPoint(distance + 80, distance / 2 + 60), 16);
    EXPECT_TRUE(eventually(20s, [&] {
        const QPoint moved = windowArea().topLeft() - held;
        return moved.x() > 40 && moved.y() > 30;
    })) << "the window stops following the pointer";
    pointer.release();
    pointer.moveTo(desktop.area().bottomRight());
    EXPECT_EQ(windowArea().size(), start.size());
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

TEST_F(XWaylandTest, PinCanBeSwitchedOn) {
    ASSERT_NO_FATAL_FAILURE(clickControl(controls().pin()));
    EXPECT_TRUE(
        eventually(20s, [this] { return home.preference(QStringLiteral("staysOnTop")).toBool(); }));
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

TEST_F(XWaylandTest, CameraIsChosenByPointerAndByKeyboard) {
    const QRect picker = controls().picker().translated(start.topLeft());
    const auto selected = [this] {
        return home.preference(QStringLiteral("selectedCameraIndex")).toInt();
    };
    // This rectangle shows two rows of the menu while the menu is open, and colour bars otherwise.
    const QRect place(picker.left(), picker.bottom() + 12, picker.width(), 30);
    const QImage bars = screen.area(place);
    const auto open = [&] {
        ASSERT_NO_FATAL_FAILURE(clickControl(controls().picker()));
        ASSERT_TRUE(eventually(20s, [&] {
            return shareOfDifferentPixels(screen.area(place), bars) > 0.5;
        })) << "the menu does not open";
    };
    ASSERT_NO_FATAL_FAILURE(open());
    // The pointer moves to the lower row of the menu, and may overshoot by one step in a Wayland
    // session.
    pointer.glideTo(QPoint(place.center().x(), place.bottom() - 2), 16);
    pointer.click();
    EXPECT_TRUE(eventually(20s, [&] { return selected() == 1; })) << "the pointer chooses nothing";
    ASSERT_TRUE(eventually(20s, [&] {
        return shareOfDifferentPixels(screen.area(place), bars) < 0.1;
    })) << "the other camera is not shown";
    ASSERT_NO_FATAL_FAILURE(open());
    keyboard.press(QStringLiteral("Up"));
    keyboard.press(QStringLiteral("Return"));
    EXPECT_TRUE(eventually(20s, [&] { return selected() == 0; }))
        << "the arrow keys choose nothing";
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

TEST_F(XWaylandTest, CloseButtonEndsTheProgram) {
    ASSERT_NO_FATAL_FAILURE(clickControl(controls().close()));
    ASSERT_TRUE(viewer->waitForExit(20s));
    EXPECT_EQ(viewer->exitStatus(), 0);
}

} // namespace
} // namespace lumvik::test
