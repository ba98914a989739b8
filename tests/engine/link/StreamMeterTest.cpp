#include "engine/link/StreamMeter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

constexpr StreamMeter::TimePoint start{1000s};

EngineData packet(std::uint8_t channel, std::uint32_t timeStamp, qsizetype size) {
    return {QByteArray(size, 'x'), EngineData::VideoPacket{channel, timeStamp, false}};
}

TEST(StreamMeter, MeasuresNothingBeforeThereIsVideo) {
    StreamMeter meter;
    meter.take({QByteArray("RTSP/1.0 200 OK")}, start);
    EXPECT_FALSE(meter.measure(0s, start));
}

TEST(StreamMeter, MeasuresFourTimesASecond) {
    StreamMeter meter;
    int measurements = 0;
    for (int picture = 0; picture < 100; ++picture) {
        const auto now = start + picture * 40ms;
        meter.take(packet(0, static_cast<std::uint32_t>(picture * 3600), 1000), now);
        measurements += meter.measure(0s, now) ? 1 : 0;
    }
    EXPECT_GE(measurements, 13);
    EXPECT_LE(measurements, 16);
}

// Otherwise the first picture after the pause would look live for a moment.
TEST(StreamMeter, PauseOfTheNetworkIsMeasuredAtOnce) {
    StreamMeter meter;
    meter.take(packet(0, 0, 1000), start);
    ASSERT_TRUE(meter.measure(0s, start));
    meter.take(packet(0, 3600, 1000), start + 240ms);
    EXPECT_FALSE(meter.measure(0s, start + 240ms));
    meter.take(packet(0, 7200, 1000), start + 2240ms);
    ASSERT_TRUE(meter.measure(0s, start + 2240ms));
    meter.take(packet(0, 10800, 1000), start + 4240ms);
    const auto measure = meter.measure(0s, start + 4240ms);
    ASSERT_TRUE(measure);
    meter.take(packet(0, 14400, 1000), start + 4241ms);
    EXPECT_TRUE(meter.measure(0s, start + 4241ms)) << "the late picture is complete";
    meter.take(packet(0, 18000, 1000), start + 4242ms);
    EXPECT_FALSE(meter.measure(0s, start + 4242ms)) << "the lateness has hardly changed";
    EXPECT_TRUE(meter.measure(1s, start + 4242ms)) << "the engine has fallen behind";
    EXPECT_FALSE(meter.measure(900ms, start + 4342ms));
    EXPECT_TRUE(meter.measure(0s, start + 4442ms)) << "the engine has caught up";
}

TEST(StreamMeter, CountsPicturesAndBitsOfTheFirstTrack) {
    StreamMeter meter;
    std::optional<StreamMeasure> last;
    for (int picture = 0; picture < 100; ++picture) {
        const auto now = start + picture * 40ms;
        const auto timeStamp = static_cast<std::uint32_t>(picture * 3600);
        for (int part = 0; part < 2; ++part)
            meter.take(packet(0, timeStamp, 500), now);
        meter.take(packet(2, timeStamp + 7, 9000), now);
        if (const auto measure = meter.measure(0s, now))
            last = measure;
    }
    ASSERT_TRUE(last);
    EXPECT_NEAR(last->picturesPerSecond, 25, 1.5);
    EXPECT_NEAR(last->bitsPerSecond, 25 * 1000 * 8, 12'000);
    EXPECT_LT(last->lateness, 0.01);
}

TEST(StreamMeter, WaitForTheEngineIsLateness) {
    StreamMeter meter;
    meter.take(packet(0, 0, 1000), start);
    const auto measure = meter.measure(700ms, start);
    ASSERT_TRUE(measure);
    EXPECT_NEAR(measure->lateness, 0.7, 1e-6);
}

// The true rate is known from the reports, so that a slow growth is believed at once.
TEST(StreamMeter, ReportsOfTheTrackAreUsed) {
    for (const std::uint8_t reported : std::initializer_list<std::uint8_t>{0, 2}) {
        StreamMeter meter;
        double lateness = 0;
        for (int picture = 0; picture < 400; ++picture) {
            // From the 200th picture on, each one arrives 20 ms later than its predecessor did.
            const auto now = start + picture * 100ms + std::max(picture - 200, 0) * 20ms;
            const auto timeStamp = static_cast<std::uint32_t>(picture * 9000);
            meter.take(packet(0, timeStamp, 1000), now);
            if (picture % 50 == 0)
                meter.take(
                    {QByteArray("report"), std::nullopt,
                     EngineData::SenderReport{
                         reported, static_cast<std::uint64_t>(picture) * 429'496'730, timeStamp}},
                    now);
            if (const auto measure = meter.measure(0s, now))
                lateness = measure->lateness;
        }
        if (reported == 0)
            EXPECT_NEAR(lateness, 4, 0.2);
        else
            EXPECT_LT(lateness, 0.1) << "the reports are those of another track";
    }
}

TEST(StreamMeter, ReportsWhenPicturesHaveArrived) {
    StreamMeter meter;
    EngineData middle = packet(0, 0, 100);
    EngineData last = middle;
    last.bytes[5] = '\xe0'; // with the marker
    meter.take(middle, start);
    meter.take(last, start + 3ms);
    EngineData other = packet(2, 0, 100);
    other.bytes[5] = '\xe0';
    meter.take(other, start + 4ms);
    const auto measure = meter.measure(0s, start + 10ms);
    ASSERT_TRUE(measure);
    EXPECT_EQ(measure->arrivals, std::vector<StreamMeter::TimePoint>{start + 3ms});
    const auto next = meter.measure(0s, start + 300ms);
    ASSERT_TRUE(next);
    EXPECT_TRUE(next->arrivals.empty()) << "each arrival is reported once";
}

TEST(StreamMeter, ArbitraryTimeStampsCauseFewMeasurements) {
    StreamMeter meter;
    int measurements = 0;
    auto now = start;
    for (int picture = 0; picture < 10000; ++picture) {
        now += 1ms;
        meter.take(packet(0, picture % 2 == 0 ? 0 : 81000, 1000), now);
        measurements += meter.measure(0s, now) ? 1 : 0;
    }
    EXPECT_LE(measurements, 10 * 4 * (StreamMeter::mostUrgent + 2));
}

} // namespace
} // namespace lumvik::test
