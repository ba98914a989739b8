#pragma once

#include <QSizeF>

#include <mpv/client.h>

#include <cstdint>
#include <string>

namespace lumvik {

/// An area of the decoded picture, in source pixels from its top left corner before any rotation.
struct VideoFocusCrop {
    std::int64_t x = 0;
    std::int64_t y = 0;
    std::int64_t width = 0;  ///< At least 2.
    std::int64_t height = 0; ///< At least 2.
    QSizeF sourceSize;       ///< The source's width and height when the area was chosen.

    friend bool operator==(const VideoFocusCrop &, const VideoFocusCrop &) = default;
};

/// The crop as the engine's "video-crop" takes it: "640x360+120+80".
[[nodiscard]] std::string videoCropText(const VideoFocusCrop &crop);

/// Makes `player` show only `crop` of its picture. Main thread only, like the two below.
///
/// An engine without "video-crop" (0.35) gets a filter that cuts out the same pixels instead. Such
/// a filter cannot reach into frames that stay on the graphics card, so a decoder that leaves them
/// there gives way to one that copies them back, until `removeVideoCrop`.
void setVideoCrop(mpv_handle *player, const VideoFocusCrop &crop);

/// Shows the whole picture for a while. The decoder stays as it is, since changing it costs the
/// picture until the next key frame.
void hideVideoCrop(mpv_handle *player);

/// Shows the whole picture for good.
void removeVideoCrop(mpv_handle *player);

} // namespace lumvik
