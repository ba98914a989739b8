#include "supervision/PlaybackHealth.h"

#include <gtest/gtest.h>

#include <limits>

namespace lumvik::test {
namespace {

using State = PlaybackSupervisorState;
using Verdict = PlaybackVerdict;

constexpr TimeStamp load = 100;
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

TEST(PlaybackHealth, RunningPlayerInStateStoppedIsReported) {
    EXPECT_EQ(playbackVerdict({.state = State::stopped, .now = load, .lastCameraLoad = load}),
              Verdict::engineStopped);
}

TEST(PlaybackHealth, FirstFrameIsDueEightSecondsAfterTheLoad) {
    const auto verdictAt = [](TimeStamp now) {
        return playbackVerdict({.state = State::starting, .now = now, .lastCameraLoad = load});
    };
    EXPECT_EQ(verdictAt(load), Verdict::healthy);
    EXPECT_EQ(verdictAt(load + 7.999), Verdict::healthy);
    EXPECT_EQ(verdictAt(load + 8), Verdict::noFirstFrame);
    EXPECT_EQ(verdictAt(load + 1000), Verdict::noFirstFrame);
    EXPECT_EQ(verdictAt(notANumber), Verdict::healthy);
}

TEST(PlaybackHealth, FirstFrameIsOverdueIfNothingWasEverLoaded) {
    EXPECT_EQ(playbackVerdict({.state = State::starting,
                               .now = load,
                               .lastCameraLoad = -std::numeric_limits<TimeStamp>::infinity()}),
              Verdict::noFirstFrame);
}

TEST(PlaybackHealth, NextFrameIsDueTenSecondsAfterTheLast) {
    const auto verdictAt = [](TimeStamp now) {
        return playbackVerdict({.state = State::playing,
                                .now = now,
                                .lastCameraLoad = load,
                                .lastFrameRenderedAt = 200});
    };
    EXPECT_EQ(verdictAt(200), Verdict::healthy);
    EXPECT_EQ(verdictAt(209.999), Verdict::healthy);
    EXPECT_EQ(verdictAt(210), Verdict::heartbeatStalled);
    EXPECT_EQ(verdictAt(notANumber), Verdict::healthy);
}

TEST(PlaybackHealth, PlayingWithoutAFrameTimeIsHealthy) {
    EXPECT_EQ(playbackVerdict({.state = State::playing, .now = 1e9, .lastCameraLoad = load}),
              Verdict::healthy);
}

TEST(PlaybackHealth, EndOfStreamIsReportedBeforeTheFrameIsOverdue) {
    EXPECT_EQ(playbackVerdict({.state = State::playing,
                               .now = 201,
                               .lastCameraLoad = load,
                               .lastFrameRenderedAt = 200,
                               .streamHasEnded = true}),
              Verdict::streamEnded);
}

TEST(PlaybackHealth, BackingOffAndSuspendedPlaybackIsHealthy) {
    for (const State state : {State::backingOff, State::suspended}) {
        EXPECT_EQ(playbackVerdict({.state = state,
                                   .now = 1e9,
                                   .lastCameraLoad = load,
                                   .lastFrameRenderedAt = load,
                                   .streamHasEnded = true}),
                  Verdict::healthy);
    }
}

} // namespace
} // namespace lumvik::test
