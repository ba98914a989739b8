#include "window/ShapeCorrection.h"

#include <gtest/gtest.h>

namespace lumvik {
namespace {

constexpr QSize wide{1600, 500};
constexpr QSize tall{500, 900};
constexpr QSize right{1120, 630};
constexpr QSize alsoRight{900, 506};

TEST(ShapeCorrection, RequestsNothingIfTheSizeIsRight) {
    ShapeCorrection correction;
    EXPECT_EQ(correction.sizeToAskFor(right, right), std::nullopt);
}

TEST(ShapeCorrection, RequestsARefusedSizeOnlyOnce) {
    ShapeCorrection correction;
    EXPECT_EQ(correction.sizeToAskFor(wide, right), right);
    EXPECT_EQ(correction.sizeToAskFor(wide, right), std::nullopt);
    EXPECT_EQ(correction.sizeToAskFor(wide, right), std::nullopt);
}

TEST(ShapeCorrection, RequestsAgainFromAnotherSize) {
    ShapeCorrection correction;
    EXPECT_EQ(correction.sizeToAskFor(wide, right), right);
    EXPECT_EQ(correction.sizeToAskFor(tall, right), right);
    EXPECT_EQ(correction.sizeToAskFor(tall, alsoRight), alsoRight)
        << "a different size is requested";
}

TEST(ShapeCorrection, RequestsAgainAfterTheSizeWasRight) {
    ShapeCorrection correction;
    EXPECT_EQ(correction.sizeToAskFor(wide, right), right);
    EXPECT_EQ(correction.sizeToAskFor(right, right), std::nullopt);
    EXPECT_EQ(correction.sizeToAskFor(wide, right), right);
}

TEST(ShapeCorrection, RequestsAgainAfterAReset) {
    ShapeCorrection correction;
    EXPECT_EQ(correction.sizeToAskFor(wide, right), right);
    correction.reset();
    EXPECT_EQ(correction.sizeToAskFor(wide, right), right);
}

TEST(ShapeCorrection, StopsWhenTheWindowManagerCyclesThroughSizes) {
    ShapeCorrection correction;
    EXPECT_EQ(correction.sizeToAskFor(wide, right), right);
    EXPECT_EQ(correction.sizeToAskFor(tall, alsoRight), alsoRight);
    EXPECT_EQ(correction.sizeToAskFor(wide, right), std::nullopt);
    EXPECT_EQ(correction.sizeToAskFor(tall, alsoRight), std::nullopt);
}

} // namespace
} // namespace lumvik
