#pragma once

#include "engine/VideoFocusCrop.h"
#include "engine/VideoSourceGeometry.h"

#include <QRect>
#include <QRectF>
#include <QSize>

#include <optional>

namespace lumvik {

/// The smallest content, in points, of a window that shows a chosen area. Less than that of one
/// that shows a whole picture, since the area may be of any shape.
inline constexpr QSize minimumAreaContentSize{160, 160};

/// The area of the source under a rectangle on the screen. `selection` is in points from the view's
/// top left corner and may reach beyond it; `view` is the view's size; the view shows the whole
/// picture of `geometry`, scaled to fill it and centred, so that one direction may be cut.
///
/// The result is rounded outwards to whole pixels, lies within the source and is at least 2 × 2.
/// Nothing when the view or the picture has no size, or when less than 2 × 2 pixels of the picture
/// lie under the rectangle.
[[nodiscard]] std::optional<VideoFocusCrop>
videoFocusCrop(const QRectF &selection, const QSizeF &view, const VideoSourceGeometry &geometry);

/// Width over height of the area as it is seen, turned with the picture.
[[nodiscard]] double displayedRatio(const VideoFocusCrop &crop,
                                    const std::optional<VideoSourceGeometry> &geometry);

/// The frame that a window at `frame` takes to show an area of the shape `ratio` (width over
/// height, finite and above 0): about as high as before and around the same centre, but within
/// `visibleArea`, and no smaller than minimumAreaContentSize.
[[nodiscard]] QRect windowFrameForArea(const QRect &frame, double ratio, const QRect &visibleArea);

} // namespace lumvik
