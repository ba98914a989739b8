#include "testcamera/ClockPattern.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace lumvik::test {
namespace {

TEST(ClockPattern, DecodedTimeEqualsTheEncodedTime) {
    for (std::uint64_t time = 0; time <= 0xFFFFFFFFU; time += 99991)
        ASSERT_EQ(ClockPattern::decode(ClockPattern::encode(static_cast<std::uint32_t>(time))),
                  time);
    EXPECT_EQ(ClockPattern::decode(ClockPattern::encode(0xFFFFFFFFU)), 0xFFFFFFFFU);
}

TEST(ClockPattern, BlackOrWhitePictureIsNotDecoded) {
    ClockPattern::Cells cells{};
    EXPECT_FALSE(ClockPattern::decode(cells));
    cells.fill(true);
    EXPECT_FALSE(ClockPattern::decode(cells));
}

TEST(ClockPattern, SingleWrongCellIsAlmostAlwaysRejected) {
    // The first eight cells change only every few hours, so only the other cells can be torn or
    // blended.
    constexpr std::size_t firstLivelyCell = 8;
    int accepted = 0;
    int tried = 0;
    for (std::uint32_t time = 1; time < 4000000000U; time += 3999971U) {
        const ClockPattern::Cells right = ClockPattern::encode(time);
        for (std::size_t n = firstLivelyCell; n < right.size(); ++n) {
            ClockPattern::Cells wrong = right;
            wrong[n] = !wrong[n];
            ++tried;
            accepted += ClockPattern::decode(wrong).has_value() ? 1 : 0;
        }
    }
    EXPECT_LE(accepted * 100, tried);
}

TEST(ClockPattern, PatternWithRowsOfTwoPicturesIsAlmostAlwaysRejected) {
    constexpr std::uint32_t apart = 40;
    constexpr int pairs = 20000;
    int torn = 0;
    int accepted = 0;
    for (int n = 0; n < pairs; ++n) {
        const std::uint32_t time = 5000000U + static_cast<std::uint32_t>(n) * 37U;
        const ClockPattern::Cells first = ClockPattern::encode(time);
        ClockPattern::Cells mixed = ClockPattern::encode(time + apart);
        const ClockPattern::Cells second = mixed;
        std::copy_n(first.begin(), ClockPattern::columns, mixed.begin());
        if (mixed == second)
            continue; // Both pictures have the same upper row, so nothing is torn.
        ++torn;
        accepted += ClockPattern::decode(mixed).has_value() ? 1 : 0;
    }
    EXPECT_GT(torn, 100);
    EXPECT_LE(accepted * 50, torn); // An eight-bit checksum misses one error in 256.
}

TEST(ClockPattern, PatternIsReadFromAPictureOfAnySize) {
    for (const auto &[width, height] :
         {std::pair(1280, 720), std::pair(640, 360), std::pair(333, 187)}) {
        constexpr std::uint32_t time = 0xDEADBEEF;
        const ClockPattern::Cells cells = ClockPattern::encode(time);
        const double top = height - height * ClockPattern::heightShare;
        const auto luma = [&, w = width, h = height](int x, int y) {
            if (y < top)
                return 255;
            const int row = static_cast<int>((y - top) * ClockPattern::rows / (h - top));
            const int column = x * ClockPattern::columns / w;
            return cells[static_cast<std::size_t>(row * ClockPattern::columns + column)] ? 235 : 16;
        };
        EXPECT_EQ(ClockPattern::read(width, height, luma), time) << width;
    }
}

} // namespace
} // namespace lumvik::test
