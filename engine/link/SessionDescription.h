#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace lumvik {

enum class VideoCodec { H264, H265 };

/// A format of a medium for which the link knows how pictures are split into packets.
struct VideoFormat {
    VideoCodec codec = VideoCodec::H264;
    /// Whether packets carry decoding order numbers, which move the beginning of their content.
    bool hasDecodingOrder = false;
};

/// One medium ("m=") of a session description.
struct MediaDescription {
    QByteArray kind; ///< "video", "audio" or another word.
    /// Where the medium is set up: an address, or a text that is appended to the base address.
    /// Empty if the description contains none.
    QByteArray control;
    std::map<int, VideoFormat> videoFormats; ///< By payload type.
};

/// What the link needs of a session description (SDP, RFC 4566).
struct SessionDescription {
    std::vector<MediaDescription> media;
};

inline constexpr std::size_t mostMedia = 32;

/// Parses a session description. Returns nothing if it contains more than `mostMedia` media, which
/// no camera has, so that the engine must not see it either. Everything unknown is ignored.
[[nodiscard]] std::optional<SessionDescription> parseSessionDescription(QByteArrayView text);

/// Returns `text` as the engine may see it: the address of each "a=control" line is replaced by
/// what `translate` returns for it, and the hosts of the other lines by 127.0.0.1. Lines that tell
/// people about the sender are left out.
[[nodiscard]] QByteArray
withoutCameraAddresses(const QByteArray &text,
                       const std::function<QByteArray(const QByteArray &)> &translate);

} // namespace lumvik
