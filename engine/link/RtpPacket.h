#pragma once

#include <QByteArrayView>

#include <cstdint>
#include <optional>

namespace lumvik {

/// The header of an RTP packet (RFC 3550, 5.1), and where its content lies.
struct RtpPacket {
    /// Where the time stamp is, in four bytes, the most significant first.
    static constexpr qsizetype timeStampPosition = 4;

    bool hasMarker = false;
    int payloadType = 0; ///< From 0 to 127.
    std::uint16_t sequenceNumber = 0;
    std::uint32_t timeStamp = 0;
    qsizetype contentBegin = 0;
    qsizetype contentEnd = 0; ///< Without padding. Not before `contentBegin`.
    bool hasPadding = false;
};

/// Parses `packet`. Returns nothing if it is no RTP packet of version 2 or if it contradicts
/// itself.
[[nodiscard]] std::optional<RtpPacket> parseRtpPacket(QByteArrayView packet);

} // namespace lumvik
