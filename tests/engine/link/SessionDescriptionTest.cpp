#include "engine/link/SessionDescription.h"

#include <gtest/gtest.h>

using namespace lumvik;

TEST(SessionDescriptionTest, MediaAndTheirFormatsAreRead) {
    const auto description = parseSessionDescription(
        "v=0\r\no=- 1 1 IN IP4 10.0.0.7\r\na=control:*\r\n"
        "m=video 0 RTP/AVP 96 97\r\na=rtpmap:96 H264/90000\r\n"
        "a=fmtp:96 packetization-mode=1;profile-level-id=4D0029\r\n"
        "a=rtpmap:97 h265/90000\r\na=fmtp:97 sprop-max-don-diff=1; level-id=93\r\n"
        "a=control:rtsp://camera/track1\r\n"
        "m=audio 0 RTP/AVP 0\r\na=control:track2\r\n");
    ASSERT_TRUE(description);
    ASSERT_EQ(description->media.size(), 2U);
    const MediaDescription &video = description->media[0];
    EXPECT_EQ(video.kind, "video");
    EXPECT_EQ(video.control, "rtsp://camera/track1");
    ASSERT_EQ(video.videoFormats.size(), 2U);
    EXPECT_EQ(video.videoFormats.at(96).codec, VideoCodec::H264);
    EXPECT_FALSE(video.videoFormats.at(96).hasDecodingOrder);
    EXPECT_EQ(video.videoFormats.at(97).codec, VideoCodec::H265);
    EXPECT_TRUE(video.videoFormats.at(97).hasDecodingOrder);
    EXPECT_EQ(description->media[1].kind, "audio");
    EXPECT_EQ(description->media[1].control, "track2");
    EXPECT_TRUE(description->media[1].videoFormats.empty());
}

TEST(SessionDescriptionTest, InterleavedModeOfH264HasADecodingOrder) {
    const auto description = parseSessionDescription(
        "m=video 0 RTP/AVP 96\na=rtpmap:96 H264/90000\na=fmtp:96 packetization-mode=2\n");
    ASSERT_TRUE(description);
    EXPECT_TRUE(description->media.at(0).videoFormats.at(96).hasDecodingOrder);
}

TEST(SessionDescriptionTest, BrokenLinesAreIgnored) {
    const auto description =
        parseSessionDescription("m=\r\na=rtpmap:\r\na=rtpmap:x H264\r\na=rtpmap:96\r\na=fmtp:96\r\n"
                                "a=fmtp:97 a=b\r\na=control:\r\n\r\n==\r\n");
    ASSERT_TRUE(description);
    ASSERT_EQ(description->media.size(), 1U);
    EXPECT_TRUE(description->media[0].videoFormats.empty());
    EXPECT_TRUE(parseSessionDescription("")->media.empty());
}

TEST(SessionDescriptionTest, TooManyMediaAreRefused) {
    EXPECT_TRUE(parseSessionDescription(QByteArray("m=video 0 RTP/AVP 96\r\n").repeated(32)));
    EXPECT_FALSE(parseSessionDescription(QByteArray("m=video 0 RTP/AVP 96\r\n").repeated(33)));
}

TEST(SessionDescriptionTest, EngineSeesNoAddressOfTheCamera) {
    const QByteArray text = "v=0\r\no=anna 5 6 IN IP4 10.0.0.7\r\ns=Front\r\ni=at 10.0.0.7\r\n"
                            "u=http://10.0.0.7/\r\ne=anna@10.0.0.7\r\np=+4412345\r\n"
                            "  c=IN IP6 ff15::101\n a=control:one\r\nm=video 0\n"
                            "a=source-filter: incl IN IP4 * 10.0.0.7\r\na=control:two\n"
                            "a=tool:control:three";
    const QByteArray translated =
        withoutCameraAddresses(text, [](const QByteArray &address) { return '<' + address + '>'; });
    EXPECT_EQ(translated, "v=0\r\no=- 0 0 IN IP4 127.0.0.1\r\ns=Front\r\nc=IN IP4 127.0.0.1\n"
                          "a=control:<one>\r\nm=video 0\na=control:<two>\na=tool:control:three");
}
