#include "viewer/PictureZoom.h"

#include <gtest/gtest.h>

#include <limits>

namespace lumvik {
namespace {

constexpr double tolerance = 1e-9;

void expectRect(const QRectF &actual, const QRectF &expected) {
    EXPECT_NEAR(actual.left(), expected.left(), tolerance);
    EXPECT_NEAR(actual.top(), expected.top(), tolerance);
    EXPECT_NEAR(actual.width(), expected.width(), tolerance);
    EXPECT_NEAR(actual.height(), expected.height(), tolerance);
}

/// A picture that fills a view of 800 by 400 points.
class PictureZoomTest : public testing::Test {
  protected:
    PictureZoomTest() { zoom.setSizes({800, 400}, {800, 400}); }
    PictureZoom zoom;
};

TEST_F(PictureZoomTest, ShowsTheWholePictureAtFirst) {
    EXPECT_FALSE(zoom.isMagnified());
    expectRect(zoom.visiblePart(), {0, 0, 1, 1});
    expectRect(zoom.unmagnified({100, 50, 200, 80}), {100, 50, 200, 80});
}

TEST_F(PictureZoomTest, PartUnderThePointerStaysThere) {
    zoom.magnify(2, {200, 100});
    EXPECT_EQ(zoom.magnification(), 2);
    // The point at a quarter of the picture is still at a quarter of the view.
    expectRect(zoom.visiblePart(), {0.125, 0.125, 0.5, 0.5});
    EXPECT_NEAR(zoom.pan().x(), 0.125, tolerance);
    EXPECT_NEAR(zoom.pan().y(), 0.125, tolerance);
    zoom.magnify(2, {200, 100});
    expectRect(zoom.visiblePart(), {0.1875, 0.1875, 0.25, 0.25});
    zoom.magnify(0.25, {200, 100});
    EXPECT_FALSE(zoom.isMagnified());
    EXPECT_EQ(zoom.pan(), QPointF());
}

TEST_F(PictureZoomTest, MagnificationHasLimits) {
    zoom.magnify(0.5, {400, 200});
    EXPECT_EQ(zoom.magnification(), 1);
    zoom.magnify(100, {400, 200});
    EXPECT_EQ(zoom.magnification(), PictureZoom::largestMagnification);
    zoom.magnify(std::numeric_limits<double>::infinity(), {400, 200});
    zoom.magnify(std::numeric_limits<double>::quiet_NaN(), {400, 200});
    zoom.magnify(-1, {400, 200});
    EXPECT_EQ(zoom.magnification(), PictureZoom::largestMagnification);
    for (int step = 0; step < 10; ++step)
        zoom.magnify(1 / 1.25, {400, 200});
    EXPECT_FALSE(zoom.isMagnified()) << "the same number of steps leads back";
}

TEST_F(PictureZoomTest, StepsOutCancelStepsIn) {
    for (int step = 0; step < 5; ++step)
        zoom.magnify(1.25, {123, 77});
    for (int step = 0; step < 5; ++step)
        zoom.magnify(1 / 1.25, {500, 300});
    EXPECT_EQ(zoom.magnification(), 1);
}

TEST_F(PictureZoomTest, MovesUpToTheEdges) {
    zoom.move({50, 50});
    expectRect(zoom.visiblePart(), {0, 0, 1, 1});
    zoom.magnify(2, {400, 200});
    zoom.move({80, -40});
    expectRect(zoom.visiblePart(), {0.2, 0.3, 0.5, 0.5});
    zoom.move({10000, -10000});
    expectRect(zoom.visiblePart(), {0, 0.5, 0.5, 0.5});
}

TEST_F(PictureZoomTest, AreaOnTheScreenIsFoundInTheWholePicture) {
    zoom.magnify(2, {200, 100});
    expectRect(zoom.unmagnified({0, 0, 800, 400}), {100, 50, 400, 200});
    expectRect(zoom.unmagnified({200, 100, 80, 40}), {200, 100, 40, 20});
}

TEST_F(PictureZoomTest, BarsStayUntilThePictureFillsTheView) {
    zoom.setSizes({800, 400}, {400, 400}); // bars of 200 points at the left and at the right
    zoom.magnify(1.5, {0, 0});
    EXPECT_EQ(zoom.pan().x(), 0) << "the picture is narrower than the view";
    expectRect(zoom.visiblePart(), {0, 0, 1, 2.0 / 3});
    zoom.magnify(4.0 / 1.5, {400, 200});
    EXPECT_NEAR(zoom.visiblePart().width(), 0.5, tolerance);
}

TEST_F(PictureZoomTest, PictureThatIsCutAtFirstCanBeMovedCompletely) {
    zoom.setSizes({400, 400}, {800, 400});
    expectRect(zoom.visiblePart(), {0.25, 0, 0.5, 1});
    zoom.magnify(2, {200, 200});
    zoom.move({10000, 0});
    EXPECT_NEAR(zoom.visiblePart().left(), 0, tolerance);
}

TEST_F(PictureZoomTest, SamePartIsShownInAViewOfAnotherSize) {
    zoom.magnify(4, {200, 100});
    const QRectF before = zoom.visiblePart();
    zoom.setSizes({1600, 800}, {1600, 800});
    expectRect(zoom.visiblePart(), before);
    zoom.setSizes({0, 0}, {0, 0});
    expectRect(zoom.visiblePart(), before);
    zoom.reset();
    expectRect(zoom.visiblePart(), {0, 0, 1, 1});
}

TEST(PictureZoom, WithoutAPictureNothingHappens) {
    PictureZoom zoom;
    zoom.magnify(2, {10, 10});
    zoom.move({10, 10});
    EXPECT_FALSE(zoom.isMagnified());
    expectRect(zoom.visiblePart(), {0, 0, 1, 1});
}

} // namespace
} // namespace lumvik
