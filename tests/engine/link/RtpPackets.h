#pragma once

#include <QByteArray>

#include <cstdint>

namespace lumvik::test {

/// What an RTP packet for a test contains.
struct RtpFields {
    bool marker = false;
    std::uint32_t timeStamp = 0;
    std::uint16_t sequenceNumber = 1;
    int payloadType = 96;
};

/// Returns an RTP packet without padding, extension and contributing sources.
inline QByteArray rtpPacket(const RtpFields &fields, const QByteArray &content) {
    QByteArray packet = QByteArray::fromHex("80000000000000000a0b0c0d");
    packet[1] = static_cast<char>((fields.marker ? 0x80 : 0) | fields.payloadType);
    packet[2] = static_cast<char>(fields.sequenceNumber >> 8);
    packet[3] = static_cast<char>(fields.sequenceNumber & 0xff);
    for (int i = 0; i < 4; ++i)
        packet[4 + i] = static_cast<char>(fields.timeStamp >> (24 - 8 * i) & 0xff);
    return packet + content;
}

} // namespace lumvik::test
