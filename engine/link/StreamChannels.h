#pragma once

#include "engine/link/AccessUnitDelimiter.h"
#include "engine/link/RtspParser.h"
#include "engine/link/SessionDescription.h"
#include "engine/link/StreamBacklog.h"

#include <QByteArray>
#include <QByteArrayView>

#include <cstdint>
#include <map>
#include <optional>

namespace lumvik {

/// The tracks of a stream that arrive as packets between the responses of an RTSP connection, each
/// on channels of its own (RFC 2326, 10.12).
///
/// Describes the packets of video tracks, gives their pictures a delimiter (AccessUnitDelimiter)
/// and bounds the size of a picture, because the engine collects what it receives, without a limit,
/// until a new picture begins.
///
/// A plain value for one session.
class StreamChannels {
  public:
    /// The most bytes of one picture. The key frames of real cameras have a few hundred kilobytes.
    static constexpr qsizetype largestPicture = 16LL * 1024 * 1024;

    /// A track was set up. `response` and `request` are the values of the "Transport" headers; the
    /// channels in the request count where the response names none. `medium` may be null.
    void setUp(const QByteArray &response, const QByteArray &request,
               const MediaDescription *medium);

    /// Returns `packet` as the engine gets it, with what is known of it, or nothing if its picture
    /// is larger than `largestPicture`.
    [[nodiscard]] std::optional<EngineData> take(InterleavedPacket &&packet);

    /// Whether a track has set the marker within a picture for the first time since the last call.
    [[nodiscard]] bool takeWrongMarkers();

  private:
    /// What is known of a track.
    struct Track {
        std::map<int, VideoFormat> videoFormats; ///< By payload type; empty for other media.
        std::optional<AccessUnitDelimiter> delimiter;
        /// The bytes since the last beginning of a picture.
        qsizetype pictureSize = 0;
        std::uint32_t timeStamp = 0;
        bool reportedWrongMarkers = false;
    };

    [[nodiscard]] static bool isWithinBounds(Track &track, QByteArrayView packet);
    [[nodiscard]] static std::optional<EngineData::VideoPacket>
    describe(std::uint8_t channel, const Track &track, QByteArrayView packet);
    [[nodiscard]] std::optional<EngineData::SenderReport>
    senderReport(const InterleavedPacket &packet) const;

    std::map<std::uint8_t, Track> m_tracks; ///< By the channel of their media.
    /// The channels of statistics, with the channels of media that they report on.
    std::map<std::uint8_t, std::uint8_t> m_reportChannels;
    bool m_hasWrongMarkers = false; ///< Since the last call of `takeWrongMarkers`.
};

} // namespace lumvik
