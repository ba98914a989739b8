#pragma once

#include <QSize>

namespace lumvik {

/// The shape that a window's content is to keep, as a width and a height of which only the quotient
/// matters. An empty ratio keeps nothing.
struct ContentAspectRatio {
    int width = 0;
    int height = 0;

    [[nodiscard]] bool isEmpty() const { return width <= 0 || height <= 0; }
    friend bool operator==(const ContentAspectRatio &, const ContentAspectRatio &) = default;
};

/// The size nearest to `size` that has the shape `ratio` to within a pixel: the same area, no
/// smaller than `minimum` and, where that allows, no larger than `maximum`. `size` itself when the
/// ratio is empty or already met to within a pixel.
[[nodiscard]] QSize sizeWithAspectRatio(const QSize &size, ContentAspectRatio ratio,
                                        const QSize &minimum, const QSize &maximum);

} // namespace lumvik
