// Tests that an area selected with the pointer fills the window, and that the original view can be
// restored.

#include "system/harness/AreaFixture.h"
#include "system/harness/ColourBars.h"
#include "system/harness/Eventually.h"

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

/// The default window frame, which is centred on the screen.
constexpr QRect originalFrame{240, 185, 1120, 630};
/// The area of the yellow and the cyan bar.
constexpr QRect twoBars{160, 0, 320, 314};
/// The window frame that shows `twoBars`, with the height and the centre of `originalFrame`.
constexpr QRect frameOfTwoBars{479, 185, 642, 630};
/// An area slightly larger than the two bars, with edges at odd pixels. The area includes some
/// white at the left, green at the right, and black at the bottom.
constexpr QRect moreThanTwoBars{155, 3, 331, 319};

class AreaTest : public AreaFixture {
  protected:
    using AreaFixture::AreaFixture;

    [[nodiscard]] testing::AssertionResult isInOriginalView() const {
        if (const auto moved = reachesFrame(originalFrame); !moved)
            return moved;
        if (const auto shown = pictureFillsTheWindow(); !shown)
            return shown;
        if (viewer->normalHints().minimumSize != QSize(480, 270))
            return testing::AssertionFailure() << "the minimum size is wrong";
        return hasShape(pictureSize);
    }
};

TEST_F(AreaTest, ChosenAreaFillsTheWindowAndTheAreaButtonRestoresTheOriginalView) {
    ASSERT_TRUE(showCamera());
    ASSERT_TRUE(reachesFrame(originalFrame));
    ASSERT_NO_FATAL_FAILURE(selectArea(twoBars));
    EXPECT_TRUE(reachesFrame(frameOfTwoBars));
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

TEST_F(AreaTest, AreaIsShownUpToItsEdges) {
    ASSERT_TRUE(showCamera());
    ASSERT_NO_FATAL_FAILURE(selectArea(moreThanTwoBars));
    EXPECT_TRUE(reachesFrame({473, 185, 654, 630}));
    EXPECT_TRUE(showsArea(moreThanTwoBars));
    // A second area must be taken from the whole picture, not from the first area.
    ASSERT_NO_FATAL_FAILURE(showOriginalView());
    ASSERT_TRUE(isInOriginalView());
    const QRect ramp(700, 504, 300, 126);
    ASSERT_NO_FATAL_FAILURE(selectArea(ramp));
    EXPECT_TRUE(showsArea(ramp));
}

TEST_F(AreaTest, DragInAnyDirectionChoosesTheSameArea) {
    ASSERT_TRUE(showCamera());
    ASSERT_NO_FATAL_FAILURE(beginSelection());
    dragWithoutRelease({480, 314}, {160, 0});
    pointer.release();
    movePointerAway();
    EXPECT_TRUE(reachesFrame(frameOfTwoBars));
    EXPECT_TRUE(showsArea(twoBars));
}

TEST_F(AreaTest, WindowStaysWithinTheScreen) {
    ASSERT_TRUE(showCamera());
    // This window frame touches the right edge of the screen and avoids the corner where the
    // pointer rests.
    const QRect atTheEdge(480, 300, 1120, 630);
    moveWindow(atTheEdge.topLeft());
    ASSERT_TRUE(reachesFrame(atTheEdge));
    // An area with the aspect ratio 2:1 makes the window 140 pixels wider. The screen has no room
    // to the right of the window, so the window grows only to the left.
    const QRect wide(160, 100, 320, 160);
    ASSERT_NO_FATAL_FAILURE(selectArea(wide));
    EXPECT_TRUE(reachesFrame({340, 300, 1260, 630}));
    EXPECT_TRUE(showsArea(wide));
    ASSERT_NO_FATAL_FAILURE(showOriginalView());
    ASSERT_TRUE(reachesFrame(atTheEdge));
    ASSERT_TRUE(pictureFillsTheWindow());
    // At the height of the window this area would be wider than the screen, so the window becomes
    // exactly as wide as the screen.
    const QRect strip(160, 100, 640, 160);
    ASSERT_NO_FATAL_FAILURE(selectArea(strip));
    EXPECT_TRUE(reachesFrame({0, 415, 1600, 400}));
    EXPECT_TRUE(showsArea(strip));
}

TEST_F(AreaTest, WindowShowingAnAreaCanBeResizedToAnyShape) {
    ASSERT_TRUE(showCamera());
    ASSERT_NO_FATAL_FAILURE(selectArea(twoBars));
    ASSERT_TRUE(reachesFrame(frameOfTwoBars));
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
        << "the window loses the size that the user chose";

    ASSERT_NO_FATAL_FAILURE(showOriginalView());
    EXPECT_TRUE(isInOriginalView());
}

TEST_F(AreaTest, RightClickTogglesBetweenAreaAndWholePictureInTheSameWindowFrame) {
    ASSERT_TRUE(showCamera());
    ASSERT_NO_FATAL_FAILURE(selectArea(twoBars));
    ASSERT_TRUE(reachesFrame(frameOfTwoBars));
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
    // The area button must restore the original view even while the window shows the whole picture.
    pointer.moveTo(frameOfTwoBars.center());
    pointer.click(Pointer::Button::right);
    ASSERT_NO_FATAL_FAILURE(showOriginalView());
    EXPECT_TRUE(isInOriginalView());
}

TEST_F(AreaTest, AreaOutlivesANewConnectionButNotAnotherSize) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    ASSERT_NO_FATAL_FAILURE(selectArea(twoBars));
    ASSERT_TRUE(reachesFrame(frameOfTwoBars));
    ASSERT_TRUE(showsArea(twoBars));
    const qsizetype mark = viewer->logMark();
    camera->command("drop");
    ASSERT_TRUE(viewer->waitForLog(u"default"_s, u"playback"_s,
                                   u"Live video frames resumed for player generation .*"_s, 60s,
                                   mark));
    EXPECT_TRUE(reachesFrame(frameOfTwoBars));
    EXPECT_TRUE(showsArea(twoBars));
    // In a picture of another size, the area would be another one.
    camera->command("size 640x360");
    camera->command("drop");
    EXPECT_TRUE(reachesFrame(originalFrame, 60s));
    EXPECT_TRUE(pictureFillsTheWindow());
    camera->command("size 1120x630");
    camera->command("drop");
    EXPECT_TRUE(eventually(60s, [this] { return bool{isInOriginalView()}; }));
    const QRect motion = pixelsOf(PictureLayout::motion, originalFrame.size());
    EXPECT_TRUE(screen.changesWithin(motion.translated(originalFrame.topLeft()), 20s));
    // The next selection must not depend on the previous area.
    ASSERT_NO_FATAL_FAILURE(selectArea(twoBars));
    EXPECT_TRUE(reachesFrame(frameOfTwoBars));
    EXPECT_TRUE(showsArea(twoBars));
}

TEST_F(AreaTest, RememberedAreaIsShownAfterARestart) {
    home.setPreference(u"remembersArea"_s, u"true"_s);
    ASSERT_TRUE(showCamera());
    ASSERT_NO_FATAL_FAILURE(selectArea(twoBars));
    ASSERT_TRUE(reachesFrame(frameOfTwoBars));
    ASSERT_TRUE(showsArea(twoBars));
    endViewer();
    startViewer();
    ASSERT_TRUE(viewer->waitForLiveVideo());
    EXPECT_TRUE(reachesFrame(frameOfTwoBars));
    EXPECT_TRUE(showsArea(twoBars));
    pointer.moveTo(frameOfTwoBars.center());
    ASSERT_NO_FATAL_FAILURE(showOriginalView());
    EXPECT_TRUE(isInOriginalView());
}

/// Uses a camera that reports a rotation of 90, 180 or 270 degrees.
class RotatedAreaTest : public AreaTest, public testing::WithParamInterface<int> {};

TEST_P(RotatedAreaTest, ChosenAreaFillsTheWindowAndTheAreaButtonRestoresTheOriginalView) {
    ASSERT_TRUE(showCamera(GetParam()));
    const QRect before = viewer->geometry();
    // The area contains the second and the third bar without their outer ends, in coordinates of
    // the displayed picture.
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
    ASSERT_NO_FATAL_FAILURE(selectArea(area));
    const QSize size(static_cast<int>(std::lround(
                         before.height() * (static_cast<double>(area.width()) / area.height()))),
                     before.height());
    const QRect focused(before.topLeft() + QPoint((before.width() - size.width()) / 2, 0), size);
    EXPECT_TRUE(reachesFrame({std::clamp(focused.x(), 0, 1600 - size.width()), focused.y(),
                              size.width(), size.height()}));
    EXPECT_TRUE(showsArea(area));
    ASSERT_NO_FATAL_FAILURE(showOriginalView());
    EXPECT_TRUE(reachesFrame(before));
    EXPECT_TRUE(showsWholePicture());
}

INSTANTIATE_TEST_SUITE_P(Quarters, RotatedAreaTest, testing::Values(90, 180, 270));

/// Uses a screen that is large enough for the default window at two pixels per point.
class DoubleScaleAreaTest : public AreaFixture {
  protected:
    DoubleScaleAreaTest() : AreaFixture(WindowManager::openbox, QSize(2560, 1600)) { scale = 2; }
};

TEST_F(DoubleScaleAreaTest, ChosenAreaFillsTheWindowAndTheAreaButtonRestoresTheOriginalView) {
    ASSERT_TRUE(showCamera(0, {{QStringLiteral("QT_SCALE_FACTOR"), QStringLiteral("2")}}));
    const QRect before = viewer->geometry();
    ASSERT_NO_FATAL_FAILURE(selectArea(twoBars));
    EXPECT_TRUE(reachesFrame(QRect(before.x() + 478, before.y(), 1284, 1260)));
    EXPECT_TRUE(showsArea(twoBars));
    EXPECT_EQ(viewer->normalHints().minimumSize, QSize(320, 320));
    ASSERT_NO_FATAL_FAILURE(showOriginalView());
    EXPECT_TRUE(reachesFrame(before));
    EXPECT_TRUE(pictureFillsTheWindow());
}

} // namespace
} // namespace lumvik::test
