#include "engine/link/StreamChannels.h"

#include "engine/link/RtpPacket.h"
#include "engine/link/VideoUnits.h"

#include <QtEndian>

#include <utility>

namespace lumvik {

namespace {

/// The channels in "…;interleaved=2-3;…".
struct InterleavedChannels {
    std::uint8_t media = 0;
    std::optional<std::uint8_t> statistics; ///< Not named by every camera.
};

std::optional<std::uint8_t> channelNumber(const QByteArray &text) {
    bool isNumber = false;
    const int number = text.trimmed().toInt(&isNumber);
    if (!isNumber || number < 0 || number > 255)
        return std::nullopt;
    return static_cast<std::uint8_t>(number);
}

std::optional<InterleavedChannels> interleavedChannels(const QByteArray &transport) {
    for (const QByteArray &part : transport.split(';')) {
        const QByteArray parameter = part.trimmed();
        if (!parameter.toLower().startsWith("interleaved="))
            continue;
        const QByteArrayList numbers = parameter.sliced(12).split('-');
        if (const auto media = channelNumber(numbers.constFirst()))
            return InterleavedChannels{*media, numbers.size() == 2 ? channelNumber(numbers.at(1))
                                                                   : std::nullopt};
    }
    return std::nullopt;
}

QByteArrayView contentOf(QByteArrayView packet, const RtpPacket &header) {
    return packet.sliced(header.contentBegin, header.contentEnd - header.contentBegin);
}

} // namespace

void StreamChannels::setUp(const QByteArray &response, const QByteArray &request,
                           const MediaDescription *medium) {
    auto channels = interleavedChannels(response);
    if (!channels) // the engine then uses the channels that it has asked for
        channels = interleavedChannels(request);
    if (!channels)
        return;
    Track &track = m_tracks[channels->media] = Track();
    if (channels->statistics && *channels->statistics != channels->media)
        m_reportChannels[*channels->statistics] = channels->media;
    if (medium == nullptr || medium->videoFormats.empty())
        return;
    track.videoFormats = medium->videoFormats;
    track.delimiter.emplace(medium->videoFormats);
}

std::optional<EngineData> StreamChannels::take(InterleavedPacket &&packet) {
    const auto found = m_tracks.find(packet.channel);
    if (found == m_tracks.end()) {
        const auto report = senderReport(packet);
        return EngineData{.bytes = packet.encoded(), .report = report};
    }
    Track &track = found->second;
    if (!isWithinBounds(track, packet.payload))
        return std::nullopt;
    // Before the delimiter, which changes the time stamp.
    const auto video = describe(packet.channel, track, packet.payload);
    if (track.delimiter) {
        track.delimiter->process(packet.payload);
        if (track.delimiter->isGivenUp() && !std::exchange(track.reportedWrongMarkers, true))
            m_hasWrongMarkers = true;
    }
    return EngineData{.bytes = packet.encoded(), .video = video};
}

bool StreamChannels::takeWrongMarkers() {
    return std::exchange(m_hasWrongMarkers, false);
}

/// Returns nothing for a packet that is not certainly one of a video track.
std::optional<EngineData::VideoPacket>
StreamChannels::describe(std::uint8_t channel, const Track &track, QByteArrayView packet) {
    const auto header = parseRtpPacket(packet);
    if (!header)
        return std::nullopt;
    const auto format = track.videoFormats.find(header->payloadType);
    if (format == track.videoFormats.end() || format->second.hasDecodingOrder)
        return std::nullopt;
    return EngineData::VideoPacket{
        channel, header->timeStamp,
        beginsKeyPicture(contentOf(packet, *header), format->second.codec)};
}

/// Returns nothing for a packet that does not begin with a sender report, as the statistics of
/// every sender do (RFC 3550, 6.1).
std::optional<EngineData::SenderReport>
StreamChannels::senderReport(const InterleavedPacket &packet) const {
    constexpr qsizetype shortest = 28;
    constexpr std::uint8_t senderReportType = 200;
    constexpr int version = 2;
    const auto track = m_reportChannels.find(packet.channel);
    if (track == m_reportChannels.end() || packet.payload.size() < shortest ||
        static_cast<std::uint8_t>(packet.payload.at(0)) >> 6 != version ||
        static_cast<std::uint8_t>(packet.payload.at(1)) != senderReportType)
        return std::nullopt;
    return EngineData::SenderReport{track->second,
                                    qFromBigEndian<quint64>(packet.payload.constData() + 8),
                                    qFromBigEndian<quint32>(packet.payload.constData() + 16)};
}

bool StreamChannels::isWithinBounds(Track &track, QByteArrayView packet) {
    if (const auto header = parseRtpPacket(packet)) {
        const auto format = track.videoFormats.find(header->payloadType);
        // The engine looks for the beginning of a picture in the content where it knows the format.
        // It ignores the time stamps then, whatever order the camera announces.
        const bool isKnown = format != track.videoFormats.end();
        const bool beginsNext =
            isKnown ? beginsPicture(contentOf(packet, *header), format->second.codec)
                    : header->timeStamp != track.timeStamp;
        if (beginsNext)
            track.pictureSize = 0;
        track.timeStamp = header->timeStamp;
    } // otherwise, the engine may still understand it
    track.pictureSize += packet.size();
    return track.pictureSize <= largestPicture;
}

} // namespace lumvik
