// The program in a session of Wayland's that offers X11 programs a server, which is what most
// desktops do.

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
    /// Shows the controls and clicks into the middle of one.
    void clickControl(QRect inWindow) {
        ASSERT_NO_FATAL_FAILURE(showControls(start));
        pointer.moveTo(inWindow.translated(start.topLeft()).center());
        pointer.click();
    }

    QRect start; // where the window is at first
};

TEST_F(XWaylandTest, IsPreferred) {
    EXPECT_TRUE(hasMapped("libqxcb.so"));
    EXPECT_FALSE(hasMapped("libqwayland"));
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

TEST_F(XWaylandTest, ThePictureMovesTheWindow) {
    // A server of version 24 loses a press that comes while the pointer enters.
    ASSERT_NO_FATAL_FAILURE(showControls(start));
    const QPoint middle = start.center();
    pointer.moveTo(middle);
    pointer.press();
    // The compositor takes hold of the window once it has heard the program, by way of XWayland.
    int distance = 0;
    EXPECT_TRUE(eventually(20s, [&] {
        distance += 8;
        pointer.moveTo(middle + QPoint(distance, distance / 2));
        return eventually(300ms, [&] { return windowArea().left() > start.left() + 4; });
    })) << "it does not follow the pointer";
    const QPoint held = windowArea().topLeft();
    pointer.glideTo(middle + QPoint(distance + 80, distance / 2 + 60), 16);
    EXPECT_TRUE(eventually(20s, [&] {
        const QPoint moved = windowArea().topLeft() - held;
        return moved.x() > 40 && moved.y() > 30;
    })) << "it stops";
    pointer.release();
    pointer.moveTo(desktop.area().bottomRight());
    EXPECT_EQ(windowArea().size(), start.size());
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

TEST_F(XWaylandTest, ThePinIsOffered) {
    ASSERT_NO_FATAL_FAILURE(clickControl(controls().pin()));
    EXPECT_TRUE(
        eventually(20s, [this] { return home.preference(QStringLiteral("staysOnTop")).toBool(); }));
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

TEST_F(XWaylandTest, ACameraIsChosenByThePointerAndByTheKeyboard) {
    const QRect picker = controls().picker().translated(start.topLeft());
    const auto selected = [this] {
        return home.preference(QStringLiteral("selectedCameraIndex")).toInt();
    };
    // Two rows of the menu lie here when it is open, and colour bars when it is not.
    const QRect place(picker.left(), picker.bottom() + 12, picker.width(), 30);
    const QImage bars = screen.area(place);
    const auto open = [&] {
        ASSERT_NO_FATAL_FAILURE(clickControl(controls().picker()));
        ASSERT_TRUE(eventually(20s, [&] {
            return shareOfDifferentPixels(screen.area(place), bars) > 0.5;
        })) << "the menu does not open";
    };
    ASSERT_NO_FATAL_FAILURE(open());
    // To the lower one of the rows; the session's pointer may repeat the last step.
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

TEST_F(XWaylandTest, ClosesByItsButton) {
    ASSERT_NO_FATAL_FAILURE(clickControl(controls().close()));
    ASSERT_TRUE(viewer->waitForExit(20s));
    EXPECT_EQ(viewer->exitStatus(), 0);
}

} // namespace
} // namespace lumvik::test
