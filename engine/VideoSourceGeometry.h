#pragma once

#include <cstdint>
#include <optional>

namespace lumvik {

/// The geometry of the decoded video as the player reports it: width and height in pixels before
/// rotation, and the rotation that the player applies, in degrees from 0 to 359.
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

/// Returns the geometry for the three numbers that the player reports, or nothing if the width or
/// the height is less than 1. The rotation is normalised to the range from 0 to 359.
[[nodiscard]] std::optional<VideoSourceGeometry>
videoSourceGeometry(std::int64_t width, std::int64_t height, std::int64_t rotation);

/// The narrowest and the widest ratio of width to height that a window adopts from its video. A
/// window with a ratio outside this range would be too narrow or too flat to be useful.
inline constexpr double narrowestAspectRatio = 0.25;
inline constexpr double widestAspectRatio = 4.0;

/// The smallest change of the ratio that is worth reshaping the window for. In a window that is
/// 1000 points wide or high, this change amounts to about one point.
inline constexpr double noticeableAspectRatioChange = 0.001;

/// Returns the ratio of displayed width to height that the window should adopt, or nothing if the
/// window should keep its shape. The window keeps its shape if the ratio lies outside the range of
/// usable ratios, or hardly differs from the ratio `applied` before.
[[nodiscard]] std::optional<double> aspectRatioToApply(const VideoSourceGeometry &geometry,
                                                       std::optional<double> applied);

} // namespace lumvik
