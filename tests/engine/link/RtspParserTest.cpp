#include "engine/link/RtspParser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace lumvik;

namespace {

using Items = std::vector<RtspParser::Item>;

/// Parses `bytes` after splitting them into pieces of `pieceSize` bytes.
Items itemsIn(RtspParser &parser, const QByteArray &bytes, qsizetype pieceSize) {
    Items items;
    for (qsizetype i = 0; i < bytes.size(); i += pieceSize) {
        parser.append(QByteArrayView(bytes).sliced(i, std::min(pieceSize, bytes.size() - i)));
        while (auto item = parser.next())
            items.push_back(std::move(*item));
    }
    return items;
}

Items itemsIn(const QByteArray &bytes, qsizetype pieceSize = 1'000'000) {
    RtspParser parser;
    return itemsIn(parser, bytes, pieceSize);
}

const QByteArray plainDescription = "v=0\r\nm=video 0 RTP/AVP 96\r\n";
const QByteArray plainResponse =
    "RTSP/1.0 200 OK\r\nCSeq: 2\r\nContent-Type: application/sdp\r\nContent-Length: " +
    QByteArray::number(plainDescription.size()) + "\r\n\r\n" + plainDescription;
const QByteArray plainPacket = QByteArray::fromHex("24000004") + "abcd";

} // namespace

TEST(RtspParserTest, ResponseWithABodyIsReadAtEverySplit) {
    for (qsizetype pieceSize = 1; pieceSize <= plainResponse.size(); ++pieceSize) {
        const Items items = itemsIn(plainResponse, pieceSize);
        ASSERT_EQ(items.size(), 1U) << pieceSize;
        const auto &message = std::get<RtspMessage>(items[0]);
        EXPECT_EQ(message.status(), 200);
        EXPECT_EQ(message.value("content-TYPE"), "application/sdp");
        EXPECT_EQ(message.body, plainDescription);
    }
}

TEST(RtspParserTest, MessagesAndPacketsAreSeparatedAtEverySplit) {
    const QByteArray bytes = plainPacket + plainResponse + "\r\n" + plainPacket + plainPacket +
                             "OPTIONS rtsp://a/b RTSP/1.0\r\nCSeq: 7\r\n\r\n" + plainPacket;
    for (qsizetype pieceSize = 1; pieceSize <= bytes.size(); ++pieceSize) {
        const Items items = itemsIn(bytes, pieceSize);
        ASSERT_EQ(items.size(), 6U) << pieceSize;
        EXPECT_EQ(std::get<InterleavedPacket>(items[0]).payload, "abcd");
        EXPECT_EQ(std::get<RtspMessage>(items[1]).body, plainDescription);
        EXPECT_EQ(std::get<InterleavedPacket>(items[3]).channel, 0);
        EXPECT_EQ(std::get<RtspMessage>(items[4]).method(), "OPTIONS");
        EXPECT_EQ(std::get<RtspMessage>(items[4]).uri(), "rtsp://a/b");
    }
}

// Each byte must not cause everything that was received before it to be parsed again.
TEST(RtspParserTest, LongestMessageCanArriveByteByByte) {
    const QByteArray body(RtspParser::longestBody, 'x');
    QByteArray bytes = "RTSP/1.0 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) +
                       "\r\n" + QByteArray("A: b\r\n").repeated(RtspParser::mostHeaderLines - 2);
    bytes += "Long: " + QByteArray(RtspParser::longestHeader - bytes.size() - 10, 'y');
    const Items items = itemsIn(bytes + "\r\n\r\n" + body + plainPacket, 1);
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(std::get<RtspMessage>(items[0]).body.size(), body.size());
    EXPECT_TRUE(std::holds_alternative<InterleavedPacket>(items[1]));
}

TEST(RtspParserTest, EncodedItemsEqualTheReceivedBytes) {
    EXPECT_EQ(std::get<RtspMessage>(itemsIn(plainResponse).at(0)).encoded(), plainResponse);
    EXPECT_EQ(std::get<InterleavedPacket>(itemsIn(plainPacket).at(0)).encoded(), plainPacket);
    const QByteArray large = QByteArray::fromHex("2403ffff") + QByteArray(0xffff, 'x');
    EXPECT_EQ(std::get<InterleavedPacket>(itemsIn(large, 1000).at(0)).encoded(), large);
}

TEST(RtspParserTest, LineFeedsAloneEndLines) {
    const Items items = itemsIn("RTSP/1.0 404 Not Found\nCSeq: 3\n\n");
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(std::get<RtspMessage>(items[0]).status(), 404);
    EXPECT_EQ(std::get<RtspMessage>(items[0]).value("CSeq"), "3");
}

TEST(RtspParserTest, BytesThatAreNotRtspAreReturnedUnchangedFromThereOn) {
    for (const char *garbage :
         {"\x01\x02garbage", "HTTP/1.1 400 Bad Request\r\n\r\n", "Hello there, this is no RTSP\r\n",
          "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA"}) {
        SCOPED_TRACE(garbage);
        const QByteArray bytes = plainResponse + garbage + plainPacket;
        for (const qsizetype pieceSize : {1, 3, 1000}) {
            RtspParser parser;
            const Items items = itemsIn(parser, bytes, pieceSize);
            QByteArray rest;
            for (std::size_t i = 1; i < items.size(); ++i)
                rest += std::get<UnknownBytes>(items[i]).bytes;
            EXPECT_EQ(rest, garbage + plainPacket);
            EXPECT_TRUE(parser.isLost());
            EXPECT_FALSE(parser.failed());
        }
    }
}

TEST(RtspParserTest, LengthsBeyondTheBoundEndTheParsing) {
    const struct {
        QByteArray length;
        bool fails;
    } cases[] = {{"262144", false},
                 {"262145", true},
                 {"1000000000", true},
                 {"-5", false},
                 {"99999999999999999999", true},
                 {"many", false}};
    for (const auto &[length, fails] : cases) {
        SCOPED_TRACE(length.toStdString());
        RtspParser parser;
        parser.append("RTSP/1.0 200 OK\r\nContent-Length: " + length + "\r\n\r\n");
        const auto item = parser.next();
        EXPECT_EQ(parser.failed(), fails);
        EXPECT_EQ(item.has_value(), !fails && length != "262144");
    }
}

TEST(RtspParserTest, EndlessHeadersEndTheParsing) {
    RtspParser endlessLine;
    endlessLine.append("RTSP/1.0 200 OK\r\nServer: ");
    for (int i = 0; i < 10'000 && !endlessLine.failed(); ++i) {
        endlessLine.append("endless ");
        EXPECT_FALSE(endlessLine.next());
    }
    EXPECT_TRUE(endlessLine.failed());

    RtspParser manyLines;
    manyLines.append("RTSP/1.0 200 OK\r\n");
    for (int i = 0; i < 1000 && !manyLines.failed(); ++i) {
        manyLines.append("A: b\r\n");
        EXPECT_FALSE(manyLines.next());
    }
    EXPECT_TRUE(manyLines.failed());
    manyLines.append(plainResponse);
    EXPECT_FALSE(manyLines.next()) << "A parser that has failed must stay silent.";
}

TEST(RtspParserTest, HeaderLinesCanBeReplacedAndRemoved) {
    RtspMessage message{"SETUP rtsp://a/b RTSP/1.0", {{"CSeq", "1"}, {"X", "1"}, {"x", "2"}}, {}};
    EXPECT_EQ(message.values("X"), QByteArrayList({"1", "2"}));
    message.set("x", "3");
    EXPECT_EQ(message.values("X"), QByteArrayList({"3"}));
    message.remove("cseq");
    EXPECT_FALSE(message.has("CSeq"));
    message.setUri("rtsp://c/d?e");
    message.setBody("body");
    EXPECT_EQ(message.encoded(),
              "SETUP rtsp://c/d?e RTSP/1.0\r\nX: 3\r\nContent-Length: 4\r\n\r\nbody");
}

TEST(RtspParserTest, StatusIsZeroUnlessItIsANumberOfThreeDigits) {
    const auto statusOf = [](const char *line) { return RtspMessage{line, {}, {}}.status(); };
    EXPECT_EQ(statusOf("RTSP/1.0 454 Session Not Found"), 454);
    EXPECT_EQ(statusOf("RTSP/1.0 200"), 200);
    EXPECT_EQ(statusOf("RTSP/1.0 abc OK"), 0);
    EXPECT_EQ(statusOf("RTSP/1.0 99999 OK"), 0);
    EXPECT_EQ(statusOf("RTSP/1.0"), 0);
    EXPECT_EQ(statusOf("OPTIONS 200 RTSP/1.0"), 0);
}
