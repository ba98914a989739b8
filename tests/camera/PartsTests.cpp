#include "AccessUnit.h"
#include "CameraCommand.h"
#include "CameraOptions.h"
#include "ClockPattern.h"
#include "Picture.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

tl::expected<CameraOptions, QString> parse(const QString &line) {
    QStringList arguments{QStringLiteral("lumvik-test-camera")};
    arguments += line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return parseOptions(arguments);
}

TEST(CameraOptions, WithoutArgumentsAreTheDefaults) {
    const auto options = parse({});
    ASSERT_TRUE(options);
    EXPECT_EQ(options->path, QStringLiteral("/front"));
    EXPECT_EQ(options->size, QSize(1280, 720));
    EXPECT_EQ(options->framesPerSecond, 25);
    EXPECT_EQ(options->keyFrameInterval, 25);
    EXPECT_EQ(options->codec, VideoCodec::H264);
    EXPECT_FALSE(options->clockPattern);
}

TEST(CameraOptions, TakeEveryOption) {
    const auto options = parse(QStringLiteral(
        "--address ::1 --port 0 --path /yard --name Yard --size 640x360 --fps 15 --gop 50 "
        "--codec h265 --user anna --password secret --clock --exit-with-stdin"));
    ASSERT_TRUE(options) << qPrintable(options.error());
    EXPECT_EQ(options->address, QStringLiteral("::1"));
    EXPECT_EQ(options->port, 0);
    EXPECT_EQ(options->path, QStringLiteral("/yard"));
    EXPECT_EQ(options->name, QStringLiteral("Yard"));
    EXPECT_EQ(options->size, QSize(640, 360));
    EXPECT_EQ(options->framesPerSecond, 15);
    EXPECT_EQ(options->keyFrameInterval, 50);
    EXPECT_EQ(options->codec, VideoCodec::H265);
    EXPECT_EQ(options->user, QStringLiteral("anna"));
    EXPECT_EQ(options->password, QStringLiteral("secret"));
    EXPECT_TRUE(options->clockPattern);
    EXPECT_TRUE(options->exitWithStandardInput);
}

TEST(CameraOptions, BadOnesAreRefused) {
    for (const char *line :
         {"--port 65536", "--port x", "--fps 0", "--gop 0", "--size 1280", "--size 641x360",
          "--size 32x32", "--codec vp8", "--path front", "--user anna", "--password x",
          "--address localhost", "--nonsense", "stray"})
        EXPECT_FALSE(parse(QLatin1String(line))) << line;
}

TEST(CameraCommand, EveryCommandIsUnderstood) {
    for (const char *line :
         {"freeze", "thaw", "end", "drop", "drop reset", "refuse", "accept", "silent", "speak",
          "size 640x360", "rotate 0", "rotate 270", "codec h265", "hangup", "stay", "clients",
          "streams", "quit", "  drop  reset "})
        EXPECT_TRUE(parseCommand(QLatin1String(line))) << line;
    const auto rotate = parseCommand(QStringLiteral("rotate 90"));
    ASSERT_TRUE(rotate);
    EXPECT_EQ(std::get<CameraCommand::Rotate>(*rotate).degrees, 90);
    const auto resize = parseCommand(QStringLiteral("size 704x576"));
    ASSERT_TRUE(resize);
    EXPECT_EQ(std::get<CameraCommand::Resize>(*resize).size, QSize(704, 576));
}

TEST(CameraCommand, NonsenseIsAnError) {
    for (const char *line : {"", "jump", "size", "size 1x1", "rotate", "rotate 45", "codec vp8",
                             "freeze now", "drop reset now"})
        EXPECT_FALSE(parseCommand(QLatin1String(line))) << line;
}

QByteArray bytes(std::initializer_list<int> values) {
    QByteArray result;
    for (const int value : values)
        result.append(static_cast<char>(value));
    return result;
}

AccessUnit::Bytes view(const QByteArray &unit) {
    return {reinterpret_cast<const std::uint8_t *>(unit.constData()),
            static_cast<std::size_t>(unit.size())};
}

TEST(AccessUnit, GivesTheParameterSetsAlone) {
    const QByteArray sets = bytes({0, 0, 0, 1, 0x67, 1, 2, 0, 0, 1, 0x68, 3});
    const QByteArray unit = sets + bytes({0, 0, 1, 0x06, 9, 0, 0, 0, 1, 0x65, 4, 5});
    EXPECT_EQ(AccessUnit::parameterSets(VideoCodec::H264, view(unit)), sets);
    EXPECT_TRUE(
        AccessUnit::parameterSets(VideoCodec::H264, view(bytes({0, 0, 1, 0x41, 1}))).isEmpty());
}

TEST(AccessUnit, PutsTheOrientationBeforeTheFirstSlice) {
    const QByteArray head = bytes({0, 0, 0, 1, 0x67, 1});
    const QByteArray slices = bytes({0, 0, 0, 1, 0x65, 4, 0, 0, 1, 0x65, 5});
    // A quarter turn clockwise is three quarters anticlockwise: 0xC000 from the fourth bit on.
    const QByteArray turn = bytes({0, 0, 0, 1, 0x06, 47, 3, 0x18, 0x00, 0x09, 0x80});
    EXPECT_EQ(AccessUnit::withOrientation(VideoCodec::H264, view(head + slices), 90),
              head + turn + slices);
}

TEST(AccessUnit, TheOrientationNeverLooksLikeAStartCode) {
    for (const VideoCodec codec : {VideoCodec::H264, VideoCodec::H265}) {
        const QByteArray slice = bytes({0, 0, 0, 1, codec == VideoCodec::H264 ? 0x65 : 0x26, 1, 7});
        for (const int degrees : {0, 90, 180, 270}) {
            const QByteArray unit = AccessUnit::withOrientation(codec, view(slice), degrees);
            const QByteArray message = unit.mid(4, unit.size() - slice.size() - 4);
            EXPECT_FALSE(message.contains(bytes({0, 0, 0}))) << degrees;
            EXPECT_FALSE(message.contains(bytes({0, 0, 1}))) << degrees;
        }
    }
}

int lumaAt(const Picture &picture, int x, int y) {
    const int stride = (picture.size().width() + 3) / 4 * 4;
    return picture.data()[static_cast<std::size_t>(y * stride + x)];
}

TEST(Picture, ShowsItsTimeInThePattern) {
    for (const QSize size : {QSize(1280, 720), QSize(640, 360), QSize(322, 182)}) {
        Picture picture(size, QStringLiteral("Front"), Picture::Bottom::ClockPattern);
        for (const std::uint32_t time : {0U, 123456U, 0xFFFFFFFFU}) {
            picture.paint(time, QTime(12, 34, 56, 700));
            EXPECT_EQ(ClockPattern::read(size.width(), size.height(),
                                         [&](int x, int y) { return lumaAt(picture, x, y); }),
                      time);
        }
    }
}

TEST(Picture, ChangesInTheClockAndTheMotionAloneWithoutAPattern) {
    const QSize size(640, 360);
    Picture picture(size, QStringLiteral("Front"), Picture::Bottom::Ramp);
    picture.paint(1000, QTime(12, 34, 56, 0));
    const Picture before = picture;
    picture.paint(1040, QTime(12, 34, 57, 100));
    const auto changed = [&](PictureLayout::Region region) {
        int count = 0;
        for (int y = static_cast<int>(region.top * size.height());
             y < static_cast<int>((region.top + region.height) * size.height()); ++y)
            for (int x = static_cast<int>(region.left * size.width());
                 x < static_cast<int>((region.left + region.width) * size.width()); ++x)
                count += lumaAt(picture, x, y) != lumaAt(before, x, y) ? 1 : 0;
        return count;
    };
    EXPECT_EQ(changed(PictureLayout::bars), 0);
    EXPECT_EQ(changed(PictureLayout::name), 0);
    EXPECT_EQ(changed(PictureLayout::pattern), 0);
    EXPECT_GT(changed(PictureLayout::wallClock), 0);
    EXPECT_GT(changed(PictureLayout::motion), 0);
}

} // namespace
} // namespace lumvik::test
