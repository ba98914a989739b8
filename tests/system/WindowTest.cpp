// Tests of the window: its controls, moving and resizing, staying on top, and its remembered window
// frame.

#include "system/harness/ColourBars.h"
#include "system/harness/Eventually.h"
#include "system/harness/Pixels.h"
#include "system/harness/ViewerFixture.h"

#include <QRegularExpression>

#include <gmock/gmock.h>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

using WindowTest = ViewerFixture;

TEST_F(WindowTest, ControlsAreVisibleOnlyWhileThePointerIsOverTheWindow) {
    ASSERT_TRUE(startListedCamera());
    startViewerAndWaitForPicture();
    EXPECT_TRUE(always(1s, [this] { return !controlsAreVisible(); }))
        << "the controls are visible although the pointer never entered the window";
    // A quarter of the picture's brightness shows through the button's background.
    const QRect corner(controls().close().topLeft() + QPoint(3, 8), QSize(4, 8));
    const int before = meanColour(screen.window(viewer->window()), corner).blue();
    ASSERT_NO_FATAL_FAILURE(showControls());
    const auto isDarkened = [&](const QImage &picture) -> testing::AssertionResult {
        const int now = meanColour(picture, corner).blue();
        if (std::abs(now - before * 0.24) <= 12)
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "blue is " << now << " and was " << before;
    };
    EXPECT_TRUE(screen.waitUntil(viewer->window(), isDarkened, 10s));
    pointer.moveTo(desktop.area().bottomRight());
    EXPECT_TRUE(eventually(10s, [this] { return !controlsAreVisible(); }));
    EXPECT_TRUE(screen.waitUntil(
        viewer->window(),
        [&](const QImage &picture) {
            return testing::AssertionResult(std::abs(meanColour(picture, corner).blue() - before) <=
                                            12);
        },
        10s))
        << "the picture under the button does not return";
}

TEST_F(WindowTest, MinimumSizeIsRequestedAndEnforced) {
    startViewer();
    EXPECT_EQ(viewer->normalHints().minimumSize, QSize(480, 270));
    const QRect before = viewer->geometry();
    pointer.moveTo(before.bottomRight() - QPoint(2, 2));
    const QPoint inwards = before.topLeft() + QPoint(60, 40);
    ASSERT_TRUE(pointer.pressToDrag(inwards));
    pointer.glideTo(inwards, 16);
    EXPECT_TRUE(reachesFrame(QRect(before.topLeft(), QSize(480, 270))));
    pointer.release();
    EXPECT_TRUE(reachesFrame(QRect(before.topLeft(), QSize(480, 270))));
}

TEST_F(WindowTest, DraggingThePictureMovesTheWindow) {
    ASSERT_TRUE(startListedCamera());
    startViewerAndWaitForPicture();
    const QRect before = viewer->geometry();
    const QPoint way(-150, 120);
    pointer.moveTo(before.center());
    ASSERT_TRUE(pointer.pressToDrag(before.center() + way));
    pointer.glideTo(before.center() + way);
    EXPECT_TRUE(eventually(
        20s,
        [&] {
            return (viewer->geometry().topLeft() - before.topLeft() - way).manhattanLength() <=
                   2 * Pointer::dragStart;
        }))
        << "the window is at " << viewer->geometry().x() << ", " << viewer->geometry().y();
    pointer.release();
    EXPECT_EQ(viewer->geometry().size(), before.size());
}

TEST_F(WindowTest, ClickWithASlightMotionDoesNotMoveTheWindow) {
    ASSERT_TRUE(startListedCamera());
    startViewerAndWaitForPicture();
    const QRect before = viewer->geometry();
    ASSERT_NO_FATAL_FAILURE(showControls());
    pointer.moveTo(before.center());
    pointer.press();
    pointer.moveTo(before.center() + QPoint(2, 2));
    pointer.release();
    EXPECT_TRUE(always(
        1s, [&] { return viewer->geometry() == before && !desktop.x().keyboardIsGrabbed(); }));
    // The click must not affect the next drag.
    ASSERT_TRUE(pointer.pressToDrag(before.center() + QPoint(100, 0)));
    pointer.release();
    EXPECT_TRUE(eventually(10s, [this] { return !desktop.x().keyboardIsGrabbed(); }));
}

TEST_F(WindowTest, DraggingACornerKeepsTheAspectRatio) {
    ASSERT_TRUE(startListedCamera());
    startViewerAndWaitForPicture();
    const QRect before = viewer->geometry();
    pointer.moveTo(before.bottomRight() - QPoint(2, 2));
    const QPoint inwards = before.bottomRight() - QPoint(162, 60);
    ASSERT_TRUE(pointer.pressToDrag(inwards));
    pointer.glideTo(inwards);
    EXPECT_TRUE(eventually(20s, [&] {
        return viewer->geometry().width() < before.width() - 90 && hasShape({640, 360});
    })) << hasShape({640, 360}).message();
    pointer.release();
    EXPECT_EQ(viewer->geometry().topLeft(), before.topLeft());
    EXPECT_TRUE(pictureFillsTheWindow());
}

TEST_F(WindowTest, DraggingAnEdgeKeepsTheAspectRatio) {
    ASSERT_TRUE(startListedCamera());
    startViewerAndWaitForPicture();
    const QRect before = viewer->geometry();
    const QPoint edge(before.right() - 2, before.center().y());
    pointer.moveTo(edge);
    ASSERT_TRUE(pointer.pressToDrag(edge - QPoint(200, 0)));
    pointer.glideTo(edge - QPoint(200, 0));
    EXPECT_TRUE(eventually(20s, [&] {
        return viewer->geometry().width() < before.width() - 150 && hasShape({640, 360});
    })) << hasShape({640, 360}).message();
    pointer.release();
}

TEST_F(WindowTest, PositionAndSizeAreRemembered) {
    startViewer();
    moveWindow({120, 80});
    resizeWindow({800, 450});
    const QRect frame(120, 80, 800, 450);
    ASSERT_TRUE(reachesFrame(frame));
    static const QRegularExpression frameForm(QStringLiteral("^120 80 800 450( -?\\d+){4} ?$"));
    EXPECT_TRUE(eventually(10s, [this] { return frameForm.match(storedFrame()).hasMatch(); }))
        << storedFrame().toStdString();
    endViewer();
    startViewer();
    EXPECT_TRUE(reachesFrame(frame));
}

TEST_F(WindowTest, PositionAndSizeForAnotherAspectRatioAreRemembered) {
    CameraSetup setup;
    setup.size = QSize(640, 480);
    ASSERT_TRUE(startListedCamera(setup));
    startViewerAndWaitForPicture();
    ASSERT_TRUE(eventually(10s, [this] { return bool{hasShape({640, 480})}; }));
    moveWindow({200, 100});
    resizeWindow({720, 540});
    const QRect frame(200, 100, 720, 540);
    ASSERT_TRUE(reachesFrame(frame));
    endViewer();
    startViewerAndWaitForPicture();
    EXPECT_TRUE(eventually(10s, [this] { return bool{hasShape({640, 480})}; }));
    EXPECT_TRUE(reachesFrame(frame));
}

TEST_F(WindowTest, WindowFrameOutsideEveryScreenIsMovedOntoOne) {
    for (const char *frame :
         {"5000 4000 800 450 3840 2160 1920 1080 ", "-4000 -100 800 450 -4000 0 1600 1000 ",
          "{{9000, 50}, {800, 450}}", "0 -30000 800 450 0 0 1600 1000"}) {
        SCOPED_TRACE(frame);
        home.setPreference(QStringLiteral("mainWindowFrame"), QString::fromLatin1(frame));
        startViewer();
        EXPECT_TRUE(
            eventually(10s, [this] { return desktop.area().contains(viewer->geometry()); }));
        EXPECT_EQ(viewer->geometry().size(), QSize(800, 450));
        endViewer();
    }
}

TEST_F(WindowTest, PlainRectangleIsAcceptedAsAWindowFrame) {
    home.setPreference(QStringLiteral("mainWindowFrame"),
                       QStringLiteral("{{120, 80}, {800, 450}}"));
    startViewer();
    EXPECT_TRUE(reachesFrame(QRect(120, 80, 800, 450)));
}

TEST_F(WindowTest, InvalidPreferencesAreIgnored) {
    CameraProcess *camera = startListedCamera();
    ASSERT_TRUE(camera);
    QRect centred(QPoint(), QSize(1120, 630));
    centred.moveCenter(desktop.area().center());
    for (const char *preferences :
         {"[General]\nmainWindowFrame=somewhere\nstaysOnTop=perhaps\nselectedCameraIndex=first\n"
          "lastAutomaticUpdateCheck=yesterday\n",
          "[General]\nmainWindowFrame=1 2 3\nselectedCameraIndex=-1\nstaysOnTop=@Invalid()\n",
          "[General]\nmainWindowFrame=\"{{a, b}, {c, d}}\"\nselectedCameraIndex=7\n",
          "[General]\nmainWindowFrame=\"nan inf -5 1e99 0 0 1600 "
          "1000\"\nselectedCameraIndex=9e99\n",
          "[General]\nmainWindowFrame=\"99999999999 0 0 -1 0 0 0 0\"\nstaysOnTop=@ByteArray(\n",
          "\x7F"
          "ELF\x01\x02\x03[[[ = = \n"}) {
        SCOPED_TRACE(preferences);
        home.writePreferencesFile(preferences);
        startViewerAndWaitForPicture();
        EXPECT_TRUE(reachesFrame(centred));
        EXPECT_FALSE(viewer->isAbove());
        endViewer();
    }
}

TEST_F(WindowTest, PinKeepsTheWindowAboveOthersAndIsRemembered) {
    ASSERT_TRUE(startListedCamera());
    startViewerAndWaitForPicture();
    const xcb_window_t window = viewer->window();
    const QRect frame = viewer->geometry();
    ASSERT_FALSE(viewer->isAbove());

    ASSERT_NO_FATAL_FAILURE(clickControl(controls().pin()));
    EXPECT_TRUE(eventually(10s, [this] { return viewer->isAbove(); }));
    EXPECT_EQ(viewer->windowsOnScreen().count(window), 1) << "the window was re-created";
    EXPECT_EQ(viewer->geometry(), frame);
    EXPECT_TRUE(
        eventually(10s, [this] { return home.preference(QStringLiteral("staysOnTop")).toBool(); }));
    endViewer();

    pointer.moveTo(desktop.area().bottomRight());
    startViewerAndWaitForPicture();
    EXPECT_TRUE(eventually(10s, [this] { return viewer->isAbove(); }));
    ASSERT_NO_FATAL_FAILURE(clickControl(controls().pin()));
    EXPECT_TRUE(eventually(10s, [this] { return !viewer->isAbove(); }));
    EXPECT_TRUE(eventually(
        10s, [this] { return !home.preference(QStringLiteral("staysOnTop")).toBool(); }));
}

TEST_F(WindowTest, PictureStaysVisibleWhileThePinIsToggled) {
    ASSERT_TRUE(startListedCamera());
    startViewerAndWaitForPicture();
    const xcb_window_t window = viewer->window();
    for (const bool above : {true, false, true}) {
        ASSERT_NO_FATAL_FAILURE(showControls());
        pointer.moveTo(onScreen(controls().pin()));
        pointer.click();
        EXPECT_TRUE(always(1s, [&] { return bool{showsColourBars(screen.window(window))}; }));
        EXPECT_EQ(viewer->isAbove(), above);
        EXPECT_EQ(viewer->windowsOnScreen().count(window), 1) << "the window was re-created";
        EXPECT_TRUE(viewer->hasFocus());
    }
    movePointerAway();
}

TEST_F(WindowTest, DragThatBeginsOnAVisibleControlDoesNotMoveTheWindow) {
    ASSERT_TRUE(startListedCamera());
    startViewerAndWaitForPicture();
    const QRect before = viewer->geometry();
    for (const QRect control : {controls().pin(), controls().area(), controls().close()}) {
        ASSERT_NO_FATAL_FAILURE(showControls());
        pointer.moveTo(onScreen(control));
        pointer.press();
        pointer.glideTo(onScreen(control) + QPoint(-200, 150));
        EXPECT_TRUE(always(300ms, [&] {
            return viewer->geometry() == before && !desktop.x().keyboardIsGrabbed();
        }));
        // Releasing the button away from the control must have no effect.
        pointer.release();
        EXPECT_TRUE(always(500ms, [&] {
            return viewer->geometry() == before && !viewer->isAbove() &&
                   showsColourBars(screen.window(viewer->window()));
        }));
    }
    movePointerAway();
}

TEST_F(WindowTest, FirstPressOnAnInactiveWindowDragsItEvenOverAHiddenControl) {
    ASSERT_TRUE(startListedCamera());
    startViewerAndWaitForPicture();
    const QRect before = viewer->geometry();
    ASSERT_NO_FATAL_FAILURE(showControls());
    DesktopProgram *other = startWhiteWindow({0, 0, 100, 100});
    ASSERT_TRUE(other);
    ASSERT_TRUE(eventually(10s, [&] { return other->hasFocus(); }));
    // The viewer notices the focus change slightly later than the X server.
    ASSERT_TRUE(eventually(10s, [this] { return !controlsAreVisible(); }));
    pointer.moveTo(onScreen(controls().close()));
    EXPECT_TRUE(always(1s, [this] { return !controlsAreVisible(); }))
        << "an inactive viewer shows its controls";
    const QPoint way(-150, 120);
    const QPoint to = onScreen(controls().close()) + way;
    ASSERT_TRUE(pointer.pressToDrag(to));
    pointer.glideTo(to);
    EXPECT_TRUE(eventually(
        20s,
        [&] {
            return (viewer->geometry().topLeft() - before.topLeft() - way).manhattanLength() <=
                   2 * Pointer::dragStart;
        }))
        << "the window is at " << viewer->geometry().x() << ", " << viewer->geometry().y();
    pointer.release();
    EXPECT_EQ(viewer->geometry().size(), before.size());
    EXPECT_TRUE(viewer->process().isRunning());
    movePointerAway();
}

TEST_F(WindowTest, PinnedViewerStaysAboveANewWindow) {
    home.setPreference(QStringLiteral("staysOnTop"), true);
    ASSERT_TRUE(startListedCamera());
    startViewerAndWaitForPicture();
    const QRect place = viewer->geometry();
    ASSERT_TRUE(startWhiteWindow(place.adjusted(0, 0, 0, 100)));
    const QPoint below(place.center().x(), place.bottom() + 60);
    ASSERT_TRUE(eventually(20s, [&] { return qGray(screen.pixel(below).rgb()) > 200; }));
    EXPECT_TRUE(showsColourBars(screen.window(viewer->window())));
}

TEST_F(WindowTest, WindowHasTheIconAndTheClassOfTheProgram) {
    startViewer();
    // The property holds the width, the height and the pixels of each icon size in turn.
    const QList<quint32> icon = desktop.x().numbers(viewer->window(), "_NET_WM_ICON");
    QList<quint32> sizes;
    for (qsizetype at = 0; at + 1 < icon.size(); at += 2 + icon.at(at) * icon.at(at + 1)) {
        ASSERT_EQ(icon.at(at), icon.at(at + 1));
        sizes.append(icon.at(at));
    }
    EXPECT_TRUE(sizes.contains(16) && sizes.contains(48) && sizes.contains(128));
    // The desktop uses this class to match the window with the desktop entry.
    EXPECT_TRUE(desktop.x().text(viewer->window(), "WM_CLASS").contains(QStringLiteral("Lumvik")));
}

} // namespace
} // namespace lumvik::test
