#include "window/ShapeCorrection.h"

#include <gtest/gtest.h>

namespace lumvik {
namespace {

constexpr QSize wide{1600, 500};
constexpr QSize tall{500, 900};
constexpr QSize right{1120, 630};
constexpr QSize rightToo{900, 506};

TEST(ShapeCorrection, AsksForNothingWhenTheShapeIsRight) {
    ShapeCorrection correction;
    EXPECT_EQ(correction.sizeToAskFor(right, right), std::nullopt);
}

TEST(ShapeCorrection, AsksOnceForWhatIsRefused) {
    ShapeCorrection correction;
    EXPECT_EQ(correction.sizeToAskFor(wide, right), right);
    EXPECT_EQ(correction.sizeToAskFor(wide, right), std::nullopt);
    EXPECT_EQ(correction.sizeToAskFor(wide, right), std::nullopt);
}

TEST(ShapeCorrection, AsksAgainFromAnotherSize) {
    ShapeCorrection correction;
    EXPECT_EQ(correction.sizeToAskFor(wide, right), right);
    EXPECT_EQ(correction.sizeToAskFor(tall, right), right);
    EXPECT_EQ(correction.sizeToAskFor(tall, rightToo), rightToo) << "another request";
}

TEST(ShapeCorrection, AsksAgainOnceTheShapeWasRight) {
    ShapeCorrection correction;
    EXPECT_EQ(correction.sizeToAskFor(wide, right), right);
    EXPECT_EQ(correction.sizeToAskFor(right, right), std::nullopt);
    EXPECT_EQ(correction.sizeToAskFor(wide, right), right);
}

TEST(ShapeCorrection, AsksAgainAfterAReset) {
    ShapeCorrection correction;
    EXPECT_EQ(correction.sizeToAskFor(wide, right), right);
    correction.reset();
    EXPECT_EQ(correction.sizeToAskFor(wide, right), right);
}

TEST(ShapeCorrection, EndsWhenTheAnswersGoInCircles) {
    ShapeCorrection correction;
    EXPECT_EQ(correction.sizeToAskFor(wide, right), right);
    EXPECT_EQ(correction.sizeToAskFor(tall, rightToo), rightToo);
    EXPECT_EQ(correction.sizeToAskFor(wide, right), std::nullopt);
    EXPECT_EQ(correction.sizeToAskFor(tall, rightToo), std::nullopt);
}

} // namespace
} // namespace lumvik
