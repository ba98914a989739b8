#include "viewer/KeyboardFocusRing.h"

#include <QPainter>

namespace lumvik {

namespace {

constexpr qreal lineWidth = 2;
constexpr float groundAlpha = 0.72F; // the opacity of the dark lines

} // namespace

KeyboardFocusRing::KeyboardFocusRing(QQuickItem *control) : QQuickPaintedItem(control) {
    setAntialiasing(true);
    setVisible(false);
}

void KeyboardFocusRing::surround(const OutlinedShape &shape) {
    const QRectF place = shape.bounds.adjusted(-reach, -reach, reach, reach);
    setPosition(place.topLeft());
    setSize(place.size());
    m_cornerRadius = shape.cornerRadius;
    update();
}

void KeyboardFocusRing::paint(QPainter *painter) {
    constexpr qreal middle = reach / 2;
    const QRectF ring = boundingRect().adjusted(middle, middle, -middle, -middle);
    const qreal radius = m_cornerRadius + middle;
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setBrush(Qt::NoBrush);
    painter->setPen(QPen(QColor::fromRgbF(0, 0, 0, groundAlpha), reach));
    painter->drawRoundedRect(ring, radius, radius);
    painter->setPen(QPen(Qt::white, lineWidth));
    painter->drawRoundedRect(ring, radius, radius);
}

} // namespace lumvik
