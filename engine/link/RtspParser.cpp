#include "engine/link/RtspParser.h"

#include <algorithm>

namespace lumvik {

namespace {

constexpr qsizetype packetHeaderSize = 4;
/// Returned bytes are removed from the buffer only when there are this many, so that a burst of
/// small packets is not moved once for each packet.
constexpr qsizetype compactionThreshold = 64LL * 1024;

bool isLineEnd(char byte) {
    return byte == '\r' || byte == '\n';
}

/// Whether a message can begin with `byte`: methods and "RTSP" are in capital letters.
bool canBeginMessage(char byte) {
    return byte >= 'A' && byte <= 'Z';
}

/// No method has this many letters.
constexpr qsizetype longestMethod = 40;

/// Whether `line`, complete or not, can be the start line of a message.
bool canBeStartLine(QByteArrayView line) {
    const qsizetype length = std::min(line.size(), longestMethod);
    for (qsizetype i = 0; i < length; ++i) {
        if (line[i] == ' ' || line[i] == '/')
            return i > 0;
        if (!canBeginMessage(line[i]) && line[i] != '_')
            return false;
    }
    return length < longestMethod;
}

/// Whether `line` is a complete start line.
bool isStartLine(QByteArrayView line) {
    return line.startsWith("RTSP/") || line.indexOf(" RTSP/") > 0;
}

/// Removes the line end and the spaces around `text`.
QByteArray trimmed(QByteArrayView text) {
    return text.toByteArray().trimmed();
}

/// The length of the body, or -1 if it is beyond all bounds. A length that is no number counts as
/// 0, as the engine takes it.
qsizetype bodyLength(const RtspMessage &message) {
    const QByteArray text = message.value("Content-Length").trimmed();
    bool isNumber = false;
    const qlonglong length = text.toLongLong(&isNumber);
    if (isNumber)
        return length > RtspParser::longestBody ? -1 : std::max<qsizetype>(length, 0);
    const bool hasDigitsOnly = !text.isEmpty() && std::all_of(text.begin(), text.end(), [](char c) {
        return c >= '0' && c <= '9';
    });
    return hasDigitsOnly ? -1 : 0; // too many digits for a number
}

} // namespace

QByteArray InterleavedPacket::encoded() const {
    QByteArray bytes;
    bytes.reserve(packetHeaderSize + payload.size());
    bytes.append('$');
    bytes.append(static_cast<char>(channel));
    bytes.append(static_cast<char>(payload.size() >> 8));
    bytes.append(static_cast<char>(payload.size() & 0xff));
    return bytes.append(payload);
}

void RtspParser::append(QByteArrayView bytes) {
    if (!m_failed)
        m_buffer.append(bytes);
}

std::optional<RtspParser::Item> RtspParser::next() {
    if (m_failed)
        return std::nullopt;
    if (m_isLost)
        return takeUnknown();
    while (!pending().isEmpty() && isLineEnd(pending().front()))
        consume(1);
    if (pending().isEmpty())
        return std::nullopt;
    if (pending().front() == '$')
        return takePacket();
    return takeMessage();
}

std::optional<RtspParser::Item> RtspParser::takePacket() {
    const QByteArrayView bytes = pending();
    if (bytes.size() < packetHeaderSize)
        return std::nullopt;
    const qsizetype length =
        static_cast<std::uint8_t>(bytes[2]) << 8 | static_cast<std::uint8_t>(bytes[3]);
    if (bytes.size() < packetHeaderSize + length)
        return std::nullopt;
    InterleavedPacket packet{static_cast<std::uint8_t>(bytes[1]),
                             bytes.sliced(packetHeaderSize, length).toByteArray()};
    consume(packetHeaderSize + length);
    return packet;
}

std::optional<RtspParser::Item> RtspParser::takeMessage() {
    const QByteArrayView bytes = pending();
    // A message that arrives byte by byte is not parsed again for each byte.
    if (bytes.size() < m_messageSize ||
        (m_lineSearchedTo > 0 && bytes.size() <= longestHeader && !endsLine(bytes)))
        return std::nullopt;
    RtspMessage message;
    qsizetype lineBegin = 0;
    bool isComplete = false;
    while (!isComplete) {
        const qsizetype lineEnd = bytes.indexOf('\n', lineBegin);
        const QByteArrayView line =
            bytes.sliced(lineBegin, (lineEnd < 0 ? bytes.size() : lineEnd) - lineBegin);
        if (lineBegin == 0 && !canBeStartLine(line))
            return takeUnknown();
        if (lineBegin + line.size() > longestHeader) {
            fail();
            return std::nullopt;
        }
        if (lineEnd < 0) {
            const bool isStartLineChecked = lineBegin > 0 || line.size() >= longestMethod;
            m_lineSearchedTo = isStartLineChecked ? bytes.size() : 0;
            return std::nullopt;
        }
        const QByteArray text = trimmed(line);
        if (lineBegin == 0) {
            if (!isStartLine(line))
                return takeUnknown();
            message.startLine = text;
        } else if (text.isEmpty()) {
            isComplete = true;
        } else if (static_cast<int>(message.headers.size()) >= mostHeaderLines) {
            fail();
            return std::nullopt;
        } else if (const qsizetype colon = text.indexOf(':'); colon > 0) {
            // Lines without a name mean nothing to the engine either.
            message.headers.push_back({text.first(colon), text.sliced(colon + 1).trimmed()});
        }
        lineBegin = lineEnd + 1;
    }
    const qsizetype length = bodyLength(message);
    if (length < 0) {
        fail();
        return std::nullopt;
    }
    if (bytes.size() < lineBegin + length) {
        m_messageSize = lineBegin + length;
        return std::nullopt;
    }
    message.body = bytes.sliced(lineBegin, length).toByteArray();
    consume(lineBegin + length);
    return message;
}

/// Whether `bytes`, all pending ones, contain a line end that has not been found before.
bool RtspParser::endsLine(QByteArrayView bytes) {
    const bool found = bytes.indexOf('\n', m_lineSearchedTo) >= 0;
    m_lineSearchedTo = found ? 0 : bytes.size();
    return found;
}

std::optional<RtspParser::Item> RtspParser::takeUnknown() {
    m_isLost = true;
    if (pending().isEmpty())
        return std::nullopt;
    UnknownBytes unknown{pending().toByteArray()};
    consume(pending().size());
    return unknown;
}

QByteArrayView RtspParser::pending() const {
    return QByteArrayView(m_buffer).sliced(m_begin);
}

void RtspParser::consume(qsizetype count) {
    m_begin += count;
    m_messageSize = 0;
    m_lineSearchedTo = 0;
    if (m_begin == m_buffer.size())
        m_buffer.clear();
    else if (m_begin >= compactionThreshold)
        m_buffer.remove(0, m_begin);
    else
        return;
    m_begin = 0;
}

void RtspParser::fail() {
    m_failed = true;
    m_buffer.clear();
    m_begin = 0;
}

} // namespace lumvik
