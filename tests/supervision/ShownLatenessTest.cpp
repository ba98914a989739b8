#include "supervision/ShownLateness.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

TEST(ShownLateness, IsThatOfTheNewestPictureAsItGrows) {
    ShownLateness lateness;
    EXPECT_EQ(lateness.value(), 0);
    lateness.measured(1, 1, 10);
    EXPECT_EQ(lateness.value(), 1);
    lateness.measured(3, 3, 11);
    EXPECT_EQ(lateness.value(), 3);
    EXPECT_FALSE(lateness.changesAt());
}

TEST(ShownLateness, FallsOnceALaterFrameHasHadTimeToBeShown) {
    ShownLateness lateness;
    lateness.measured(3, 3, 10);
    lateness.frameWasShown(10);
    lateness.measured(0, 0, 11);
    EXPECT_EQ(lateness.value(), 3);
    lateness.timeHasPassed(12);
    EXPECT_EQ(lateness.value(), 3) << "no frame was shown since";
    lateness.frameWasShown(12);
    EXPECT_EQ(lateness.value(), 0);
}

// The first picture is drawn, the others are skipped, and the last one is drawn a little later.
TEST(ShownLateness, PicturesThatArriveTogetherAreShownOneAfterTheOther) {
    ShownLateness lateness;
    lateness.measured(0, 3, 10);
    for (const double now : {10.001, 10.002, 10.003})
        lateness.frameWasShown(now);
    EXPECT_EQ(lateness.value(), 3);
    EXPECT_EQ(lateness.changesAt(), 10.15);
    lateness.timeHasPassed(10.15);
    EXPECT_EQ(lateness.value(), 0);
    EXPECT_FALSE(lateness.changesAt());
}

TEST(ShownLateness, FallsStepByStep) {
    ShownLateness lateness;
    lateness.measured(4, 4, 10);
    double previous = 4;
    for (int step = 1; step <= 40; ++step) {
        const double now = 10 + step * 0.05;
        lateness.measured(4 - step * 0.1, 4 - step * 0.1, now);
        lateness.frameWasShown(now);
        EXPECT_LE(lateness.value(), previous);
        EXPECT_LE(lateness.value(), 4 - step * 0.1 + 0.5);
        previous = lateness.value();
    }
}

TEST(ShownLateness, JitterIsNotKept) {
    ShownLateness lateness;
    lateness.measured(0.2, 0.2, 10);
    lateness.measured(0.01, 0.2, 10.1);
    EXPECT_EQ(lateness.value(), 0.01);
}

TEST(ShownLateness, LastFrameOfAConnectionStaysAsLateAsItWas) {
    ShownLateness lateness;
    lateness.measured(3, 3, 10);
    lateness.frameWasShown(10);
    lateness.connectionWasReplaced();
    lateness.measured(0, 0, 11);
    EXPECT_EQ(lateness.value(), 3);
    lateness.connectionWasReplaced();
    EXPECT_EQ(lateness.value(), 3);
    lateness.frameWasShown(12);
    EXPECT_EQ(lateness.value(), 0);
}

} // namespace
} // namespace lumvik::test
