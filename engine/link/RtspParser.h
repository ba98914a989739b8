#pragma once

#include "engine/link/RtspMessage.h"

#include <QByteArray>
#include <QByteArrayView>

#include <cstdint>
#include <optional>
#include <variant>

namespace lumvik {

/// A packet of media or statistics between RTSP messages (RFC 2326, 10.12).
struct InterleavedPacket {
    std::uint8_t channel = 0;
    QByteArray payload; ///< At most 65,535 bytes.

    /// The packet as it is sent.
    [[nodiscard]] QByteArray encoded() const;
};

/// Bytes that are neither a message nor a packet.
struct UnknownBytes {
    QByteArray bytes;
};

/// Splits the bytes of an RTSP connection into messages and packets. The bytes may arrive in pieces
/// of any size. A plain value without I/O; the link's dialogue owns one for each direction.
///
/// Everything that a sender can make long is bounded, because the sender may be broken or hostile.
/// After a bound has been exceeded, the parser returns nothing any more, and `failed` is true.
///
/// Bytes that do not begin like a message or a packet end the parsing: these and all later bytes
/// are returned as UnknownBytes. Line ends between messages are skipped.
class RtspParser {
  public:
    using Item = std::variant<RtspMessage, InterleavedPacket, UnknownBytes>;

    /// The longest start line and header lines together. An address in a camera list is shorter.
    static constexpr qsizetype longestHeader = 64LL * 1024;
    static constexpr int mostHeaderLines = 128;
    /// The longest body. Descriptions of streams have about one kilobyte.
    static constexpr qsizetype longestBody = 256LL * 1024;

    void append(QByteArrayView bytes);
    /// Returns the next item, or nothing until more bytes have been appended.
    [[nodiscard]] std::optional<Item> next();
    [[nodiscard]] bool failed() const { return m_failed; }
    /// Whether parsing has ended with bytes that are not RTSP.
    [[nodiscard]] bool isLost() const { return m_isLost; }

  private:
    [[nodiscard]] std::optional<Item> takePacket();
    [[nodiscard]] std::optional<Item> takeMessage();
    [[nodiscard]] std::optional<Item> takeUnknown();
    [[nodiscard]] QByteArrayView pending() const;
    [[nodiscard]] bool endsLine(QByteArrayView bytes);
    void consume(qsizetype count);
    void fail();

    QByteArray m_buffer;
    qsizetype m_begin = 0; ///< Where the bytes begin that have not been returned.
    // What is known of an incomplete message, in bytes from its beginning; 0 if nothing is known.
    qsizetype m_messageSize = 0;    ///< The size of the whole message.
    qsizetype m_lineSearchedTo = 0; ///< There is no line end from the last complete line to here.
    bool m_failed = false;
    bool m_isLost = false;
};

} // namespace lumvik
