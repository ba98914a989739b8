#include "viewer/PictureZoom.h"

#include <algorithm>
#include <cmath>

namespace lumvik {

namespace {

/// A magnification this close to 1 is 1: the steps in and the steps out do not cancel exactly.
constexpr double smallestMagnification = 1.001;

QPointF centreOf(const QSizeF &size) {
    return {size.width() / 2, size.height() / 2};
}

/// Returns `offset` restricted so that a picture of the length `picture` leaves no bar in a view of
/// the length `view`, or 0 for a picture that is no longer than the view.
double clampedOffset(double offset, double picture, double view) {
    const double most = std::max((picture - view) / 2, 0.0);
    return std::clamp(offset, -most, most);
}

} // namespace

void PictureZoom::setSizes(const QSizeF &view, const QSizeF &picture) {
    if (view.isEmpty() || picture.isEmpty() || (view == m_view && picture == m_picture))
        return;
    m_view = view;
    m_picture = picture;
    const QSizeF size = magnifiedSize();
    setFrameOffset({m_pan.x() * size.width(), m_pan.y() * size.height()});
}

void PictureZoom::magnify(double factor, const QPointF &position) {
    if (m_picture.isEmpty() || !(factor > 0) || !std::isfinite(factor))
        return;
    double magnification = std::clamp(m_magnification * factor, 1.0, largestMagnification);
    if (magnification < smallestMagnification)
        magnification = 1;
    const QPointF fromCentre = position - centreOf(m_view);
    const QPointF offset = frame().center() - centreOf(m_view);
    const double change = magnification / m_magnification;
    m_magnification = magnification;
    setFrameOffset(fromCentre - (fromCentre - offset) * change);
}

void PictureZoom::move(const QPointF &distance) {
    if (isMagnified())
        setFrameOffset(frame().center() - centreOf(m_view) + distance);
}

void PictureZoom::reset() {
    m_magnification = 1;
    m_pan = {};
}

QRectF PictureZoom::visiblePart() const {
    const QRectF picture = frame();
    if (picture.isEmpty())
        return {0, 0, 1, 1};
    const QRectF visible = QRectF(QPointF(), m_view).intersected(picture);
    return {(visible.left() - picture.left()) / picture.width(),
            (visible.top() - picture.top()) / picture.height(), visible.width() / picture.width(),
            visible.height() / picture.height()};
}

QRectF PictureZoom::unmagnified(const QRectF &area) const {
    const QPointF centre = frame().center();
    return {centreOf(m_view) + (area.topLeft() - centre) / m_magnification,
            area.size() / m_magnification};
}

QRectF PictureZoom::frame() const {
    const QSizeF size = magnifiedSize();
    QRectF frame(QPointF(), size);
    frame.moveCenter(centreOf(m_view) +
                     QPointF(m_pan.x() * size.width(), m_pan.y() * size.height()));
    return frame;
}

void PictureZoom::setFrameOffset(const QPointF &offset) {
    if (!isMagnified()) {
        m_pan = {};
        return;
    }
    const QSizeF size = magnifiedSize();
    m_pan = {clampedOffset(offset.x(), size.width(), m_view.width()) / size.width(),
             clampedOffset(offset.y(), size.height(), m_view.height()) / size.height()};
}

} // namespace lumvik
