#pragma once

#include "engine/link/SessionDescription.h"

#include <QByteArray>

#include <cstdint>
#include <map>

namespace lumvik {

/// Tells the engine where each picture of a video stream ends.
///
/// The engine hands a picture to its decoder only when the next picture begins, so that the picture
/// on the screen is always older by one interval: 40 ms at 25 pictures a second, one second at one.
/// An access unit delimiter behind the picture is such a beginning. It is appended to the content
/// of the packet whose marker ends the picture (RFC 6184 and RFC 7798), so that no packet is added
/// and no packet is renumbered.
///
/// Some cameras set the marker elsewhere, and a delimiter within a picture would break it. Markers
/// are therefore believed only after `provingMarkers` of them in a row were each followed by a new
/// time stamp. Some servers set a wrong marker at the beginning only, so the proof may begin anew a
/// few times. Once delimiters are sent, a single counter-example ends them for the rest of the
/// stream.
///
/// The engine stamps each picture with the time of the packet in which it begins. With a delimiter,
/// a picture begins in the last packet of its predecessor, so that the engine's time stamps lag by
/// one picture. Frames are shown as they arrive, so nothing on the screen depends on them. They
/// must only increase, or the engine complains. The last packet is therefore stamped one unit later
/// than the others of its picture, and the first delimiter follows a picture of several packets.
///
/// A plain value for one track.
class AccessUnitDelimiter {
  public:
    static constexpr int provingMarkers = 8;
    /// How many wrong markers there may be before the first delimiter.
    static constexpr int mostWrongMarkers = 3;
    /// How many pictures in a row may consist of one packet each before the first delimiter follows
    /// such a picture, because the stream probably contains no others.
    static constexpr int longestWait = 50;

    /// `formats` are the formats of the track by payload type.
    explicit AccessUnitDelimiter(std::map<int, VideoFormat> formats);

    /// Appends a delimiter to an RTP packet that ends a picture. Other packets are not changed.
    void process(QByteArray &packet);
    /// Whether a marker within a picture has been seen.
    [[nodiscard]] bool isGivenUp() const { return m_isGivenUp; }

  private:
    [[nodiscard]] bool isProven(bool hasMarker, std::uint32_t timeStamp);
    [[nodiscard]] bool mayBegin(bool hasSeveralPackets);

    std::map<int, VideoFormat> m_formats;
    int m_proofs = 0;
    int m_wrongMarkers = 0;
    int m_waits = 0; ///< Pictures after the proof that were not suitable for the first delimiter.
    bool m_hasBegun = false;
    bool m_lastHadMarker = false;
    bool m_isGivenUp = false;
    std::uint32_t m_lastTimeStamp = 0;
};

} // namespace lumvik
