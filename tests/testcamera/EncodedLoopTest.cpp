#include "testcamera/EncodedLoop.h"

#include "RtspConversation.h"
#include "RunningTestCamera.h"
#include "StreamPlayer.h"
#include "testcamera/LoopLatency.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;
using Clock = EncodedLoop::Clock;

EncodedLoop smallLoop(int framesPerSecond, int keyFrameInterval, int seconds) {
    gst_init(nullptr, nullptr);
    CameraOptions options;
    options.size = QSize(64, 64);
    options.framesPerSecond = framesPerSecond;
    options.keyFrameInterval = keyFrameInterval;
    options.encodedAhead = seconds;
    auto loop = EncodedLoop::encode(options);
    if (!loop)
        qFatal("%s", qPrintable(loop.error()));
    return *std::move(loop);
}

TEST(EncodedLoop, LengthConsistsOfWholeSecondsAndWholeKeyFrameIntervals) {
    EXPECT_EQ(EncodedLoop::lengthFor(25, 25, 4), 4);
    EXPECT_EQ(EncodedLoop::lengthFor(25, 50, 3), 4);
    EXPECT_EQ(EncodedLoop::lengthFor(15, 50, 1), 10);
    EXPECT_EQ(EncodedLoop::lengthFor(25, 10, 1), 2);
    EXPECT_EQ(EncodedLoop::lengthFor(1, 1, 60), 60);
}

TEST(EncodedLoop, LoopThatWouldBeTooLongIsRefused) {
    CameraOptions options;
    options.framesPerSecond = 120;
    options.keyFrameInterval = 9999;
    options.encodedAhead = 4;
    const auto loop = EncodedLoop::encode(options);
    ASSERT_FALSE(loop);
    EXPECT_TRUE(loop.error().contains(QStringLiteral("3333 seconds"))) << qPrintable(loop.error());
}

TEST(EncodedLoop, EveryKeyFrameIntervalBeginsWithAKeyFrame) {
    const EncodedLoop loop = smallLoop(20, 10, 2);
    ASSERT_EQ(loop.count(), 40);
    for (std::int64_t number = 0; number < loop.count(); ++number)
        EXPECT_EQ(loop.picture(number).isKeyFrame, number % 10 == 0) << number;
}

TEST(EncodedLoop, PicturesAreDueAtFixedPositionsOfTheClock) {
    const EncodedLoop loop = smallLoop(15, 15, 2);
    for (const Clock::time_point now :
         {Clock::time_point(), Clock::time_point(86400s + 1234567ns), Clock::now()}) {
        std::int64_t number = loop.numberAt(now);
        EXPECT_GE(loop.dueAt(number), now);
        EXPECT_LE(loop.dueAt(number) - now, 66'666'667ns);
        for (int n = 0; n < 100; ++n, ++number) {
            EXPECT_EQ(loop.numberAt(loop.dueAt(number)), number);
            const auto position = loop.dueAt(number).time_since_epoch() % loop.length();
            EXPECT_EQ(position, number % 30 * std::chrono::nanoseconds(2s) / 30) << number;
            EXPECT_EQ(&loop.picture(number), &loop.picture(number + 30));
        }
    }
}

TEST(EncodedLoop, LatencyOfARepeatedLoopIsMeasurableInBothCodecs) {
    for (const char *codec : {"h264", "h265"}) {
        const RunningTestCamera camera(words("--clock --size 640x360 --fps 20 --gop 10 "
                                             "--encoded-ahead 1 --codec") +
                                       QStringList(QString::fromLatin1(codec)));
        const StreamPlayer player(camera.url(),
                                  codec[3] == '4' ? VideoCodec::H264 : VideoCodec::H265);
        // Three rounds of the loop.
        ASSERT_TRUE(waitUntil([&] { return player.shownTimes().size() >= 60; })) << codec;
        LoopLatency latency(1000);
        std::vector<std::int64_t> latencies;
        for (const StreamPlayer::ShownTime &shown : player.shownTimes()) {
            EXPECT_EQ(shown.time % 50, 0U) << "each picture has a fixed position";
            latencies.push_back(latency.latency(shown.seen, shown.time).value_or(-1));
        }
        std::nth_element(latencies.begin(), latencies.begin() + 30, latencies.end());
        EXPECT_GE(latencies[30], 0) << codec;
        EXPECT_LT(latencies[30], 500) << codec;
        EXPECT_GE(player.shownTimes().size() * 20, static_cast<std::size_t>(player.pictures()) * 19)
            << "the clock pattern is readable";
    }
}

TEST(EncodedLoop, RateAndKeyFramesOfTheStreamAreThoseOfTheOptions) {
    RunningTestCamera camera(words("--fps 20 --gop 10 --encoded-ahead 1"));
    const auto watcher = watch(camera);
    const int pictures = watcher->pictures();
    const int keyFrames = watcher->keyFrames();
    const auto begin = Clock::now();
    ASSERT_TRUE(waitUntil([&] { return watcher->pictures() >= pictures + 60; }));
    EXPECT_NEAR(std::chrono::duration<double>(Clock::now() - begin).count(), 3, 0.5);
    EXPECT_NEAR(watcher->keyFrames() - keyFrames, 6, 1);
}

TEST(EncodedLoop, StreamContinuesAfterAFreeze) {
    RunningTestCamera camera(words("--fps 20 --gop 10 --encoded-ahead 1"));
    const auto watcher = watch(camera);
    EXPECT_EQ(camera.command("freeze"), QStringLiteral("ok"));
    EXPECT_EQ(camera.command("thaw"), QStringLiteral("ok"));
    const int pictures = watcher->pictures();
    EXPECT_TRUE(waitUntil([&] { return watcher->pictures() >= pictures + 20; }));
}

TEST(EncodedLoop, SizeAndCodecCannotBeChanged) {
    RunningTestCamera camera(words("--encoded-ahead 1"));
    EXPECT_TRUE(camera.command("size 640x360").startsWith(QLatin1String("error ")));
    EXPECT_TRUE(camera.command("codec h265").startsWith(QLatin1String("error ")));
}

} // namespace
} // namespace lumvik::test
