#include "testcamera/LoopLatency.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

constexpr std::int64_t loop = 4000;

/// Returns the position that a picture captured at `captured` contains.
std::uint32_t positionAt(std::int64_t captured) {
    return static_cast<std::uint32_t>(captured % loop);
}

TEST(LoopLatency, FirstPictureIsTakenToBeYoungerThanTheLoop) {
    for (const std::int64_t late : {0, 45, 1999, 3999})
        EXPECT_EQ(LoopLatency(loop).latency(123'456'789, positionAt(123'456'789 - late)), late);
}

TEST(LoopLatency, LatencyIsFollowedFarBeyondTheLoop) {
    LoopLatency latency(loop);
    // 25 pictures a second are sent, and 15 are shown.
    for (std::int64_t picture = 0; picture < 1500; ++picture) {
        const std::int64_t captured = 1'000'000 + picture * 40;
        const std::int64_t seen = 1'000'050 + picture * 1000 / 15;
        ASSERT_EQ(latency.latency(seen, positionAt(captured)), seen - captured) << picture;
    }
}

TEST(LoopLatency, LatencyFallsWhenThePictureCatchesUp) {
    LoopLatency latency(loop);
    std::int64_t seen = 5'000'000;
    for (const std::int64_t late : {100, 1900, 3600, 5400, 7000, 5100, 3300, 1500}) {
        seen += 500;
        EXPECT_EQ(latency.latency(seen, positionAt(seen - late)), late);
    }
}

TEST(LoopLatency, MisreadPositionDoesNotShiftLaterLatencies) {
    for (std::uint32_t wrong = 0; wrong < loop; wrong += 7) {
        LoopLatency latency(loop);
        ASSERT_EQ(latency.latency(9'000'000, positionAt(9'000'000 - 700)), 700);
        ASSERT_TRUE(latency.latency(9'000'010, wrong));
        // At exactly half a loop, both directions are equally far.
        const auto after = latency.latency(9'000'040, positionAt(9'000'040 - 700));
        ASSERT_TRUE(after == 700 || (wrong == 1310 && after)) << wrong;
    }
}

TEST(LoopLatency, PositionOutsideTheLoopIsIgnored) {
    LoopLatency latency(loop);
    EXPECT_FALSE(latency.latency(50'000, 4000));
    EXPECT_FALSE(latency.latency(50'000, 3'000'000'000));
    EXPECT_EQ(latency.latency(50'000, 1990), 10);
}

TEST(LoopLatency, RestartForgetsTheLatency) {
    LoopLatency latency(loop);
    for (std::int64_t late = 0; late <= 9000; late += 1500)
        ASSERT_EQ(latency.latency(60'000 + late, positionAt(60'000)), late);
    latency.restart();
    EXPECT_EQ(latency.latency(80'000, positionAt(79'980)), 20);
}

} // namespace
} // namespace lumvik::test
