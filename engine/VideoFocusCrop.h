#pragma once

#include <QSizeF>

#include <mpv/client.h>

#include <cstdint>
#include <string>

namespace lumvik {

/// An area of the decoded picture, in source pixels from the picture's top left corner before any
/// rotation.
struct VideoFocusCrop {
    std::int64_t x = 0;
    std::int64_t y = 0;
    std::int64_t width = 0;  ///< At least 2.
    std::int64_t height = 0; ///< At least 2.
    QSizeF sourceSize;       ///< The size of the source when the area was chosen.

    friend bool operator==(const VideoFocusCrop &, const VideoFocusCrop &) = default;
};

/// Returns the value of libmpv's "video-crop" property for `crop`, for example "640x360+120+80".
[[nodiscard]] std::string videoCropText(const VideoFocusCrop &crop);

/// Makes `player` show only the area `crop` of its picture. Main thread only.
///
/// mpv 0.35 has no "video-crop" property, so a filter cuts out the same pixels. The filter cannot
/// access frames that stay on the graphics card. A decoder that keeps its frames on the card is
/// therefore replaced by a decoder that copies them to main memory, until `removeVideoCrop` is
/// called.
void setVideoCrop(mpv_handle *player, const VideoFocusCrop &crop);

/// Makes `player` show the whole picture temporarily. Keeps the decoder, because changing it would
/// interrupt the picture until the next key frame. Main thread only.
void hideVideoCrop(mpv_handle *player);

/// Makes `player` show the whole picture again and restores the decoder. Main thread only.
void removeVideoCrop(mpv_handle *player);

} // namespace lumvik
