#include "window/ContentAspectRatio.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace lumvik {
namespace {

constexpr QSize minimum{480, 270};
constexpr QSize screenSize{1600, 1000};

TEST(SizeWithAspectRatio, KeepsASizeThatAlreadyHasTheRatio) {
    EXPECT_EQ(sizeWithAspectRatio({1120, 630}, {16, 9}, minimum, screenSize), QSize(1120, 630));
    EXPECT_EQ(sizeWithAspectRatio({1121, 630}, {16, 9}, minimum, screenSize), QSize(1121, 630))
        << "a deviation of one pixel is tolerated";
}

TEST(SizeWithAspectRatio, KeepsEverySizeIfTheRatioIsEmpty) {
    EXPECT_EQ(sizeWithAspectRatio({500, 500}, {}, minimum, screenSize), QSize(500, 500));
    EXPECT_EQ(sizeWithAspectRatio({500, 500}, {16, 0}, minimum, screenSize), QSize(500, 500));
}

TEST(SizeWithAspectRatio, KeepsTheArea) {
    EXPECT_EQ(sizeWithAspectRatio({1120, 630}, {4, 3}, minimum, screenSize), QSize(970, 727));
}

TEST(SizeWithAspectRatio, ReturnsToTheFirstSizeWhenTheRatioIsRestored) {
    const QSize narrow = sizeWithAspectRatio({1120, 630}, {4, 3}, minimum, screenSize);
    EXPECT_EQ(sizeWithAspectRatio(narrow, {16, 9}, minimum, screenSize), QSize(1120, 630));
}

TEST(SizeWithAspectRatio, StaysWithinTheScreen) {
    EXPECT_EQ(sizeWithAspectRatio({1600, 900}, {9, 16}, minimum, screenSize), QSize(563, 1000));
}

TEST(SizeWithAspectRatio, StaysAboveTheMinimum) {
    EXPECT_EQ(sizeWithAspectRatio({480, 270}, {9, 16}, minimum, screenSize), QSize(480, 853));
    EXPECT_EQ(sizeWithAspectRatio({480, 270}, {4, 1}, minimum, screenSize), QSize(1080, 270));
}

TEST(SizeWithAspectRatio, HasTheRatioForEverySizeWithinTheLimits) {
    std::mt19937 random(1);
    const auto number = [&](int from, int to) {
        return std::uniform_int_distribution(from, to)(random);
    };
    for (int n = 0; n < 20000; ++n) {
        const ContentAspectRatio ratio{number(1, 4), number(1, 4)};
        const QSize size(number(1, 5000), number(1, 5000));
        const QSize shaped = sizeWithAspectRatio(size, ratio, {160, 160}, {4000, 4000});
        const double quotient = static_cast<double>(ratio.width) / ratio.height;
        const bool fits = std::abs(shaped.width() - shaped.height() * quotient) <= 1.0 ||
                          std::abs(shaped.height() - shaped.width() / quotient) <= 1.0;
        ASSERT_TRUE(fits) << size.width() << "x" << size.height() << " -> " << shaped.width() << "x"
                          << shaped.height();
    }
}

TEST(SmallestSizeOnScreen, IsTheWantedOneUnlessTheWindowWouldNotFit) {
    const QSize wanted(480, 270);
    EXPECT_EQ(smallestSizeOnScreen(wanted, {16, 9}, {1366, 768}), wanted);
    EXPECT_EQ(smallestSizeOnScreen(wanted, {}, {1366, 768}), wanted);
    EXPECT_EQ(smallestSizeOnScreen(wanted, {9, 16}, {1366, 768}), QSize(432, 270));
    EXPECT_EQ(smallestSizeOnScreen(wanted, {9, 16}, {1600, 1000}), wanted);
    EXPECT_EQ(smallestSizeOnScreen(wanted, {4, 1}, {1000, 900}), QSize(480, 250));
    EXPECT_EQ(smallestSizeOnScreen(wanted, {9, 16}, {}), wanted) << "no screen is known";
}

} // namespace
} // namespace lumvik
