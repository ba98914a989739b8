#pragma once

#include <QSizeF>

#include <mpv/client.h>

#include <cstdint>
#include <optional>
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

/// Makes `player` show only `crop` of its picture, or, without one, all of it. Main thread only.
///
/// An engine without "video-crop" (0.35) gets a filter that cuts out the same pixels instead. Such
/// a filter cannot reach into frames that stay on the graphics card, so a decoder that leaves them
/// there gives way to one that copies them back for as long as there is a crop.
void setVideoCrop(mpv_handle *player, const std::optional<VideoFocusCrop> &crop);

} // namespace lumvik
