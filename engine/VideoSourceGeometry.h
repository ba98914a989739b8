#pragma once

#include <cstdint>
#include <optional>

namespace lumvik {

/// The decoded video as the player reports it: width and height in pixels before rotation, and the
/// rotation in degrees that the player applies, from 0 to 359.
struct VideoSourceGeometry {
    std::int64_t width = 0;
    std::int64_t height = 0;
    int rotation = 0;

    /// Whether width and height are swapped on the screen.
    [[nodiscard]] bool isTurned() const { return rotation == 90 || rotation == 270; }
    [[nodiscard]] std::int64_t displayedWidth() const { return isTurned() ? height : width; }
    [[nodiscard]] std::int64_t displayedHeight() const { return isTurned() ? width : height; }

    friend bool operator==(const VideoSourceGeometry &, const VideoSourceGeometry &) = default;
};

/// The geometry for the player's three numbers; nothing unless width and height are at least 1. A
/// rotation outside 0 to 359 is brought into it.
[[nodiscard]] std::optional<VideoSourceGeometry>
videoSourceGeometry(std::int64_t width, std::int64_t height, std::int64_t rotation);

/// The ratio of displayed width to height that the window should take, or nothing when it should
/// stay as it is: the ratio is outside 0.25 to 4 (a window of that shape is of no use), or differs
/// from the one `applied` before by less than 0.001.
[[nodiscard]] std::optional<double> aspectRatioToApply(const VideoSourceGeometry &geometry,
                                                       std::optional<double> applied);

} // namespace lumvik
