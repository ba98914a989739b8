#include "engine/VideoFramePacing.h"

#include <gtest/gtest.h>

namespace lumvik {
namespace {

using Verdict = VideoFramePacing::Verdict;

/// Simulates a stream of frames and passes them to a VideoFramePacing, with a simulated clock.
class VideoFramePacingTest : public testing::Test {
  protected:
    static constexpr double drawing = 0.015;  // the time to draw a frame, in seconds
    static constexpr double decoding = 0.004; // the time to decode a frame, in seconds

    /// Announces a frame after `pause` seconds, and draws or drops it as decided.
    Verdict frameAfter(double pause) {
        now += pause;
        const Verdict verdict = pacing.frameAnnounced(now);
        if (verdict == Verdict::draw) {
            now += drawing;
            pacing.frameWasDrawn(now);
        }
        pacing.frameWasShown(now);
        return verdict;
    }

    /// Plays one second of a stream at 25 frames per second, without any delay.
    void playSteadily() {
        for (int n = 0; n < 25; ++n)
            frameAfter(0.04 - drawing);
    }

    VideoFramePacing pacing;
    double now = 1000;
};

TEST_F(VideoFramePacingTest, DrawsEveryFrameOfASteadyStream) {
    playSteadily();
    for (int n = 0; n < 1000; ++n)
        ASSERT_EQ(frameAfter(0.04 - drawing), Verdict::draw);
}

TEST_F(VideoFramePacingTest, DrawsEveryFrameOfAFastStreamThatJustKeepsUp) {
    playSteadily();
    for (int n = 0; n < 1000; ++n)
        ASSERT_EQ(frameAfter(1.0 / 60 - drawing), Verdict::draw);
}

TEST_F(VideoFramePacingTest, DrawsTheFirstFrameAfterAStall) {
    playSteadily();
    EXPECT_EQ(frameAfter(3), Verdict::draw);
}

TEST_F(VideoFramePacingTest, CatchesUpAThreeSecondStallInLessThanOneSecond) {
    playSteadily();
    const double end = now; // the time at which the stream stalled
    frameAfter(3);
    int frames = 1;
    while (frames < (now - end) * 25)
        frameAfter(decoding), ++frames;
    EXPECT_LT(now - (end + 3), 1.0);
}

TEST_F(VideoFramePacingTest, DrawsSomeFramesWhileCatchingUp) {
    playSteadily();
    frameAfter(3);
    int drawn = 0;
    const double start = now;
    while (now < start + 0.5) {
        if (frameAfter(decoding) == Verdict::draw)
            ++drawn;
    }
    EXPECT_GE(drawn, 5);
    EXPECT_LE(drawn, 12);
}

TEST_F(VideoFramePacingTest, DrawsEveryFrameAgainOnceItHasCaughtUp) {
    playSteadily();
    frameAfter(3);
    for (int n = 0; n < 75; ++n)
        frameAfter(decoding);
    for (int n = 0; n < 100; ++n)
        ASSERT_EQ(frameAfter(0.04 - drawing), Verdict::draw);
    // The stream has caught up, so even two frames in quick succession are both drawn.
    EXPECT_EQ(frameAfter(0.001), Verdict::draw);
}

TEST_F(VideoFramePacingTest, NeverCatchesUpForLongerThanTheStall) {
    playSteadily();
    frameAfter(2);
    const double start = now;
    double lastSkip = start;
    while (now < start + 10) {
        if (frameAfter(0.001) == Verdict::skip)
            lastSkip = now;
    }
    EXPECT_LE(lastSkip - start, 2.0);
}

TEST_F(VideoFramePacingTest, NeverCatchesUpForLongerThanFiveSeconds) {
    playSteadily();
    frameAfter(3600);
    const double start = now;
    double lastSkip = start;
    while (now < start + 20) {
        if (frameAfter(0.001) == Verdict::skip)
            lastSkip = now;
    }
    EXPECT_LE(lastSkip - start, VideoFramePacing::longestCatchUp);
}

TEST_F(VideoFramePacingTest, CatchesUpTheBacklogFromBeforeTheFirstFrame) {
    EXPECT_EQ(frameAfter(0), Verdict::draw);
    EXPECT_EQ(frameAfter(0.001), Verdict::skip);
}

} // namespace
} // namespace lumvik
