#include "engine/link/RtpPacket.h"

namespace lumvik {

namespace {

constexpr qsizetype fixedHeaderSize = 12;

std::uint8_t byteAt(QByteArrayView bytes, qsizetype position) {
    return static_cast<std::uint8_t>(bytes[position]);
}

std::uint32_t bigEndian(QByteArrayView bytes, qsizetype position, int count) {
    std::uint32_t number = 0;
    for (int i = 0; i < count; ++i)
        number = number << 8 | byteAt(bytes, position + i);
    return number;
}

} // namespace

std::optional<RtpPacket> parseRtpPacket(QByteArrayView bytes) {
    if (bytes.size() < fixedHeaderSize || byteAt(bytes, 0) >> 6 != 2)
        return std::nullopt;
    RtpPacket packet;
    packet.hasMarker = (byteAt(bytes, 1) & 0x80) != 0;
    packet.payloadType = byteAt(bytes, 1) & 0x7f;
    packet.sequenceNumber = static_cast<std::uint16_t>(bigEndian(bytes, 2, 2));
    packet.timeStamp = bigEndian(bytes, RtpPacket::timeStampPosition, 4);
    packet.hasPadding = (byteAt(bytes, 0) & 0x20) != 0;
    packet.contentBegin = fixedHeaderSize + 4 * qsizetype(byteAt(bytes, 0) & 0x0f);
    packet.contentEnd = bytes.size();
    const bool hasExtension = (byteAt(bytes, 0) & 0x10) != 0;
    if (hasExtension) {
        if (bytes.size() < packet.contentBegin + 4)
            return std::nullopt;
        packet.contentBegin += 4 + 4 * qsizetype(bigEndian(bytes, packet.contentBegin + 2, 2));
    }
    if (packet.hasPadding)
        packet.contentEnd -= byteAt(bytes, bytes.size() - 1);
    if (packet.contentBegin > packet.contentEnd)
        return std::nullopt;
    return packet;
}

} // namespace lumvik
