// Tests of the program in a Wayland session without X11.

#include "system/harness/ColourBars.h"
#include "system/harness/Eventually.h"
#include "system/harness/Pixels.h"
#include "system/harness/WaylandFixture.h"

#include <QElapsedTimer>

#include <csignal>

namespace lumvik::test {
namespace {

using WaylandTest = WaylandFixture;

using namespace std::chrono_literals;

class WaylandOnlyTest : public WaylandFixture {
  protected:
    void SetUp() override {
        home.setPreference(QStringLiteral("mainWindowFrame"),
                           QStringLiteral("{{0, 0}, {800, 450}}"));
        ASSERT_NO_FATAL_FAILURE(startSession());
        ASSERT_NO_FATAL_FAILURE(startCamera());
        ASSERT_NO_FATAL_FAILURE(startViewer());
        start = shownPicture();
        ASSERT_FALSE(HasFailure());
    }
    QRect start;
};

TEST_F(WaylandOnlyTest, WindowShowsTheCameraAndIsMovedByTheCompositor) {
    EXPECT_TRUE(hasLogged(QStringLiteral("This session is Wayland's")));
    ASSERT_NO_FATAL_FAILURE(drag(QPoint(-120, 80)));
    EXPECT_TRUE(eventually(20s, [this] {
        const QPoint moved = windowArea().topLeft() - start.topLeft();
        return std::abs(moved.x() + 120) <= 24 && std::abs(moved.y() - 80) <= 24;
    })) << "the window does not follow the pointer";
    EXPECT_EQ(windowArea().size(), start.size());
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

TEST_F(WaylandOnlyTest, PinIsDimmedAndHasNoEffect) {
    ASSERT_NO_FATAL_FAILURE(showControls(start));
    const QRect pin = ViewerControls(start.size()).pin().translated(start.topLeft());
    EXPECT_LT(lightest(pin), 190);
    pointer.moveTo(pin.center());
    pointer.moveTo(pin.center() + QPoint(2, 2));
    // The tool tip below the pin explains why the pin has no effect.
    const QColor paper(255, 255, 220);
    const auto tipIsShown = [&] {
        const QImage below = screen.area(QRect(pin.left() - 60, pin.bottom() + 1, 100, 40));
        int pixels = 0;
        for (int y = 0; y < below.height(); ++y) {
            for (int x = 0; x < below.width(); ++x)
                pixels += colourDistance(below.pixelColor(x, y), paper) < 8 ? 1 : 0;
        }
        return pixels > 300;
    };
    EXPECT_TRUE(eventually(20s, tipIsShown)) << "there is no tool tip";
    // A click on the dimmed pin only closes the tool tip.
    pointer.click();
    EXPECT_TRUE(eventually(20s, [&] { return !tipIsShown(); })) << "the tool tip stays";
    ASSERT_NO_FATAL_FAILURE(endViewer());
    EXPECT_FALSE(home.preference(QStringLiteral("staysOnTop")).toBool());
}

TEST_F(WaylandOnlyTest, PickerFollowsTheKeyboardAndClosesOnAClickOnThePicture) {
    ASSERT_NO_FATAL_FAILURE(showControls(start));
    const QRect picker = ViewerControls(start.size()).picker().translated(start.topLeft());
    // This rectangle shows two rows of the menu while the menu is open, and colour bars otherwise.
    const QRect place(picker.left(), picker.bottom() + 12, picker.width(), 30);
    const QImage bars = screen.area(place);
    const auto menuIsOpen = [&] { return shareOfDifferentPixels(screen.area(place), bars) > 0.5; };
    const auto open = [&] {
        pointer.moveTo(picker.center());
        pointer.click();
        ASSERT_TRUE(eventually(20s, menuIsOpen)) << "the menu does not open";
    };
    ASSERT_NO_FATAL_FAILURE(open());
    keyboard.press(QStringLiteral("Escape"));
    EXPECT_TRUE(eventually(20s, [&] { return !menuIsOpen(); })) << "Escape does not close the menu";
    ASSERT_NO_FATAL_FAILURE(open());
    pointer.moveTo(start.center());
    pointer.click(Pointer::Button::right);
    EXPECT_TRUE(eventually(20s, [&] { return !menuIsOpen(); }))
        << "a click does not close the menu";
    ASSERT_NO_FATAL_FAILURE(open());
    keyboard.press(QStringLiteral("Down"));
    keyboard.press(QStringLiteral("Return"));
    EXPECT_TRUE(eventually(20s, [&] {
        return home.preference(QStringLiteral("selectedCameraIndex")).toInt() == 1;
    })) << "the arrow keys choose nothing";
    EXPECT_EQ(windowArea().size(), start.size())
        << "the click that closed the menu also changed the window size";
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

TEST_F(WaylandOnlyTest, WindowTakesTheAspectRatioOfTheAreaWithoutBecomingWider) {
    ASSERT_NO_FATAL_FAILURE(showControls(start));
    const QRect focus = ViewerControls(start.size()).area().translated(start.topLeft());
    pointer.moveTo(focus.center());
    pointer.click();
    // The selected area is much wider than high, so the window must become lower to show it.
    const QPoint from = start.topLeft() + QPoint(100, 80);
    pointer.moveTo(from);
    pointer.press();
    pointer.glideTo(from + QPoint(500, 60), 16);
    pointer.release();
    pointer.moveTo(desktop.area().bottomRight());
    EXPECT_TRUE(eventually(20s, [this] { return windowArea().height() < start.height() / 2; }))
        << "the window does not take on the area's shape";
    EXPECT_LE(windowArea().width(), start.width() + 2);
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

TEST_F(WaylandOnlyTest, CloseButtonEndsTheProgram) {
    const ViewerControls controls(start.size());
    pointer.moveTo(start.center());
    pointer.moveTo(start.topLeft() + controls.close().center());
    pointer.click();
    ASSERT_TRUE(viewer->waitForExit(20s));
    EXPECT_EQ(viewer->exitStatus(), 0);
}

TEST_F(WaylandTest, ViewerWithoutACameraIsIdle) {
    ASSERT_NO_FATAL_FAILURE(startSession());
    ASSERT_NO_FATAL_FAILURE(startViewer());
    ASSERT_TRUE(eventually(60s, [this] { return windowArea().width() > 200; }));
    // Waits until the program has finished starting and uses almost no processor time.
    const auto usedWithin = [this](std::chrono::milliseconds time) {
        const auto before = processorTime();
        QElapsedTimer clock;
        clock.start();
        (void)eventually(time + 5s, [&] { return clock.elapsed() >= time.count(); });
        return processorTime() - before;
    };
    ASSERT_TRUE(eventually(60s, [&] { return usedWithin(1s) < 100ms; }))
        << "the viewer does not become idle";
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

TEST_F(WaylandTest, PlaybackContinuesAfterTheScreenWasOff) {
    ASSERT_NO_FATAL_FAILURE(startSession(XWayland::none, 5));
    ASSERT_NO_FATAL_FAILURE(startCamera());
    ASSERT_NO_FATAL_FAILURE(startViewer());
    // Pointer motion keeps the screen on until the picture is shown.
    const QPoint corner = desktop.area().bottomRight();
    ASSERT_TRUE(eventually(60s, [&] {
        pointer.moveTo(corner - QPoint(1, 0));
        pointer.moveTo(corner);
        return windowArea().width() > 200 &&
               static_cast<bool>(showsColourBars(screen.area(windowArea()), 40));
    }));
    const QRect area = windowArea();
    const auto isDark = [&] { return lightest(screen.all().rect()) < 20; };
    ASSERT_TRUE(eventually(60s, isDark)) << "the screen stays on";
    // Nothing is drawn while the screen is off. The wait is longer than the limit after which a
    // still picture counts as stalled.
    EXPECT_TRUE(always(15s, [this] { return !hasLogged(QStringLiteral("heartbeat stalled")); }));
    pointer.moveTo(area.center());
    EXPECT_TRUE(eventually(20s, [&] {
        return static_cast<bool>(showsColourBars(screen.area(area), 40));
    })) << "the picture does not return";
    EXPECT_TRUE(screen.changesWithin(area, 10s)) << "the picture is frozen";
    EXPECT_EQ(viewer->standardError().filter(QStringLiteral("Starting video engine")).size(), 1);
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

TEST_F(WaylandTest, ProgramExitsWithItsCompositor) {
    ASSERT_NO_FATAL_FAILURE(startSession());
    ASSERT_NO_FATAL_FAILURE(startCamera());
    ASSERT_NO_FATAL_FAILURE(startViewer());
    (void)shownPicture();
    compositor->end();
    ASSERT_TRUE(viewer->waitForExit(20s));
    EXPECT_TRUE(viewer->exitStatus().has_value()) << "the viewer was ended by a signal";
}

} // namespace
} // namespace lumvik::test
