#include "supervision/FrameIntervals.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

/// Shows `count` frames, one every `interval` seconds. Returns the time of the last one.
TimeStamp showFrames(FrameIntervals &intervals, TimeStamp start, int count, double interval) {
    TimeStamp now = start;
    for (int frame = 0; frame < count; ++frame) {
        now = start + frame * interval;
        intervals.frameWasShown(now);
    }
    return now;
}

TEST(FrameIntervals, AreUnknownBeforeThereAreThree) {
    FrameIntervals intervals;
    EXPECT_EQ(intervals.usual(), 0);
    showFrames(intervals, 10, 3, 0.04);
    EXPECT_EQ(intervals.usual(), 0);
    intervals.frameWasShown(10.12);
    EXPECT_NEAR(intervals.usual(), 0.04, 1e-9);
}

TEST(FrameIntervals, SinglePausesDoNotChangeTheUsualOne) {
    FrameIntervals intervals;
    const TimeStamp last = showFrames(intervals, 0, 20, 0.04);
    showFrames(intervals, last + 7, 10, 0.04);
    EXPECT_NEAR(intervals.usual(), 0.04, 1e-9);
}

TEST(FrameIntervals, FollowANewFrameRateWithinThirtyFrames) {
    FrameIntervals intervals;
    const TimeStamp last = showFrames(intervals, 0, 100, 0.04);
    showFrames(intervals, last + 1, 20, 1);
    EXPECT_NEAR(intervals.usual(), 1, 1e-9);
}

TEST(FrameIntervals, TimeBetweenTwoStreamsIsNotAnInterval) {
    FrameIntervals intervals;
    for (int stream = 0; stream < 10; ++stream) {
        showFrames(intervals, stream * 100, 2, 1);
        intervals.streamHasEnded();
    }
    EXPECT_NEAR(intervals.usual(), 1, 1e-9);
}

TEST(FrameIntervals, AClockThatGoesBackMakesNoNegativeInterval) {
    FrameIntervals intervals;
    for (const TimeStamp now : {10.0, 9.0, 8.0, 7.0})
        intervals.frameWasShown(now);
    EXPECT_EQ(intervals.usual(), 0);
}

} // namespace
} // namespace lumvik::test
