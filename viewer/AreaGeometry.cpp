#include "viewer/AreaGeometry.h"

#include <algorithm>
#include <cmath>

namespace lumvik {

namespace {

/// A rectangle of the rotated picture, in pixels.
struct DisplayedArea {
    std::int64_t left = 0;
    std::int64_t top = 0;
    std::int64_t right = 0;
    std::int64_t bottom = 0;

    [[nodiscard]] std::int64_t width() const { return right - left; }
    [[nodiscard]] std::int64_t height() const { return bottom - top; }
};

constexpr std::int64_t smallestSide = 2;

/// Rounds `value` down to an integer between 0 and `limit`. Returns 0 for NaN.
std::int64_t clampedDown(double value, std::int64_t limit) {
    return value > 0
               ? static_cast<std::int64_t>(std::min(std::floor(value), static_cast<double>(limit)))
               : 0;
}

/// Rounds `value` up to an integer between 0 and `limit`. Returns 0 for NaN.
std::int64_t clampedUp(double value, std::int64_t limit) {
    return value > 0
               ? static_cast<std::int64_t>(std::min(std::ceil(value), static_cast<double>(limit)))
               : 0;
}

/// Returns where the view shows the picture.
QRectF pictureFrame(const QSizeF &view, const VideoSourceGeometry &geometry,
                    PictureScaling scaling) {
    const QSizeF shown(static_cast<qreal>(geometry.displayedWidth()),
                       static_cast<qreal>(geometry.displayedHeight()));
    const double horizontal = view.width() / shown.width();
    const double vertical = view.height() / shown.height();
    const QSizeF size = shown * (scaling == PictureScaling::fill ? std::max(horizontal, vertical)
                                                                 : std::min(horizontal, vertical));
    return {QPointF((view.width() - size.width()) / 2, (view.height() - size.height()) / 2), size};
}

std::optional<DisplayedArea> displayedArea(const QRectF &selection, const QSizeF &view,
                                           const VideoSourceGeometry &geometry,
                                           PictureScaling scaling) {
    const std::int64_t width = geometry.isTurned() ? geometry.height : geometry.width;
    const std::int64_t height = geometry.isTurned() ? geometry.width : geometry.height;
    if (!(view.width() > 0) || !(view.height() > 0) || width <= 0 || height <= 0)
        return std::nullopt;
    const QRectF picture = pictureFrame(view, geometry, scaling);
    const double scaleX = picture.width() / static_cast<double>(width);
    const double scaleY = picture.height() / static_cast<double>(height);
    const DisplayedArea area{
        .left = clampedDown((selection.left() - picture.left()) / scaleX, width),
        .top = clampedDown((selection.top() - picture.top()) / scaleY, height),
        .right = clampedUp((selection.right() - picture.left()) / scaleX, width),
        .bottom = clampedUp((selection.bottom() - picture.top()) / scaleY, height)};
    if (area.width() < smallestSide || area.height() < smallestSide)
        return std::nullopt;
    return area;
}

/// Returns the part of the unrotated picture that the user sees as `area` after the rotation.
VideoFocusCrop sourceArea(const DisplayedArea &area, const VideoSourceGeometry &geometry) {
    const QSizeF source(static_cast<qreal>(geometry.width), static_cast<qreal>(geometry.height));
    switch (geometry.rotation) {
    case 90:
        return {.x = area.top,
                .y = geometry.height - area.right,
                .width = area.height(),
                .height = area.width(),
                .sourceSize = source};
    case 180:
        return {.x = geometry.width - area.right,
                .y = geometry.height - area.bottom,
                .width = area.width(),
                .height = area.height(),
                .sourceSize = source};
    case 270:
        return {.x = geometry.width - area.bottom,
                .y = area.left,
                .width = area.height(),
                .height = area.width(),
                .sourceSize = source};
    default:
        return {.x = area.left,
                .y = area.top,
                .width = area.width(),
                .height = area.height(),
                .sourceSize = source};
    }
}

/// Returns `crop` restricted to the source, in case rounding has moved an edge beyond it.
VideoFocusCrop clamped(VideoFocusCrop crop, const VideoSourceGeometry &geometry) {
    const auto clampedStart = [](std::int64_t start, std::int64_t length) {
        return std::min(std::max<std::int64_t>(length - smallestSide, 0),
                        std::max<std::int64_t>(start, 0));
    };
    crop.x = clampedStart(crop.x, geometry.width);
    crop.y = clampedStart(crop.y, geometry.height);
    crop.width = std::min(std::max(geometry.width - crop.x, smallestSide), crop.width);
    crop.height = std::min(std::max(geometry.height - crop.y, smallestSide), crop.height);
    return crop;
}

} // namespace

std::optional<VideoFocusCrop> videoFocusCrop(const QRectF &selection, const QSizeF &view,
                                             const VideoSourceGeometry &geometry,
                                             PictureScaling scaling) {
    const auto area = displayedArea(selection, view, geometry, scaling);
    if (!area)
        return std::nullopt;
    return clamped(sourceArea(*area, geometry), geometry);
}

double displayedRatio(const VideoFocusCrop &crop,
                      const std::optional<VideoSourceGeometry> &geometry) {
    const auto width = static_cast<double>(crop.width) * (geometry ? geometry->pixelRatio : 1);
    const auto height = static_cast<double>(crop.height);
    return geometry && geometry->isTurned() ? height / width : width / height;
}

QRect windowFrameForArea(const QRect &frame, double ratio, const QRect &visibleArea) {
    double height = frame.height();
    double width = ratio * height;
    if (width > visibleArea.width()) {
        width = visibleArea.width();
        height = width / ratio;
    }
    if (height > visibleArea.height()) {
        height = visibleArea.height();
        width = ratio * height;
    }
    const QSize size(static_cast<int>(std::lround(width)), static_cast<int>(std::lround(height)));
    QRect focused(QPoint(), size.expandedTo(minimumAreaContentSize));
    // QRect::center() is off by one for even sizes.
    focused.moveTopLeft({frame.x() + (frame.width() - focused.width()) / 2,
                         frame.y() + (frame.height() - focused.height()) / 2});
    const auto kept = [](int start, int length, int areaStart, int areaLength) {
        return std::clamp(start, areaStart, std::max(areaStart, areaStart + areaLength - length));
    };
    focused.moveTopLeft(
        {kept(focused.x(), focused.width(), visibleArea.x(), visibleArea.width()),
         kept(focused.y(), focused.height(), visibleArea.y(), visibleArea.height())});
    return focused;
}

} // namespace lumvik
