#pragma once

#include <cstdint>
#include <optional>

namespace lumvik {

/// The geometry of the decoded video as the player reports it: width and height in pixels before
/// rotation, the rotation that the player applies, in degrees from 0 to 359, and the ratio of width
/// to height of one pixel, which is not 1 for some cameras with 704 or 720 columns.
struct VideoSourceGeometry {
    std::int64_t width = 0;
    std::int64_t height = 0;
    int rotation = 0;
    double pixelRatio = 1;

    /// Whether width and height are swapped on the screen.
    [[nodiscard]] bool isTurned() const { return rotation == 90 || rotation == 270; }
    /// The size on the screen at which no pixel is smaller than in the source.
    [[nodiscard]] std::int64_t displayedWidth() const {
        return isTurned() ? squareHeight() : squareWidth();
    }
    [[nodiscard]] std::int64_t displayedHeight() const {
        return isTurned() ? squareWidth() : squareHeight();
    }

    friend bool operator==(const VideoSourceGeometry &, const VideoSourceGeometry &) = default;

  private:
    /// The size before rotation, with square pixels.
    [[nodiscard]] std::int64_t squareWidth() const;
    [[nodiscard]] std::int64_t squareHeight() const;
};

/// Returns the geometry for the numbers that the player reports, or nothing if the width or the
/// height is less than 1. The rotation is normalised to the range from 0 to 359. A `pixelRatio`
/// that no camera has, such as 0, counts as 1.
[[nodiscard]] std::optional<VideoSourceGeometry> videoSourceGeometry(std::int64_t width,
                                                                     std::int64_t height,
                                                                     std::int64_t rotation,
                                                                     double pixelRatio = 1);

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
