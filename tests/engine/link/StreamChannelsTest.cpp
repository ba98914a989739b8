#include "engine/link/StreamChannels.h"

#include "engine/link/RtpPackets.h"

#include <gtest/gtest.h>

using namespace lumvik;
using test::rtpPacket;

namespace {

/// A video track on the channels 2 and 3.
StreamChannels channelsOfTrack(bool hasDecodingOrder = false) {
    MediaDescription video;
    video.kind = "video";
    video.videoFormats = {{96, {VideoCodec::H264, hasDecodingOrder}}};
    StreamChannels channels;
    channels.setUp("RTP/AVP/TCP;unicast;interleaved=2-3;ssrc=1", {}, &video);
    return channels;
}

std::optional<EngineData> take(StreamChannels &channels, std::uint32_t timeStamp,
                               const QByteArray &content, bool hasMarker = false) {
    return channels.take({2, rtpPacket({hasMarker, timeStamp}, content)});
}

QByteArray unit(const char *begin, qsizetype size = 60'000) {
    return QByteArray::fromHex(begin) + QByteArray(size, 'x');
}

} // namespace

TEST(StreamChannelsTest, TracksAreRecognisedByTheChannelsOfTheirSetup) {
    MediaDescription video;
    video.videoFormats = {{96, {}}};
    const MediaDescription sound;
    const struct {
        const char *response;
        const char *request;
        const MediaDescription *medium;
        int expected; // -1 for none
    } cases[] = {
        {"RTP/AVP/TCP;interleaved=2-3", "", &video, 2},
        {"RTP/AVP/TCP;unicast; Interleaved=4 - 5;mode=play", "", &video, 4},
        {"RTP/AVP/TCP;interleaved=6", "", &video, 6},
        {"RTP/AVP/TCP;interleaved=255", "RTP/AVP/TCP;interleaved=1", &video, 255},
        {"RTP/AVP/TCP", "RTP/AVP/TCP;interleaved=8-9", &video, 8},
        {"RTP/AVP/TCP;interleaved=256", "RTP/AVP/TCP;interleaved=8-9", &video, 8},
        {"RTP/AVP/TCP;interleaved=-1", "", &video, -1},
        {"RTP/AVP/TCP;interleaved=", "", &video, -1},
        {"", "", &video, -1},
        {"RTP/AVP/TCP;interleaved=2-3", "", &sound, -1},
        {"RTP/AVP/TCP;interleaved=2-3", "", nullptr, -1},
    };
    for (const auto &each : cases) {
        StreamChannels channels;
        channels.setUp(each.response, each.request, each.medium);
        int found = -1;
        for (int channel = 0; channel <= 255; ++channel) {
            const auto data = channels.take(
                {static_cast<std::uint8_t>(channel), rtpPacket({true, 1}, "\x41 slice")});
            ASSERT_TRUE(data);
            if (data->video)
                found = channel;
        }
        EXPECT_EQ(found, each.expected) << each.response;
    }
}

TEST(StreamChannelsTest, PacketsOfVideoAreDescribed) {
    StreamChannels channels = channelsOfTrack();
    const auto slice = take(channels, 5, "\x41\x9a slice");
    ASSERT_TRUE(slice && slice->video);
    EXPECT_EQ(slice->video->channel, 2);
    EXPECT_EQ(slice->video->timeStamp, 5U);
    EXPECT_FALSE(slice->video->isKeyPicture);
    EXPECT_TRUE(take(channels, 6, "\x65\x88 slice")->video->isKeyPicture);
    EXPECT_FALSE(channels.take({2, "not RTP"})->video);

    StreamChannels reordered = channelsOfTrack(true);
    EXPECT_FALSE(take(reordered, 5, "\x41\x9a slice")->video) << "where its content begins";
}

TEST(StreamChannelsTest, MarkerWithinAPictureIsToldOnce) {
    StreamChannels channels = channelsOfTrack();
    for (std::uint32_t picture = 0; picture < 20; ++picture) {
        (void)take(channels, picture, "\x41\x9a slice");
        (void)take(channels, picture, "\x41 slice", true);
    }
    EXPECT_FALSE(channels.takeWrongMarkers());
    (void)take(channels, 20, "\x41\x9a slice", true);
    (void)take(channels, 20, "\x41 slice", true);
    EXPECT_TRUE(channels.takeWrongMarkers());
    (void)take(channels, 20, "\x41 slice", true);
    EXPECT_FALSE(channels.takeWrongMarkers());
}

TEST(StreamChannelsTest, SenderReportsOfATrackAreRead) {
    StreamChannels channels = channelsOfTrack();
    const QByteArray report = QByteArray::fromHex("80c80006 11111111 0102030405060708 0a0b0c0d "
                                                  "00000001 00000002");
    const auto reportIn = [&](std::uint8_t channel, const QByteArray &payload) {
        const auto data = channels.take({channel, payload});
        EXPECT_EQ(data->bytes, (InterleavedPacket{channel, payload}.encoded()));
        return data->report;
    };
    const auto read = reportIn(3, report);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->channel, 2);
    EXPECT_EQ(read->ntpTime, 0x0102030405060708U);
    EXPECT_EQ(read->timeStamp, 0x0a0b0c0dU);
    EXPECT_FALSE(reportIn(2, report)) << "a channel of media";
    EXPECT_FALSE(reportIn(9, report)) << "an unknown channel";
    EXPECT_FALSE(reportIn(3, report.first(27))) << "too short";
    EXPECT_FALSE(reportIn(3, QByteArray(report).replace(1, 1, "\xc9"))) << "a receiver report";
    EXPECT_FALSE(reportIn(3, QByteArray(report).replace(0, 1, "\x40"))) << "another version";
}

TEST(StreamChannelsTest, StreamWithAConstantTimeStampIsWithinBounds) {
    StreamChannels channels = channelsOfTrack();
    qsizetype passed = 0;
    while (passed < 2 * StreamChannels::largestPicture) {
        const auto data = take(channels, 1, unit("6588"), true);
        ASSERT_TRUE(data) << passed;
        passed += data->bytes.size();
    }
}

TEST(StreamChannelsTest, EndlessUnitsExceedTheBounds) {
    const struct {
        const char *description;
        const char *begin;
        bool timeStampsChange;
        bool hasDecodingOrder = false;
    } cases[] = {{"a fragmented unit", "7c05", false},
                 {"a fragmented unit in many pictures", "7c05", true},
                 {"slices that are never the first of a picture", "6548", true},
                 {"messages without a picture", "0605", true},
                 {"units that are announced in another order", "0605", true, true}};
    for (const auto &[description, begin, timeStampsChange, hasDecodingOrder] : cases) {
        SCOPED_TRACE(description);
        StreamChannels channels = channelsOfTrack(hasDecodingOrder);
        qsizetype passed = 0;
        for (std::uint32_t i = 1; passed < 100'000'000; ++i) {
            const auto data = take(channels, timeStampsChange ? i : 1, unit(begin));
            if (!data)
                break;
            passed += data->bytes.size();
        }
        EXPECT_GT(passed, 10'000'000);
        EXPECT_LT(passed, StreamChannels::largestPicture + 100'000);
    }
}

TEST(StreamChannelsTest, LongStreamsAreNotMistakenForEndlessUnits) {
    StreamChannels channels = channelsOfTrack();
    for (std::uint32_t picture = 0; picture < 1000; ++picture) {
        ASSERT_TRUE(take(channels, picture * 3600, unit("7c8588", 30'000))) << picture;
        ASSERT_TRUE(take(channels, picture * 3600, unit("7c45", 30'000), true)) << picture;
    }
}
