// The focus area: an area chosen with the pointer fills the window, and the way back.

#include "system/harness/AreaFixture.h"
#include "system/harness/ColourBars.h"
#include "system/harness/Eventually.h"

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

/// In the middle of the screen, as a first start opens it.
constexpr QRect originalFrame{240, 185, 1120, 630};
/// Exactly the yellow and the cyan bar.
constexpr QRect twoBars{160, 0, 320, 314};
/// The same height of the window, the shape of the two bars, around the same centre.
constexpr QRect frameOfTwoBars{479, 185, 642, 630};
/// A little more than the two bars, with edges at odd pixels: white at the left, green at the
/// right, black below.
constexpr QRect moreThanTwoBars{155, 3, 331, 319};

class AreaTest : public AreaFixture {
  protected:
    using AreaFixture::AreaFixture;

    [[nodiscard]] testing::AssertionResult isInOriginalView() const {
        if (const auto moved = comesToBe(originalFrame); !moved)
            return moved;
        if (const auto shown = pictureFillsTheWindow(); !shown)
            return shown;
        if (viewer->normalHints().minimumSize != QSize(480, 270))
            return testing::AssertionFailure() << "the minimum size is another one";
        return hasShape(pictureSize);
    }
};

TEST_F(AreaTest, ChosenBarsFillTheWindowToThePixelAndTheButtonGoesBack) {
    ASSERT_TRUE(showCamera());
    ASSERT_TRUE(comesToBe(originalFrame));
    ASSERT_NO_FATAL_FAILURE(focusOn(twoBars));
    EXPECT_TRUE(comesToBe(frameOfTwoBars));
    EXPECT_TRUE(showsArea(twoBars));
    EXPECT_TRUE(eventually(10s, [this] {
        return storedFrame().startsWith(QStringLiteral("479 185 642 630 "));
    })) << storedFrame().toStdString();

    ASSERT_NO_FATAL_FAILURE(showOriginalView());
    EXPECT_TRUE(isInOriginalView());
    EXPECT_TRUE(eventually(10s, [this] {
        return storedFrame().startsWith(QStringLiteral("240 185 1120 630 "));
    })) << storedFrame().toStdString();
}

TEST_F(AreaTest, EdgesOfTheAreaAreNotCutShort) {
    ASSERT_TRUE(showCamera());
    ASSERT_NO_FATAL_FAILURE(focusOn(moreThanTwoBars));
    EXPECT_TRUE(comesToBe({473, 185, 654, 630}));
    EXPECT_TRUE(showsArea(moreThanTwoBars));
    // A second area after the first one must not be cut out of what the first one showed.
    ASSERT_NO_FATAL_FAILURE(showOriginalView());
    ASSERT_TRUE(isInOriginalView());
    const QRect ramp(700, 504, 300, 126);
    ASSERT_NO_FATAL_FAILURE(focusOn(ramp));
    EXPECT_TRUE(showsArea(ramp));
}

TEST_F(AreaTest, DragInAnyDirectionChoosesTheSameArea) {
    ASSERT_TRUE(showCamera());
    ASSERT_NO_FATAL_FAILURE(beginSelection());
    dragWithoutRelease({480, 314}, {160, 0});
    pointer.release();
    movePointerAway();
    EXPECT_TRUE(comesToBe(frameOfTwoBars));
    EXPECT_TRUE(showsArea(twoBars));
}

TEST_F(AreaTest, WindowKeepsWithinTheScreen) {
    ASSERT_TRUE(showCamera());
    // At the right edge, clear of the corner where the pointer rests.
    const QRect atTheEdge(480, 300, 1120, 630);
    moveWindow(atTheEdge.topLeft());
    ASSERT_TRUE(comesToBe(atTheEdge));
    // Twice as wide as high: 140 pixels more than before, of which the right half has no room.
    const QRect wide(160, 100, 320, 160);
    ASSERT_NO_FATAL_FAILURE(focusOn(wide));
    EXPECT_TRUE(comesToBe({340, 300, 1260, 630}));
    EXPECT_TRUE(showsArea(wide));
    ASSERT_NO_FATAL_FAILURE(showOriginalView());
    ASSERT_TRUE(comesToBe(atTheEdge));
    ASSERT_TRUE(pictureFillsTheWindow());
    // Wider than the screen at this height: as wide as the screen.
    const QRect strip(160, 100, 640, 160);
    ASSERT_NO_FATAL_FAILURE(focusOn(strip));
    EXPECT_TRUE(comesToBe({0, 415, 1600, 400}));
    EXPECT_TRUE(showsArea(strip));
}

TEST_F(AreaTest, FocusedWindowTakesAnyShape) {
    ASSERT_TRUE(showCamera());
    ASSERT_NO_FATAL_FAILURE(focusOn(twoBars));
    ASSERT_TRUE(comesToBe(frameOfTwoBars));
    EXPECT_TRUE(
        eventually(10s, [this] { return viewer->normalHints().minimumSize == QSize(160, 160); }));
    EXPECT_FALSE(viewer->normalHints().minimumAspect);
    EXPECT_FALSE(viewer->normalHints().maximumAspect);

    const QRect before = viewer->geometry();
    pointer.moveTo(before.bottomRight() - QPoint(2, 2));
    const QPoint inwards = before.topLeft() + QPoint(320, 60);
    ASSERT_TRUE(pointer.pressToDrag(inwards));
    pointer.glideTo(inwards, 16);
    EXPECT_TRUE(eventually(20s,
                           [&] {
                               const QSize size = viewer->geometry().size();
                               return size.height() == 160 &&
                                      std::abs(size.width() - 320) <= 2 * Pointer::dragStart;
                           }))
        << viewer->geometry().width() << "x" << viewer->geometry().height();
    pointer.release();
    movePointerAway();
    const QRect resized = viewer->geometry();
    EXPECT_TRUE(showsArea(twoBars));
    EXPECT_TRUE(always(1s, [&] { return viewer->geometry() == resized; }))
        << "the shape that the user gave it is taken away";

    ASSERT_NO_FATAL_FAILURE(showOriginalView());
    EXPECT_TRUE(isInOriginalView());
}

TEST_F(AreaTest, RightClickFlipsToTheWholePictureAndBackInTheSameWindow) {
    ASSERT_TRUE(showCamera());
    ASSERT_NO_FATAL_FAILURE(focusOn(twoBars));
    ASSERT_TRUE(comesToBe(frameOfTwoBars));
    ASSERT_TRUE(showsArea(twoBars));
    for (int round = 0; round < 2; ++round) {
        pointer.moveTo(frameOfTwoBars.center());
        pointer.click(Pointer::Button::right);
        movePointerAway();
        EXPECT_TRUE(showsArea(QRect(QPoint(), pictureSize))) << "not the whole picture";
        EXPECT_EQ(viewer->geometry(), frameOfTwoBars);
        pointer.moveTo(frameOfTwoBars.center());
        pointer.click(Pointer::Button::right);
        movePointerAway();
        EXPECT_TRUE(showsArea(twoBars));
        EXPECT_EQ(viewer->geometry(), frameOfTwoBars);
    }
    // From the whole picture, too, the button leads back to the original window.
    pointer.moveTo(frameOfTwoBars.center());
    pointer.click(Pointer::Button::right);
    ASSERT_NO_FATAL_FAILURE(showOriginalView());
    EXPECT_TRUE(isInOriginalView());
}

TEST_F(AreaTest, StreamThatIsLoadedAnewBringsTheOriginalViewBack) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    ASSERT_NO_FATAL_FAILURE(focusOn(twoBars));
    ASSERT_TRUE(comesToBe(frameOfTwoBars));
    ASSERT_TRUE(showsArea(twoBars));
    camera->command("drop");
    EXPECT_TRUE(comesToBe(originalFrame, 60s));
    EXPECT_TRUE(isInOriginalView());
    const QRect motion = pixelsOf(PictureLayout::motion, originalFrame.size());
    EXPECT_TRUE(screen.changesWithin(motion.translated(originalFrame.topLeft()), 20s));
    // The next area is chosen as if there had been none.
    ASSERT_NO_FATAL_FAILURE(focusOn(twoBars));
    EXPECT_TRUE(comesToBe(frameOfTwoBars));
    EXPECT_TRUE(showsArea(twoBars));
}

/// Cameras that hang turned.
class TurnedAreaTest : public AreaTest, public testing::WithParamInterface<int> {};

TEST_P(TurnedAreaTest, ChosenBarsFillTheWindowToThePixelAndTheButtonGoesBack) {
    ASSERT_TRUE(showCamera(GetParam()));
    const QRect before = viewer->geometry();
    // In the picture as it is seen: the second and the third bar without their outer end.
    const QRect area = [&] {
        switch (GetParam()) {
        case 90:
            return QRect(252, 128, 240, 256);
        case 180:
            return QRect(640, 316, 320, 300);
        default:
            return QRect(12, 512, 240, 256);
        }
    }();
    ASSERT_NO_FATAL_FAILURE(focusOn(area));
    const QSize size(static_cast<int>(std::lround(
                         before.height() * (static_cast<double>(area.width()) / area.height()))),
                     before.height());
    const QRect focused(before.topLeft() + QPoint((before.width() - size.width()) / 2, 0), size);
    EXPECT_TRUE(comesToBe({std::clamp(focused.x(), 0, 1600 - size.width()), focused.y(),
                           size.width(), size.height()}));
    EXPECT_TRUE(showsArea(area));
    ASSERT_NO_FATAL_FAILURE(showOriginalView());
    EXPECT_TRUE(comesToBe(before));
    EXPECT_TRUE(showsWholePicture());
}

INSTANTIATE_TEST_SUITE_P(Quarters, TurnedAreaTest, testing::Values(90, 180, 270));

/// On a screen that is large enough for the default window with two pixels to the point.
class DoubleScaleAreaTest : public AreaFixture {
  protected:
    DoubleScaleAreaTest() : AreaFixture(WindowManager::openbox, QSize(2560, 1600)) { scale = 2; }
};

TEST_F(DoubleScaleAreaTest, ChosenBarsFillTheWindowToThePixelAndTheButtonGoesBack) {
    ASSERT_TRUE(showCamera(0, {{QStringLiteral("QT_SCALE_FACTOR"), QStringLiteral("2")}}));
    const QRect before = viewer->geometry();
    ASSERT_NO_FATAL_FAILURE(focusOn(twoBars));
    EXPECT_TRUE(comesToBe(QRect(before.x() + 478, before.y(), 1284, 1260)));
    EXPECT_TRUE(showsArea(twoBars));
    EXPECT_EQ(viewer->normalHints().minimumSize, QSize(320, 320));
    ASSERT_NO_FATAL_FAILURE(showOriginalView());
    EXPECT_TRUE(comesToBe(before));
    EXPECT_TRUE(pictureFillsTheWindow());
}

} // namespace
} // namespace lumvik::test
