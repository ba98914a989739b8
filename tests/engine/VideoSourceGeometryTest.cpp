#include "engine/VideoSourceGeometry.h"

#include <gtest/gtest.h>

#include <limits>

namespace lumvik {
namespace {

TEST(VideoSourceGeometry, RequiresAWidthAndAHeight) {
    EXPECT_TRUE(videoSourceGeometry(1, 1, 0).has_value());
    EXPECT_FALSE(videoSourceGeometry(0, 1080, 0).has_value());
    EXPECT_FALSE(videoSourceGeometry(1920, 0, 0).has_value());
    EXPECT_FALSE(videoSourceGeometry(-1920, 1080, 0).has_value());
    EXPECT_FALSE(videoSourceGeometry(1920, -1, 0).has_value());
}

TEST(VideoSourceGeometry, NormalisesTheRotation) {
    struct Row {
        std::int64_t reported;
        int normalised;
    };
    for (const Row row : {Row{0, 0}, Row{90, 90}, Row{359, 359}, Row{360, 0}, Row{450, 90},
                          Row{-90, 270}, Row{-360, 0}, Row{-450, 270}, Row{-1, 359}}) {
        const auto geometry = videoSourceGeometry(1920, 1080, row.reported);
        ASSERT_TRUE(geometry.has_value()) << row.reported;
        EXPECT_EQ(geometry->rotation, row.normalised) << row.reported;
    }
    EXPECT_GE(videoSourceGeometry(1, 1, std::numeric_limits<std::int64_t>::min())->rotation, 0);
}

TEST(VideoSourceGeometry, KeepsTheReportedSizeAndSwapsOnlyTheDisplayedOne) {
    const auto rotated = videoSourceGeometry(1920, 1080, 90);
    EXPECT_EQ(rotated, (VideoSourceGeometry{1920, 1080, 90}));
    EXPECT_EQ(rotated->displayedWidth(), 1080);
    EXPECT_EQ(rotated->displayedHeight(), 1920);
    EXPECT_TRUE(videoSourceGeometry(1920, 1080, -90)->isTurned());
    for (const int rotation : {0, 45, 89, 91, 180, 269, 271})
        EXPECT_FALSE(videoSourceGeometry(1920, 1080, rotation)->isTurned()) << rotation;
}

TEST(VideoSourceGeometry, DisplaysPixelsThatAreNotSquareAsTheyAreMeant) {
    const auto wide = videoSourceGeometry(704, 576, 0, 12.0 / 11);
    EXPECT_EQ(wide->displayedWidth(), 768);
    EXPECT_EQ(wide->displayedHeight(), 576);
    const auto narrow = videoSourceGeometry(720, 480, 90, 8.0 / 9);
    EXPECT_EQ(narrow->displayedWidth(), 540);
    EXPECT_EQ(narrow->displayedHeight(), 720);
    EXPECT_EQ(aspectRatioToApply(*wide, {}), 768.0 / 576);
    for (const double damaged : {0.0, -1.0, 1e9, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(videoSourceGeometry(704, 576, 0, damaged)->pixelRatio, 1);
}

TEST(AspectRatioToApply, IsTheDisplayedWidthDividedByTheHeight) {
    EXPECT_EQ(aspectRatioToApply({1920, 1080, 0}, {}), 1920.0 / 1080.0);
    EXPECT_EQ(aspectRatioToApply({1920, 1080, 90}, {}), 1080.0 / 1920.0);
    EXPECT_EQ(aspectRatioToApply({1920, 1080, 180}, {}), 1920.0 / 1080.0);
}

TEST(AspectRatioToApply, RangesFromAQuarterToFourInclusive) {
    EXPECT_EQ(aspectRatioToApply({4000, 1000, 0}, {}), 4.0);
    EXPECT_EQ(aspectRatioToApply({1000, 4000, 0}, {}), 0.25);
    EXPECT_EQ(aspectRatioToApply({4001, 1000, 0}, {}), std::nullopt);
    EXPECT_EQ(aspectRatioToApply({1000, 4001, 0}, {}), std::nullopt);
    EXPECT_EQ(aspectRatioToApply({4500, 1000, 0}, {}), std::nullopt);
    EXPECT_EQ(aspectRatioToApply({4500, 1000, 90}, {}), std::nullopt);
}

TEST(AspectRatioToApply, IsOmittedIfItHardlyDiffersFromTheAppliedRatio) {
    EXPECT_EQ(aspectRatioToApply({1600, 1000, 0}, 1.6), std::nullopt);
    EXPECT_EQ(aspectRatioToApply({1600, 1000, 0}, 1.6009), std::nullopt);
    EXPECT_EQ(aspectRatioToApply({1600, 1000, 0}, 1.5991), std::nullopt);
    EXPECT_EQ(aspectRatioToApply({1600, 1000, 0}, 1.6011), 1.6);
    EXPECT_EQ(aspectRatioToApply({1600, 1000, 0}, 1.5989), 1.6);
}

} // namespace
} // namespace lumvik
