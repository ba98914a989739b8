#include "engine/link/StreamBacklog.h"

#include "engine/link/RtpPackets.h"
#include "engine/link/RtspParser.h"
#include "engine/link/VideoUnits.h"

#include <QtEndian>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace lumvik::test {

/// A backlog that is filled by a stream of 25 pictures a second, in virtual time.
class StreamBacklogTest : public testing::Test {
  protected:
    static constexpr std::uint8_t channel = 2;

    /// Adds a picture of `packets` packets and lets 40 ms pass.
    void addPicture(bool isKeyPicture = false, int packets = 2) {
        for (int i = 0; i < packets; ++i) {
            const RtpFields fields{i == packets - 1, picture, sequenceNumber++};
            const QByteArray bytes =
                InterleavedPacket{channel, rtpPacket(fields, QByteArray(1000, 'x'))}.encoded();
            backlog.push({bytes, EngineData::VideoPacket{channel, picture, isKeyPicture && i == 0}},
                         now);
        }
        ++picture;
        now += 40ms;
    }
    void addPictures(int count) {
        for (int i = 0; i < count; ++i)
            addPicture();
    }
    /// The pictures in `bytes`, one number for each packet. Expects that no sequence number is
    /// missing since the previous call.
    std::vector<std::uint32_t> picturesIn(const QByteArray &bytes) {
        RtspParser parser;
        parser.append(bytes);
        std::vector<std::uint32_t> pictures;
        while (auto item = parser.next()) {
            const QByteArray payload = std::get<InterleavedPacket>(*item).payload;
            pictures.push_back(qFromBigEndian<quint32>(payload.constData() + 4));
            EXPECT_EQ(qFromBigEndian<quint16>(payload.constData() + 2), expectedNumber++);
        }
        return pictures;
    }
    std::vector<std::uint32_t> take(qsizetype unread) {
        return picturesIn(backlog.take(unread, now));
    }

    StreamBacklog backlog;
    StreamBacklog::TimePoint now{1h};
    std::uint32_t picture = 0;
    std::uint16_t sequenceNumber = 65'530; // wraps around
    std::uint16_t expectedNumber = 65'530;
};

namespace {

constexpr qsizetype engineDoesNotRead = 100'000'000;

} // namespace

TEST_F(StreamBacklogTest, EngineThatReadsGetsEverythingAtOnce) {
    for (std::uint32_t i = 0; i < 100; ++i) {
        addPicture(i % 25 == 0);
        EXPECT_EQ(take(0), (std::vector<std::uint32_t>{i, i}));
        EXPECT_TRUE(backlog.isEmpty());
        EXPECT_FALSE(backlog.isLate(now));
    }
    EXPECT_EQ(backlog.omittedPictures(), 0);
}

TEST_F(StreamBacklogTest, EngineThatDoesNotReadGetsLittleOfTheStream) {
    for (int i = 0; i < 100; ++i) {
        addPicture();
        (void)take(0);
    }
    // 25 pictures of two packets with a kilobyte each are 50 kB a second.
    addPictures(5);
    EXPECT_TRUE(take(StreamBacklog::smallestAllowance).empty());
    EXPECT_EQ(take(StreamBacklog::smallestAllowance - 1).size(), 1U);
    EXPECT_EQ(backlog.size(), 9 * 1016);
}

TEST_F(StreamBacklogTest, PicturesBeforeTheNewestKeyPictureAreLeftOut) {
    addPicture(true);
    (void)take(0);
    addPictures(10);
    EXPECT_TRUE(take(engineDoesNotRead).empty());
    addPicture(true); // picture 11
    addPictures(5);
    addPicture(true); // picture 17
    addPictures(2);
    EXPECT_EQ(take(0), (std::vector<std::uint32_t>{17, 17, 18, 18, 19, 19}));
    EXPECT_EQ(backlog.omittedPictures(), 16);
    addPicture();
    EXPECT_EQ(take(0), (std::vector<std::uint32_t>{20, 20}));
}

TEST_F(StreamBacklogTest, NothingIsLeftOutWithinHalfASecond) {
    addPicture(true);
    addPictures(5);
    addPicture(true);
    EXPECT_TRUE(take(engineDoesNotRead).empty());
    EXPECT_EQ(take(0).size(), 14U);
}

TEST_F(StreamBacklogTest, NothingIsLeftOutWithoutAKeyPicture) {
    addPictures(250);
    EXPECT_TRUE(take(engineDoesNotRead).empty());
    EXPECT_EQ(backlog.omittedPictures(), 0);
    EXPECT_TRUE(backlog.isLate(now));
}

TEST_F(StreamBacklogTest, PictureThatTheEngineHasInPartIsCompleted) {
    addPicture(true, 40); // 40 kB, more than the allowance
    const std::size_t sent = take(0).size();
    ASSERT_GT(sent, 0U);
    ASSERT_LT(sent, 40U);
    addPictures(20);
    addPicture(true); // picture 21
    std::vector<std::uint32_t> expected(40 - sent, 0);
    expected.insert(expected.end(), {21, 21});
    std::vector<std::uint32_t> taken = take(0);
    for (const std::uint32_t each : take(0))
        taken.push_back(each);
    EXPECT_EQ(taken, expected);
}

TEST_F(StreamBacklogTest, MessagesAndOtherTracksAreNeverLeftOut) {
    backlog.push({"RTSP/1.0 200 OK\r\n\r\n"}, now);
    addPictures(20);
    backlog.push({InterleavedPacket{3, "statistics"}.encoded()}, now);
    addPicture(true);
    const QByteArray taken = backlog.take(0, now);
    EXPECT_TRUE(taken.startsWith("RTSP/1.0 200 OK"));
    EXPECT_TRUE(taken.contains("statistics"));
    EXPECT_EQ(backlog.omittedPictures(), 20);
}

TEST_F(StreamBacklogTest, IsLateAfterMoreThanASecondAndInTimeBelowHalfASecond) {
    addPictures(30);
    EXPECT_FALSE(backlog.isLate(now));
    addPicture();
    EXPECT_TRUE(backlog.isLate(now));
    while (backlog.size() > 14 * 2 * 1016)
        (void)backlog.take(StreamBacklog::smallestAllowance - 1, now);
    EXPECT_TRUE(backlog.isLate(now)) << "The end of lateness has a margin.";
    while (backlog.size() > 10 * 2 * 1016)
        (void)backlog.take(StreamBacklog::smallestAllowance - 1, now);
    EXPECT_FALSE(backlog.isLate(now));
}

TEST(VideoUnitsTest, PacketsThatBeginKeyPicturesAreRecognised) {
    const struct {
        const char *description;
        VideoCodec codec;
        const char *content;
        bool isKey;
    } cases[] = {
        {"H.264, IDR", VideoCodec::H264, "6588", true},
        {"H.264, other slice", VideoCodec::H264, "4188", false},
        {"H.264, sequence parameters", VideoCodec::H264, "6742", false},
        {"H.264, first fragment of an IDR", VideoCodec::H264, "7c85", true},
        {"H.264, middle fragment of an IDR", VideoCodec::H264, "7c05", false},
        {"H.264, first fragment of another slice", VideoCodec::H264, "7c81", false},
        {"H.264, aggregation with an IDR", VideoCodec::H264, "78000267420002680100026588", true},
        {"H.264, aggregation without an IDR", VideoCodec::H264, "7800026742000268010002410a",
         false},
        {"H.264, broken aggregation", VideoCodec::H264, "78ffff67", false},
        {"H.265, IDR", VideoCodec::H265, "2601af", true},
        {"H.265, CRA", VideoCodec::H265, "2a01af", true},
        {"H.265, other slice", VideoCodec::H265, "0201d0", false},
        {"H.265, video parameters", VideoCodec::H265, "40010c", false},
        {"H.265, first fragment of an IDR", VideoCodec::H265, "620193", true},
        {"H.265, last fragment of an IDR", VideoCodec::H265, "620153", false},
        {"H.265, aggregation with an IDR", VideoCodec::H265, "6001000240010002260100", true},
        {"nothing", VideoCodec::H265, "", false},
        {"half a fragment header", VideoCodec::H264, "7c", false},
    };
    for (const auto &each : cases)
        EXPECT_EQ(beginsKeyPicture(QByteArray::fromHex(each.content), each.codec), each.isKey)
            << each.description;
}

TEST_F(StreamBacklogTest, EmptyPacketsOccupyMemoryToo) {
    for (int packet = 0; packet < 1000; ++packet)
        backlog.push({QByteArray()}, StreamBacklog::TimePoint());
    EXPECT_GE(backlog.memory(), 100'000);
    (void)backlog.takeAll();
    EXPECT_EQ(backlog.memory(), 0);
}

TEST(VideoUnitsTest, PacketsThatBeginPicturesAreRecognised) {
    const auto begins = [](const char *content, VideoCodec codec) {
        return beginsPicture(QByteArray::fromHex(content), codec);
    };
    for (const char *content : {"6588", "41e0", "7c8588", "7c81e0", "78000267420003418810"})
        EXPECT_TRUE(begins(content, VideoCodec::H264)) << content;
    for (const char *content : {"6548", "4160", "7c8548", "7c0588", "7c4588", "6788", "0688",
                                "09f0", "78000267420002688a", "780002674200024148", "78", "65", ""})
        EXPECT_FALSE(begins(content, VideoCodec::H264)) << content;
    for (const char *content : {"260180", "020180", "62019380", "600100024001000326018001"})
        EXPECT_TRUE(begins(content, VideoCodec::H265)) << content;
    for (const char *content : {"260100", "020140", "62019300", "62011380", "62015380", "400180",
                                "4e0180", "3c0180", "140180", "60010002400100", "60", ""})
        EXPECT_FALSE(begins(content, VideoCodec::H265)) << content;
}

} // namespace lumvik::test
