#include "engine/link/AccessUnitDelimiter.h"

#include "engine/link/RtpPacket.h"
#include "engine/link/RtpPackets.h"

#include <QtEndian>

#include <gtest/gtest.h>

using namespace lumvik;
using test::RtpFields;
using test::rtpPacket;

namespace {

const QByteArray h264Delimiter = QByteArray::fromHex("0000000109f0");
const QByteArray h265Delimiter = QByteArray::fromHex("00000001460150");
const QByteArray slice = QByteArray::fromHex("4188843fff");
constexpr std::uint32_t interval = 3600;

/// The packet with `added` at its end, stamped one unit later.
QByteArray delimited(QByteArray packet, const QByteArray &added = h264Delimiter) {
    std::uint32_t time = qFromBigEndian<std::uint32_t>(packet.constData() + 4);
    qToBigEndian(time + 1, packet.data() + 4);
    return packet + added;
}

/// A track that is given one packet after the other.
class Track {
  public:
    explicit Track(VideoCodec codec = VideoCodec::H264, bool hasDecodingOrder = false)
        : m_delimiter({{96, {codec, hasDecodingOrder}}}) {}

    QByteArray process(QByteArray packet) {
        m_delimiter.process(packet);
        return packet;
    }
    /// Passes pictures of two packets each until delimiters are added. Returns the time of the next
    /// picture.
    std::uint32_t prove(std::uint32_t begin = 0) {
        for (int i = 0; i <= AccessUnitDelimiter::provingMarkers; ++i, begin += interval) {
            process(rtpPacket({false, begin}, slice));
            process(rtpPacket({true, begin}, slice));
        }
        return begin;
    }
    [[nodiscard]] bool isGivenUp() const { return m_delimiter.isGivenUp(); }

  private:
    AccessUnitDelimiter m_delimiter;
};

} // namespace

TEST(AccessUnitDelimiterTest, IsAddedAfterEightProvenMarkers) {
    Track track;
    for (std::uint32_t i = 0; i < 20; ++i) {
        const QByteArray first = rtpPacket({false, i * interval}, slice);
        const QByteArray last = rtpPacket({true, i * interval}, slice);
        EXPECT_EQ(track.process(first), first) << i;
        EXPECT_EQ(track.process(last), i < 8 ? last : delimited(last)) << i;
    }
}

TEST(AccessUnitDelimiterTest, FirstOneFollowsAPictureOfSeveralPackets) {
    Track track;
    std::uint32_t time = 0;
    for (int i = 0; i < 30; ++i, time += interval) {
        const QByteArray packet = rtpPacket({true, time}, slice);
        EXPECT_EQ(track.process(packet), packet) << i;
    }
    track.process(rtpPacket({false, time}, slice));
    const QByteArray last = rtpPacket({true, time}, slice);
    EXPECT_EQ(track.process(last), delimited(last));
    const QByteArray next = rtpPacket({true, time + interval}, slice);
    EXPECT_EQ(track.process(next), delimited(next));
}

TEST(AccessUnitDelimiterTest, StreamOfSinglePacketsGetsDelimitersLater) {
    Track track;
    for (std::uint32_t i = 0; i < 80; ++i) {
        const QByteArray packet = rtpPacket({true, i * interval}, slice);
        EXPECT_EQ(track.process(packet), i < 58 ? packet : delimited(packet)) << i;
    }
}

TEST(AccessUnitDelimiterTest, IsAddedOnlyToThePacketThatEndsAPicture) {
    Track track;
    const std::uint32_t time = track.prove();
    const QByteArray first = rtpPacket({false, time}, slice);
    const QByteArray last = rtpPacket({true, time}, slice);
    EXPECT_EQ(track.process(first), first);
    EXPECT_EQ(track.process(first), first);
    EXPECT_EQ(track.process(last), delimited(last));
}

TEST(AccessUnitDelimiterTest, IsAddedAccordingToTheKindOfPacket) {
    const struct {
        const char *description;
        VideoCodec codec;
        QByteArray content;
        QByteArray added;
    } cases[] = {
        {"H.264, single unit", VideoCodec::H264, slice, h264Delimiter},
        {"H.264, last fragment", VideoCodec::H264, QByteArray::fromHex("7c41aabb"), h264Delimiter},
        {"H.264, first fragment", VideoCodec::H264, QByteArray::fromHex("7c81aabb"), {}},
        {"H.264, middle fragment", VideoCodec::H264, QByteArray::fromHex("7c01aabb"), {}},
        {"H.264, aggregation", VideoCodec::H264, QByteArray::fromHex("7800024188"),
         QByteArray::fromHex("000209f0")},
        {"H.264, aggregation with order",
         VideoCodec::H264,
         QByteArray::fromHex("790000000241"),
         {}},
        {"H.264, reserved", VideoCodec::H264, QByteArray::fromHex("1f00"), {}},
        {"H.264, no content", VideoCodec::H264, QByteArray(), {}},
        {"H.265, single unit", VideoCodec::H265, QByteArray::fromHex("0201aabb"), h265Delimiter},
        {"H.265, last fragment", VideoCodec::H265, QByteArray::fromHex("620141aabb"),
         h265Delimiter},
        {"H.265, first fragment", VideoCodec::H265, QByteArray::fromHex("620181aabb"), {}},
        {"H.265, aggregation", VideoCodec::H265, QByteArray::fromHex("600100020201"),
         QByteArray::fromHex("0003460150")},
        {"H.265, PACI", VideoCodec::H265, QByteArray::fromHex("64010000"), {}},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(each.description);
        Track track(each.codec);
        const QByteArray packet = rtpPacket({true, track.prove()}, each.content);
        const QByteArray expected = each.added.isEmpty() ? packet : delimited(packet, each.added);
        EXPECT_EQ(track.process(packet).toHex(), expected.toHex());
    }
}

TEST(AccessUnitDelimiterTest, MarkersWithinAPictureEndTheDelimitersForGood) {
    Track track;
    const std::uint32_t time = track.prove();
    track.process(rtpPacket({true, time}, slice));
    EXPECT_FALSE(track.isGivenUp());
    const QByteArray second = rtpPacket({true, time}, slice);
    EXPECT_EQ(track.process(second), second);
    EXPECT_TRUE(track.isGivenUp());
    track.prove(time + interval);
    const QByteArray later = rtpPacket({true, time + 100 * interval}, slice);
    EXPECT_EQ(track.process(later), later);
}

TEST(AccessUnitDelimiterTest, FewWrongMarkersAtTheBeginningBeginTheProofAnew) {
    Track track;
    for (std::uint32_t i = 0; i < AccessUnitDelimiter::mostWrongMarkers; ++i) {
        track.process(rtpPacket({true, i * interval}, QByteArray::fromHex("09f0")));
        track.process(rtpPacket({true, i * interval}, slice));
    }
    EXPECT_FALSE(track.isGivenUp());
    const std::uint32_t time = track.prove(100 * interval);
    const QByteArray last = rtpPacket({true, time}, slice);
    EXPECT_EQ(track.process(last), delimited(last));
}

TEST(AccessUnitDelimiterTest, ManyWrongMarkersAtTheBeginningEndTheProof) {
    Track track;
    for (std::uint32_t i = 0; i <= AccessUnitDelimiter::mostWrongMarkers; ++i) {
        track.process(rtpPacket({true, i * interval}, QByteArray::fromHex("09f0")));
        track.process(rtpPacket({true, i * interval}, slice));
    }
    EXPECT_TRUE(track.isGivenUp());
}

TEST(AccessUnitDelimiterTest, MarkerOnAParameterSetEndsTheDelimiters) {
    Track track;
    const std::uint32_t time = track.prove();
    track.process(rtpPacket({true, time}, QByteArray::fromHex("6742001f")));
    track.process(rtpPacket({false, time}, slice));
    EXPECT_TRUE(track.isGivenUp());
}

TEST(AccessUnitDelimiterTest, StreamWithoutMarkersIsNotChanged) {
    Track track;
    for (std::uint32_t i = 0; i < 50; ++i) {
        const QByteArray packet = rtpPacket({false, i * interval}, slice);
        EXPECT_EQ(track.process(packet), packet);
    }
}

TEST(AccessUnitDelimiterTest, TimeStampsMayWrapAround) {
    Track track;
    const std::uint32_t begin = 0xffffffff - 3 * interval;
    EXPECT_LT(track.prove(begin), begin) << "The time stamps must wrap in this test.";
    const QByteArray packet = rtpPacket({true, begin + 20 * interval}, slice);
    EXPECT_EQ(track.process(packet), delimited(packet));
}

TEST(AccessUnitDelimiterTest, PaddingIsReplacedByTheDelimiter) {
    Track track;
    const QByteArray packet = rtpPacket({true, track.prove()}, slice);
    QByteArray padded = packet + QByteArray::fromHex("00000003");
    padded[padded.size() - 1] = 4;
    padded[0] = static_cast<char>(padded[0] | 0x20);
    EXPECT_EQ(track.process(padded).toHex(), delimited(packet).toHex());
}

TEST(AccessUnitDelimiterTest, ExtensionsAndSourcesAreLeftInPlace) {
    Track track;
    QByteArray packet =
        rtpPacket({true, track.prove()}, QByteArray::fromHex("11111111") +
                                             QByteArray::fromHex("bede000122222222") + slice);
    packet[0] = static_cast<char>(0x80 | 0x10 | 1); // an extension and one contributing source
    EXPECT_EQ(track.process(packet).toHex(), delimited(packet).toHex());
}

TEST(AccessUnitDelimiterTest, PacketsThatAreNotUnderstoodAreNotChanged) {
    Track track;
    const std::uint32_t time = track.prove();
    QByteArray otherVersion = rtpPacket({true, time}, slice);
    otherVersion[0] = 0x40;
    QByteArray tooMuchPadding = rtpPacket({true, time}, QByteArray::fromHex("41ff"));
    tooMuchPadding[0] = static_cast<char>(0xa0);
    QByteArray longExtension = rtpPacket({true, time}, QByteArray::fromHex("bedeffff4188"));
    longExtension[0] = static_cast<char>(0x90);
    for (const QByteArray &packet :
         {QByteArray(), QByteArray("short"), otherVersion, tooMuchPadding, longExtension,
          rtpPacket({true, time, 1, 97}, slice)})
        EXPECT_EQ(track.process(packet), packet);
}

TEST(AccessUnitDelimiterTest, LargestPacketIsNotExtended) {
    Track track;
    const QByteArray packet = rtpPacket({true, track.prove()}, slice + QByteArray(65518, 'x'));
    ASSERT_EQ(packet.size(), 65535);
    EXPECT_EQ(track.process(packet), packet);
}

TEST(AccessUnitDelimiterTest, StreamInDecodingOrderIsNotChanged) {
    Track track(VideoCodec::H265, true);
    const QByteArray packet = rtpPacket({true, track.prove()}, QByteArray::fromHex("0201aabb"));
    EXPECT_EQ(track.process(packet), packet);
}

TEST(RtpPacketTest, HeaderIsRead) {
    const auto header = parseRtpPacket(rtpPacket({true, 0x89abcdef, 0xfedc, 100}, slice));
    ASSERT_TRUE(header);
    EXPECT_TRUE(header->hasMarker);
    EXPECT_EQ(header->payloadType, 100);
    EXPECT_EQ(header->sequenceNumber, 0xfedc);
    EXPECT_EQ(header->timeStamp, 0x89abcdefU);
    EXPECT_EQ(header->contentBegin, 12);
    EXPECT_EQ(header->contentEnd, 17);
}
