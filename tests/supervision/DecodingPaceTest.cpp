#include "supervision/DecodingPace.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <vector>

namespace lumvik::test {
namespace {

/// Two seconds of a stream, between two ticks of the watchdog.
struct Span {
    double queued = 1;       // at the end of the span, in seconds
    double runningShare = 1; // of the decoding thread
    double waitingShare = 0; // of the decoding thread, which waits for a core
    double speed = 0.6;      // seconds of video per second
};

constexpr Span tooSlow{};
constexpr Span keepsUp{.queued = 0.04, .runningShare = 0.5, .speed = 1};
constexpr Span catchesUp{.queued = 1, .runningShare = 1, .speed = 1.3};
constexpr Span slowNetwork{.queued = 0, .runningShare = 0.3, .speed = 0.6};
constexpr Span burstOfASlowNetwork{.queued = 0.9, .runningShare = 0.6, .speed = 0.8};
constexpr Span slowDrawing{.queued = 1, .runningShare = 0.7, .waitingShare = 0.1};
constexpr Span busyMachine{.queued = 1, .runningShare = 0.6, .waitingShare = 0.4};
constexpr Span overloadedMachine{.queued = 1, .runningShare = 0.2, .waitingShare = 0.8};
constexpr Span nothingDrawn{.queued = 1, .runningShare = 1, .speed = 0};

/// Passes the vitals at the end of each span to `pace` and returns after how many spans the stream
/// was too slow for one thread, or 0.
int spansUntilTooSlow(DecodingPace &pace, const std::vector<Span> &spans) {
    DecodingVitals vitals{.now = 1000, .thread = {.running = 7, .waiting = 3}, .position = 3600};
    for (std::size_t n = 0; n < spans.size(); ++n) {
        vitals.now += 2;
        vitals.queued = spans[n].queued;
        vitals.thread.running += 2 * spans[n].runningShare;
        vitals.thread.waiting += 2 * spans[n].waitingShare;
        vitals.position += 2 * spans[n].speed;
        if (pace.slowSpeed(vitals))
            return static_cast<int>(n) + 1;
    }
    return 0;
}

int spansUntilTooSlow(const std::vector<Span> &spans) {
    DecodingPace pace;
    return spansUntilTooSlow(pace, spans);
}

std::vector<Span> repeated(const Span &span, std::size_t count) {
    return std::vector<Span>(count, span);
}

TEST(DecodingPace, StreamIsTooSlowAfterSixSecondsBetweenTheFirstAndTheLastLook) {
    EXPECT_EQ(spansUntilTooSlow(repeated(tooSlow, 10)), 4);
}

TEST(DecodingPace, HealthyOrUnclearStreamsAreNeverTooSlow) {
    for (const Span &span : {keepsUp, catchesUp, slowNetwork, burstOfASlowNetwork, slowDrawing,
                             overloadedMachine, nothingDrawn})
        EXPECT_EQ(spansUntilTooSlow(repeated(span, 1000)), 0)
            << span.queued << ' ' << span.runningShare << ' ' << span.speed;
}

TEST(DecodingPace, EachConditionHasItsLimit) {
    struct Case {
        Span span;
        bool isTooSlow;
    };
    for (const Case &each :
         {Case{{.queued = 0.51}, true}, Case{{.queued = 0.49}, false},
          Case{{.runningShare = 0.86}, true}, Case{{.runningShare = 0.84}, false},
          Case{{.speed = 1.01}, true}, Case{{.speed = 1.03}, false}, Case{{.speed = 0.1}, true}})
        EXPECT_EQ(spansUntilTooSlow(repeated(each.span, 4)) == 4, each.isTooSlow)
            << each.span.queued << ' ' << each.span.runningShare << ' ' << each.span.speed;
}

TEST(DecodingPace, SingleHealthyLookEndsTheProof) {
    for (const Span &span :
         {keepsUp, catchesUp, slowNetwork, burstOfASlowNetwork, slowDrawing, nothingDrawn}) {
        std::vector<Span> spans = repeated(tooSlow, 3);
        spans.push_back(span);
        spans.insert(spans.end(), 2, tooSlow);
        EXPECT_EQ(spansUntilTooSlow(spans), 0) << span.queued << ' ' << span.runningShare;
    }
}

TEST(DecodingPace, BusyMachineNeedsALongerProof) {
    EXPECT_EQ(spansUntilTooSlow(repeated(busyMachine, 30)), 16) << "thirty seconds";
    std::vector<Span> spans = repeated(busyMachine, 10);
    spans.push_back(catchesUp);
    spans.insert(spans.end(), 14, busyMachine);
    EXPECT_EQ(spansUntilTooSlow(spans), 0) << "the machine is idle in between";
    EXPECT_EQ(spansUntilTooSlow(repeated({.runningShare = 0.49, .waitingShare = 0.51}, 100)), 0);
}

TEST(DecodingPace, FreeCoreOnABusyMachineShortensTheProof) {
    std::vector<Span> spans = repeated(overloadedMachine, 5);
    spans.insert(spans.end(), 5, tooSlow);
    EXPECT_EQ(spansUntilTooSlow(spans), 8);
}

TEST(DecodingPace, BurstAfterANetworkStallIsNotMistaken) {
    // The thread is 1.1 times as fast as the stream, so that it needs half a minute to catch up
    // with a stall of three seconds.
    std::vector<Span> spans = repeated(keepsUp, 5);
    spans.push_back({.queued = 0, .runningShare = 0, .speed = 0});
    spans.insert(spans.end(), 15, Span{.queued = 1, .runningShare = 1, .speed = 1.1});
    spans.insert(spans.end(), 5, keepsUp);
    EXPECT_EQ(spansUntilTooSlow(spans), 0);
}

TEST(DecodingPace, StreamThatBecomesTooSlowAfterCatchingUpIsFound) {
    std::vector<Span> spans = repeated(catchesUp, 8);
    spans.insert(spans.end(), 6, tooSlow);
    EXPECT_GT(spansUntilTooSlow(spans), 8);
}

TEST(DecodingPace, JumpsOverOmittedPicturesAreNoProgress) {
    for (const bool areReported : {true, false}) {
        DecodingPace pace;
        DecodingVitals vitals{.queued = 1};
        int looks = 0;
        std::optional<double> speed;
        while (!speed && looks < 20) {
            ++looks;
            vitals.now += 2;
            vitals.thread.running += 2;
            vitals.position += looks % 2 == 0 ? 3.2 : 0.8; // on average the speed of the stream
            vitals.omissions += areReported && looks % 2 == 0 ? 1 : 0;
            speed = pace.slowSpeed(vitals);
        }
        EXPECT_EQ(looks, areReported ? 4 : 20);
        EXPECT_EQ(speed.has_value(), areReported);
        EXPECT_LT(speed.value_or(0), 1);
    }
}

TEST(DecodingPace, CameraThatSetsItsClockStartsTheProofAgain) {
    DecodingPace pace;
    DecodingVitals vitals{.queued = 1};
    int looks = 0;
    for (const double position : {100.0, 101.0, 102.0, 5.0, 6.0, 7.0, 8.0}) {
        vitals.now += 2;
        vitals.thread.running += 2;
        vitals.position = position;
        EXPECT_EQ(pace.slowSpeed(vitals).has_value(), ++looks == 7) << position;
    }
}

TEST(DecodingPace, RestartForgetsEverything) {
    DecodingPace pace;
    EXPECT_EQ(spansUntilTooSlow(pace, repeated(tooSlow, 3)), 0);
    pace.restart();
    EXPECT_EQ(spansUntilTooSlow(pace, repeated(tooSlow, 3)), 0);
}

TEST(DecodingPace, ValuesThatAreNoNumbersProveNothing) {
    const double none = std::numeric_limits<double>::quiet_NaN();
    for (const Span &span : {Span{.queued = none}, Span{.runningShare = none}, Span{.speed = none}})
        EXPECT_EQ(spansUntilTooSlow(repeated(span, 20)), 0);
}

TEST(DecodingPace, SpeedIsThatOfARunningThread) {
    struct Case {
        Span span;
        double speed;
    };
    for (const Case &each : {Case{{.speed = 0.6}, 0.6}, Case{{.speed = 0.3}, 0.3},
                             Case{{.runningShare = 0.9, .speed = 0.72}, 0.8},
                             Case{{.runningShare = 0.5, .waitingShare = 0.5, .speed = 0.6}, 1.2}}) {
        DecodingPace pace;
        DecodingVitals vitals{.queued = 1};
        std::optional<double> speed;
        for (int look = 0; look < 16 && !speed; ++look) {
            vitals.now += 2;
            vitals.thread.running += 2 * each.span.runningShare;
            vitals.thread.waiting += 2 * each.span.waitingShare;
            vitals.position += 2 * each.span.speed;
            speed = pace.slowSpeed(vitals);
        }
        EXPECT_NEAR(speed.value_or(0), each.speed, 1e-9);
    }
}

TEST(DecodingPace, ThreadsSufficeForTheStreamAndTheCores) {
    struct Case {
        double speed;
        int cores;
        int threads;
    };
    for (const Case &each :
         {Case{0.6, 0, 1}, Case{0.6, 1, 1}, Case{0.6, 2, 2}, Case{0.6, 64, 2}, Case{1.0, 64, 2},
          Case{1.5, 64, 2}, Case{0.56, 64, 2}, Case{0.55, 64, 3}, Case{0.3, 64, 4}, Case{0.3, 2, 2},
          Case{0.01, 64, 16}, Case{0, 8, 8}})
        EXPECT_EQ(decodingThreadsFor(each.speed, each.cores), each.threads)
            << each.speed << ' ' << each.cores;
}

} // namespace
} // namespace lumvik::test
