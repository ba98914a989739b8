#include "window/ChosenFrame.h"

#include <gtest/gtest.h>

using namespace lumvik;

namespace {

constexpr QRect chosen(100, 100, 1600, 900);
constexpr QRect shaped(400, 50, 1000, 1000);

} // namespace

TEST(ChosenFrameTest, EveryFrameIsChosenBeforeTheFirstShaping) {
    EXPECT_EQ(ChosenFrame().frameToShape(shaped), shaped);
}

TEST(ChosenFrameTest, ShapedFrameLeadsBackToTheChosenOne) {
    ChosenFrame frame;
    frame.wasShaped(chosen, shaped);
    EXPECT_EQ(frame.frameToShape(shaped), chosen);
    EXPECT_EQ(frame.frameToShape(shaped.adjusted(1, 0, 0, -2)), chosen) << "rounded";
}

TEST(ChosenFrameTest, MovedWindowKeepsItsChosenSize) {
    ChosenFrame frame;
    frame.wasShaped(chosen, shaped);
    const QRect moved = frame.frameToShape(shaped.translated(300, -20));
    EXPECT_EQ(moved.size(), chosen.size());
    EXPECT_EQ(moved.center(), shaped.translated(300, -20).center());
}

TEST(ChosenFrameTest, ResizedWindowHasANewChosenFrame) {
    ChosenFrame frame;
    frame.wasShaped(chosen, shaped);
    const QRect resized(400, 50, 800, 800);
    EXPECT_EQ(frame.frameToShape(resized), resized);
}
