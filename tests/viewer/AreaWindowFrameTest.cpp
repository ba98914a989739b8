#include "viewer/AreaGeometry.h"

#include <gtest/gtest.h>

#include <random>

namespace lumvik {
namespace {

constexpr QRect frame{100, 100, 800, 450};
constexpr QRect screen{0, 0, 1600, 1000};

TEST(DisplayedRatio, IsTheRatioOfTheRotatedArea) {
    const VideoFocusCrop crop{.x = 0, .y = 0, .width = 640, .height = 360, .sourceSize = {}};
    EXPECT_DOUBLE_EQ(displayedRatio(crop, std::nullopt), 16.0 / 9);
    EXPECT_DOUBLE_EQ(displayedRatio(crop, VideoSourceGeometry{1920, 1080, 0}), 16.0 / 9);
    EXPECT_DOUBLE_EQ(displayedRatio(crop, VideoSourceGeometry{1920, 1080, 90}), 9.0 / 16);
    EXPECT_DOUBLE_EQ(displayedRatio(crop, VideoSourceGeometry{1920, 1080, 180}), 16.0 / 9);
    EXPECT_DOUBLE_EQ(displayedRatio(crop, VideoSourceGeometry{1920, 1080, 270}), 9.0 / 16);
}

TEST(AreaWindowFrame, KeepsTheHeightAndTheCentre) {
    EXPECT_EQ(windowFrameForArea(frame, 1, screen), QRect(275, 100, 450, 450));
    EXPECT_EQ(windowFrameForArea(frame, 2, screen), QRect(50, 100, 900, 450));
}

TEST(AreaWindowFrame, IsNoWiderThanTheScreen) {
    EXPECT_EQ(windowFrameForArea(frame, 4, screen), QRect(0, 125, 1600, 400));
}

TEST(AreaWindowFrame, IsNoHigherThanTheScreen) {
    EXPECT_EQ(windowFrameForArea({0, 0, 800, 1200}, 0.5, screen), QRect(150, 0, 500, 1000));
}

TEST(AreaWindowFrame, IsAtLeast160PointsWideAndHigh) {
    EXPECT_EQ(windowFrameForArea(frame, 0.05, screen), QRect(420, 100, 160, 450));
    EXPECT_EQ(windowFrameForArea(frame, 20, screen), QRect(0, 245, 1600, 160));
}

TEST(AreaWindowFrame, StaysOnTheVisibleArea) {
    constexpr QRect visible{10, 30, 1580, 960};
    EXPECT_EQ(windowFrameForArea({10, 30, 160, 480}, 2, visible), QRect(10, 30, 960, 480));
    EXPECT_EQ(windowFrameForArea({1400, 700, 160, 480}, 1, visible), QRect(1110, 510, 480, 480));
}

TEST(AreaWindowFrame, StartsAtTheCornerOfAScreenThatIsTooSmall) {
    EXPECT_EQ(windowFrameForArea(frame, 1, {20, 40, 100, 100}), QRect(20, 40, 160, 160));
}

TEST(AreaWindowFrame, OfAnyShapeIsWithinTheVisibleArea) {
    std::mt19937_64 generator(7);
    const auto integer = [&](int from, int to) {
        return std::uniform_int_distribution<int>(from, to)(generator);
    };
    for (int count = 0; count < 5000; ++count) {
        const QRect visible(integer(-3000, 3000), integer(-100, 100), integer(160, 4000),
                            integer(160, 2000));
        const QRect before(integer(-4000, 4000), integer(-500, 500), integer(160, 4000),
                           integer(160, 2000));
        const double ratio = integer(1, 2000) / static_cast<double>(integer(1, 2000));
        const QRect focused = windowFrameForArea(before, ratio, visible);
        ASSERT_TRUE(visible.contains(focused)) << count;
        ASSERT_GE(focused.width(), 160) << count;
        ASSERT_GE(focused.height(), 160) << count;
        if (focused.width() > 160 && focused.height() > 160) {
            // The shape of the area, apart from rounding to whole points.
            ASSERT_NEAR(focused.width(), ratio * focused.height(), 1 + ratio) << count;
        }
    }
}

} // namespace
} // namespace lumvik
