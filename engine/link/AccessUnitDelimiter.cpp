#include "engine/link/AccessUnitDelimiter.h"

#include "engine/link/RtpPacket.h"

#include <QtEndian>

#include <optional>
#include <utility>

namespace lumvik {

namespace {

constexpr qsizetype largestPacket = 0xffff; // the length in front of a packet has two bytes

/// How the last unit in a packet's content ends.
enum class Ending {
    Unit,        ///< A unit, or its last fragment, ends with the content.
    Aggregation, ///< The content is a list of units, each behind its length.
    Unknown,     ///< A fragment that does not end its unit, or a kind that is not understood.
};

std::uint8_t at(QByteArrayView content, qsizetype position) {
    return static_cast<std::uint8_t>(content[position]);
}

Ending endingOfH264(QByteArrayView content) {
    if (content.size() < 2)
        return Ending::Unknown;
    const int type = at(content, 0) & 0x1f;
    if (type >= 1 && type <= 23)
        return Ending::Unit;
    if (type == 24) // STAP-A
        return Ending::Aggregation;
    const bool isLastFragment = type == 28 && (at(content, 1) & 0x40) != 0; // FU-A
    return isLastFragment ? Ending::Unit : Ending::Unknown;
}

Ending endingOfH265(QByteArrayView content) {
    if (content.size() < 3)
        return Ending::Unknown;
    const int type = at(content, 0) >> 1 & 0x3f;
    if (type <= 47)
        return Ending::Unit;
    if (type == 48) // AP
        return Ending::Aggregation;
    const bool isLastFragment = type == 49 && (at(content, 2) & 0x40) != 0; // FU
    return isLastFragment ? Ending::Unit : Ending::Unknown;
}

/// The delimiters say that any type of picture may follow.
QByteArray delimiterUnit(VideoCodec codec) {
    return codec == VideoCodec::H264 ? QByteArray::fromHex("09f0") : QByteArray::fromHex("460150");
}

/// Returns the bytes to append to `content`, or none.
QByteArray delimiterAfter(QByteArrayView content, VideoCodec codec) {
    const QByteArray unit = delimiterUnit(codec);
    switch (codec == VideoCodec::H264 ? endingOfH264(content) : endingOfH265(content)) {
    case Ending::Unit:
        return QByteArray::fromHex("00000001") + unit;
    case Ending::Aggregation:
        return QByteArray(1, '\0') + static_cast<char>(unit.size()) + unit;
    case Ending::Unknown:
        break;
    }
    return {};
}

} // namespace

AccessUnitDelimiter::AccessUnitDelimiter(std::map<int, VideoFormat> formats)
    : m_formats(std::move(formats)) {}

void AccessUnitDelimiter::process(QByteArray &packet) {
    if (m_isGivenUp)
        return;
    const std::optional<RtpPacket> header = parseRtpPacket(packet);
    if (!header)
        return;
    const auto format = m_formats.find(header->payloadType);
    if (format == m_formats.end() || format->second.hasDecodingOrder)
        return;
    const bool hasSeveralPackets = header->timeStamp == m_lastTimeStamp;
    if (!isProven(header->hasMarker, header->timeStamp) || !header->hasMarker ||
        !mayBegin(hasSeveralPackets))
        return;
    const QByteArrayView content = QByteArrayView(packet).sliced(
        header->contentBegin, header->contentEnd - header->contentBegin);
    const QByteArray delimiter = delimiterAfter(content, format->second.codec);
    if (delimiter.isEmpty() || header->contentEnd + delimiter.size() > largestPacket)
        return;
    if (header->hasPadding) {
        packet.truncate(header->contentEnd);
        packet[0] = static_cast<char>(packet[0] & ~0x20);
    }
    packet.append(delimiter);
    qToBigEndian(header->timeStamp + 1, packet.data() + RtpPacket::timeStampPosition);
    m_hasBegun = true;
}

bool AccessUnitDelimiter::mayBegin(bool hasSeveralPackets) {
    return m_hasBegun || hasSeveralPackets || ++m_waits > longestWait;
}

bool AccessUnitDelimiter::isProven(bool hasMarker, std::uint32_t timeStamp) {
    if (m_lastHadMarker && timeStamp == m_lastTimeStamp) {
        m_proofs = 0;
        m_isGivenUp = m_hasBegun || ++m_wrongMarkers > mostWrongMarkers;
    } else if (m_lastHadMarker && m_proofs < provingMarkers) {
        ++m_proofs;
    }
    m_lastHadMarker = hasMarker;
    m_lastTimeStamp = timeStamp;
    return !m_isGivenUp && m_proofs >= provingMarkers;
}

} // namespace lumvik
