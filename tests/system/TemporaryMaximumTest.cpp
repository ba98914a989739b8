// Tests of full screen, and of the temporary enlargement of the window by a right-click.

#include "system/harness/Eventually.h"
#include "system/harness/ViewerFixture.h"

#include <cmath>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

class TemporaryMaximumTest : public ViewerFixture {
  protected:
    /// Shows a camera in a viewer whose window has the given frame.
    void showCamera(QRect frame, QSize picture = QSize(640, 360)) {
        CameraSetup setup;
        setup.size = picture;
        setup.framesPerSecond = 10;
        setup.keyFrameInterval = 10;
        ASSERT_TRUE(startListedCamera(setup));
        home.setPreference(QStringLiteral("mainWindowFrame"), plainForm(frame));
        startViewerAndWaitForPicture();
        ASSERT_TRUE(reachesFrame(frame));
        ASSERT_TRUE(eventually(10s, [&] { return bool{hasShape(picture)}; }));
        pointer.moveTo(frame.center());
    }

    void rightClick() { pointer.click(Pointer::Button::right); }

    /// Whether the stored window frame is `frame`, in either of the two storage formats.
    [[nodiscard]] bool stored(QRect frame) const {
        const QString text = storedFrame();
        return text == plainForm(frame) || text.startsWith(QStringLiteral("%1 %2 %3 %4 ")
                                                               .arg(frame.x())
                                                               .arg(frame.y())
                                                               .arg(frame.width())
                                                               .arg(frame.height()));
    }
    [[nodiscard]] static QString plainForm(QRect frame) {
        return QStringLiteral("{{%1, %2}, {%3, %4}}")
            .arg(frame.x())
            .arg(frame.y())
            .arg(frame.width())
            .arg(frame.height());
    }

    /// Waits until the window has the given geometry. Fails if the stored window frame differs from
    /// `remembered` at any time.
    [[nodiscard]] testing::AssertionResult reachesFrameWithoutStoringIt(QRect geometry,
                                                                        QRect remembered) const {
        QString wrong;
        const bool came = eventually(20s, [&] {
            if (wrong.isEmpty() && !stored(remembered))
                wrong = storedFrame();
            return viewer->geometry() == geometry;
        });
        if (!wrong.isEmpty())
            return testing::AssertionFailure()
                   << "meanwhile the viewer stored the window frame " << wrong.toStdString();
        return came ? reachesFrame(geometry) : reachesFrame(geometry, 0ms);
    }
};

constexpr QRect ordinaryFrame{150, 120, 800, 450};
/// The largest 16:9 window on a screen of 1600 x 1000 pixels without panels.
constexpr QRect enlargedFrame{0, 50, 1600, 900};

TEST_F(TemporaryMaximumTest, RightClickEnlargesTheWindowAndASecondRightClickRestoresIt) {
    ASSERT_NO_FATAL_FAILURE(showCamera(ordinaryFrame));
    rightClick();
    EXPECT_TRUE(reachesFrameWithoutStoringIt(enlargedFrame, ordinaryFrame));
    EXPECT_TRUE(always(1s, [this] {
        return viewer->geometry() == enlargedFrame && stored(ordinaryFrame);
    })) << storedFrame().toStdString();
    EXPECT_TRUE(pictureFillsTheWindow());
    EXPECT_TRUE(hasShape({640, 360}));

    rightClick();
    EXPECT_TRUE(reachesFrameWithoutStoringIt(ordinaryFrame, ordinaryFrame));
    EXPECT_TRUE(always(1s, [this] { return viewer->geometry() == ordinaryFrame; }));
    EXPECT_TRUE(pictureFillsTheWindow());

    // Once the window is restored, the viewer must store its new window frames again.
    moveWindow({30, 40});
    const QRect moved(QPoint(30, 40), ordinaryFrame.size());
    EXPECT_TRUE(reachesFrame(moved));
    EXPECT_TRUE(eventually(10s, [&] { return stored(moved); })) << storedFrame().toStdString();
    movePointerAway();
}

TEST_F(TemporaryMaximumTest, NarrowPictureIsEnlargedToTheHeightOfTheScreen) {
    // Window managers round the height down for other aspect ratios. A 5:4 picture avoids this
    // rounding.
    const QRect narrow(150, 120, 600, 480);
    ASSERT_NO_FATAL_FAILURE(showCamera(narrow, {600, 480}));
    rightClick();
    EXPECT_TRUE(reachesFrameWithoutStoringIt({175, 0, 1250, 1000}, narrow));
    rightClick();
    EXPECT_TRUE(reachesFrameWithoutStoringIt(narrow, narrow));
    movePointerAway();
}

TEST_F(TemporaryMaximumTest, ThreeRapidRightClicksEndAtTheOriginalFrame) {
    ASSERT_NO_FATAL_FAILURE(showCamera(ordinaryFrame));
    // The third click arrives while the second click is still restoring the window. Both of these
    // clicks end at the original window frame.
    xdotool(desktop, {QStringLiteral("click"), QStringLiteral("--repeat"), QStringLiteral("3"),
                      QStringLiteral("--delay"), QStringLiteral("60"), QStringLiteral("3")});
    EXPECT_TRUE(reachesFrameWithoutStoringIt(ordinaryFrame, ordinaryFrame));
    EXPECT_TRUE(always(2s, [this] { return viewer->geometry() == ordinaryFrame; }));
    rightClick();
    EXPECT_TRUE(reachesFrameWithoutStoringIt(enlargedFrame, ordinaryFrame));
    EXPECT_TRUE(always(1s, [this] { return viewer->geometry() == enlargedFrame; }));
    rightClick();
    EXPECT_TRUE(reachesFrameWithoutStoringIt(ordinaryFrame, ordinaryFrame));
    EXPECT_TRUE(pictureFillsTheWindow());
    movePointerAway();
}

TEST_F(TemporaryMaximumTest, FullScreenKeepsTheFrameAndIgnoresRightClicks) {
    ASSERT_NO_FATAL_FAILURE(showCamera(ordinaryFrame));
    keyboard.press(QStringLiteral("F11"));
    ASSERT_TRUE(reachesFrame(desktop.area()));
    rightClick();
    EXPECT_TRUE(always(1s, [this] { return viewer->geometry() == desktop.area(); }));
    keyboard.press(QStringLiteral("F11"));
    EXPECT_TRUE(reachesFrame(ordinaryFrame));
    EXPECT_TRUE(always(1s, [this] { return viewer->geometry() == ordinaryFrame; }));
    EXPECT_TRUE(stored(ordinaryFrame)) << storedFrame().toStdString();
    EXPECT_TRUE(pictureFillsTheWindow());
    rightClick();
    EXPECT_TRUE(reachesFrameWithoutStoringIt(enlargedFrame, ordinaryFrame));
    movePointerAway();
}

TEST_F(TemporaryMaximumTest, LeavingFullScreenReturnsToTheEnlargedWindow) {
    ASSERT_NO_FATAL_FAILURE(showCamera(ordinaryFrame));
    rightClick();
    ASSERT_TRUE(reachesFrameWithoutStoringIt(enlargedFrame, ordinaryFrame));
    keyboard.press(QStringLiteral("F11"));
    EXPECT_TRUE(reachesFrameWithoutStoringIt(desktop.area(), ordinaryFrame));
    keyboard.press(QStringLiteral("F11"));
    EXPECT_TRUE(reachesFrameWithoutStoringIt(enlargedFrame, ordinaryFrame));
    rightClick();
    EXPECT_TRUE(reachesFrameWithoutStoringIt(ordinaryFrame, ordinaryFrame));
    EXPECT_TRUE(always(1s, [this] {
        return viewer->geometry() == ordinaryFrame && stored(ordinaryFrame);
    })) << storedFrame().toStdString();
    movePointerAway();
}

TEST_F(TemporaryMaximumTest, ClosingTheEnlargedWindowKeepsTheStoredFrame) {
    ASSERT_NO_FATAL_FAILURE(showCamera(ordinaryFrame));
    rightClick();
    ASSERT_TRUE(reachesFrameWithoutStoringIt(enlargedFrame, ordinaryFrame));
    endViewer();
    EXPECT_TRUE(stored(ordinaryFrame)) << storedFrame().toStdString();
    movePointerAway();
    startViewerAndWaitForPicture();
    EXPECT_TRUE(reachesFrame(ordinaryFrame));
}

TEST_F(TemporaryMaximumTest, FirstRightClickOnAnInactiveWindowEnlargesIt) {
    ASSERT_NO_FATAL_FAILURE(showCamera(ordinaryFrame));
    DesktopProgram *other = startWhiteWindow({1300, 800, 200, 100});
    ASSERT_TRUE(other);
    ASSERT_TRUE(eventually(10s, [&] { return other->hasFocus(); }));
    rightClick();
    EXPECT_TRUE(reachesFrameWithoutStoringIt(enlargedFrame, ordinaryFrame));
    rightClick();
    EXPECT_TRUE(reachesFrameWithoutStoringIt(ordinaryFrame, ordinaryFrame));
    movePointerAway();
}

} // namespace
} // namespace lumvik::test
