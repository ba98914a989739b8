#pragma once

#include "engine/VideoFocusCrop.h"
#include "engine/VideoSourceGeometry.h"

#include <QRect>
#include <QRectF>
#include <QSize>

#include <optional>

namespace lumvik {

/// The smallest width and height of an area that the user can select, in points. A smaller
/// rectangle counts as a click.
inline constexpr qreal smallestAreaSelection = 12;

/// The smallest content size, in points, of a window that shows an area. An area may have any
/// shape, so this minimum is smaller than that of a window that shows the whole picture.
inline constexpr QSize minimumAreaContentSize{160, 160};

/// How a picture is scaled to a view of another shape, in which it is centred.
enum class PictureScaling {
    fill, ///< The picture is cut in one direction.
    fit,  ///< The whole picture is shown between two black bars.
};

/// Returns the area of the source, in pixels, that a rectangle on the screen covers. `selection` is
/// in points from the top left corner of the view and may extend beyond the view and the picture.
/// `view` is the size of the view, in points, which shows the picture of `geometry`.
///
/// The result is rounded outwards to whole pixels, lies within the source and is at least 2 × 2
/// pixels. Returns nothing if the view or the picture has no size, or if the rectangle covers less
/// than 2 × 2 pixels of the picture.
[[nodiscard]] std::optional<VideoFocusCrop> videoFocusCrop(const QRectF &selection,
                                                           const QSizeF &view,
                                                           const VideoSourceGeometry &geometry,
                                                           PictureScaling scaling);

/// Returns the aspect ratio (width over height) of an area as the user sees it, after the picture
/// has been rotated and its pixels are square.
[[nodiscard]] double displayedRatio(const VideoFocusCrop &crop,
                                    const std::optional<VideoSourceGeometry> &geometry);

/// Returns the window frame in which a window at `frame` shows an area with the aspect ratio
/// `ratio` (width over height, finite and above 0). The result has about the same height and the
/// same centre as `frame`, but lies within `visibleArea` and is no smaller than
/// `minimumAreaContentSize`.
[[nodiscard]] QRect windowFrameForArea(const QRect &frame, double ratio, const QRect &visibleArea);

} // namespace lumvik
