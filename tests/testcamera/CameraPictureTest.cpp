#include "RtspConversation.h"
#include "RunningTestCamera.h"
#include "StreamPlayer.h"
#include "testcamera/PictureLayout.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

// Tests of the content and the timing of the test camera's picture.

namespace lumvik::test {
namespace {

/// The tolerance for the rounding of players when they convert colours.
constexpr int colourTolerance = 6;

/// Returns the largest difference in any channel between the decoded bars and the documented
/// colours.
int worstBarError(const QImage &picture) {
    int worst = 0;
    for (int n = 0; n < PictureLayout::barCount; ++n) {
        const PictureLayout::Region bar = PictureLayout::bar(n);
        const QColor shown =
            picture.pixelColor(static_cast<int>((bar.left + bar.width / 2) * picture.width()),
                               static_cast<int>((bar.top + bar.height / 2) * picture.height()));
        const PictureLayout::Colour wanted = PictureLayout::barColours[static_cast<std::size_t>(n)];
        worst = std::max({worst, std::abs(shown.red() - wanted.red),
                          std::abs(shown.green() - wanted.green),
                          std::abs(shown.blue() - wanted.blue)});
    }
    return worst;
}

QString barsIn(const QImage &picture) {
    QString text;
    for (int n = 0; n < PictureLayout::barCount; ++n)
        text += picture
                    .pixelColor((2 * n + 1) * picture.width() / (2 * PictureLayout::barCount),
                                picture.height() / 4)
                    .name() +
                QLatin1Char(' ');
    return text;
}

int median(std::vector<int> values) {
    if (values.empty())
        return -1;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

TEST(TestCamera, BarsHaveTheDocumentedColoursInBothCodecs) {
    for (const VideoCodec codec : {VideoCodec::H264, VideoCodec::H265}) {
        const RunningTestCamera camera(
            words(codec == VideoCodec::H264 ? "--codec h264" : "--codec h265"));
        const StreamPlayer player(camera.url(), codec);
        ASSERT_TRUE(waitUntil([&] { return player.pictures() >= 5; }));
        EXPECT_EQ(player.picture().size(), QSize(320, 180));
        EXPECT_LE(worstBarError(player.picture()), colourTolerance)
            << qPrintable(barsIn(player.picture()));
    }
}

TEST(TestCamera, FrameRateAndKeyFrameIntervalMatchTheOptions) {
    RunningTestCamera camera(words("--fps 20 --gop 10"));
    const auto watcher = watch(camera);
    const int pictures = watcher->pictures();
    const int keyFrames = watcher->keyFrames();
    QElapsedTimer timer;
    timer.start();
    ASSERT_TRUE(waitUntil([&] { return watcher->pictures() >= pictures + 40; }));
    const double rate =
        1000.0 * (watcher->pictures() - pictures) / static_cast<double>(timer.elapsed());
    EXPECT_NEAR(rate, 20, 2);
    EXPECT_NEAR(watcher->keyFrames() - keyFrames, 4, 1);
}

TEST(TestCamera, NewClientReceivesAKeyFrameAtOnce) {
    RunningTestCamera camera(words("--gop 1000"));
    const auto first = watch(camera);
    RtspConversation second(camera.url());
    ASSERT_TRUE(second.connectToServer());
    QElapsedTimer timer;
    timer.start();
    ASSERT_EQ(second.play(), 200);
    ASSERT_TRUE(waitUntil([&] { return second.pictures() >= 1; }));
    EXPECT_EQ(second.keyFrames(), 1);
    EXPECT_LT(timer.elapsed(), 2000);
}

TEST(TestCamera, ClockPatternContainsTheTimeAtWhichThePictureWasPainted) {
    RunningTestCamera camera(words("--clock --size 1280x720"));
    const StreamPlayer player(camera.url());
    ASSERT_TRUE(waitUntil([&] { return player.shownTime().has_value(); }));
    const std::uint32_t first = *player.shownTime();
    ASSERT_TRUE(waitUntil([&] { return player.delays().size() >= 50; }));
    EXPECT_GT(player.shownTime().value_or(first) - first, 1000U);
    EXPECT_LT(player.shownTime().value_or(0) - first, 30000U);
    const std::vector<int> delays = player.delays();
    EXPECT_GE(delays.size() * 20, static_cast<std::size_t>(player.pictures()) * 19);
    // The limit for the time from painting to decoding is generous, because the machine may be
    // busy.
    EXPECT_LT(median(delays), 150);
    EXPECT_GE(*std::min_element(delays.begin(), delays.end()), 0);
    RecordProperty("MedianDelayMilliseconds", median(delays));
    std::printf("median delay from painting to decoded picture: %d ms\n", median(delays));
}

TEST(TestCamera, SizeCommandAffectsRunningAndNewClients) {
    RunningTestCamera camera;
    const StreamPlayer running(camera.url());
    ASSERT_TRUE(waitUntil([&] { return running.pictures() >= 3; }));
    EXPECT_EQ(camera.command("size 640x360"), QStringLiteral("ok"));
    EXPECT_TRUE(waitUntil([&] { return running.picture().size() == QSize(640, 360); }));
    const StreamPlayer next(camera.url());
    ASSERT_TRUE(waitUntil([&] { return next.pictures() >= 3; }));
    EXPECT_EQ(next.picture().size(), QSize(640, 360));
    EXPECT_LE(worstBarError(next.picture()), colourTolerance) << qPrintable(barsIn(next.picture()));
    EXPECT_TRUE(camera.command("size 3x3").startsWith(QLatin1String("error ")));
}

TEST(TestCamera, RotationIsSignalledInTheStream) {
    RunningTestCamera camera;
    const auto watcher = watch(camera);
    EXPECT_FALSE(watcher->rotation());
    for (const int degrees : {90, 180, 270, 0}) {
        EXPECT_EQ(camera.command("rotate " + QByteArray::number(degrees)), QStringLiteral("ok"));
        EXPECT_TRUE(waitUntil([&] { return watcher->rotation() == degrees; })) << degrees;
    }
    EXPECT_TRUE(camera.command("rotate 45").startsWith(QLatin1String("error ")));
}

TEST(TestCamera, CodecCommandAffectsOnlyLaterClients) {
    RunningTestCamera camera;
    const StreamPlayer running(camera.url());
    ASSERT_TRUE(waitUntil([&] { return running.pictures() >= 3; }));
    EXPECT_EQ(camera.command("codec h265"), QStringLiteral("ok"));
    const StreamPlayer next(camera.url(), VideoCodec::H265);
    ASSERT_TRUE(waitUntil([&] { return next.pictures() >= 3; }));
    const int pictures = running.pictures();
    EXPECT_TRUE(waitUntil([&] { return running.pictures() > pictures; }));
}

} // namespace
} // namespace lumvik::test
