#pragma once

#include <QSize>

namespace lumvik {

/// The aspect ratio that a window's content keeps. Only the ratio of width to height matters.
/// An empty ratio allows any shape.
struct ContentAspectRatio {
    int width = 0;
    int height = 0;

    [[nodiscard]] bool isEmpty() const { return width <= 0 || height <= 0; }
    friend bool operator==(const ContentAspectRatio &, const ContentAspectRatio &) = default;
};

/// Returns a size of the same area as `size` that has the aspect ratio `ratio` to within a pixel.
/// The returned size is no smaller than `minimum` and, where `minimum` allows, no larger than
/// `maximum`. Returns `size` itself if the ratio is empty or `size` already has it to within a
/// pixel.
[[nodiscard]] QSize sizeWithAspectRatio(const QSize &size, ContentAspectRatio ratio,
                                        const QSize &minimum, const QSize &maximum);

/// Returns the smallest size that a window with the aspect ratio `ratio` may have: `wanted`, but no
/// more than lets a window of this ratio fit into `available`. A portrait picture that is 480
/// points wide, for example, would be higher than many screens.
[[nodiscard]] QSize smallestSizeOnScreen(const QSize &wanted, ContentAspectRatio ratio,
                                         const QSize &available);

} // namespace lumvik
