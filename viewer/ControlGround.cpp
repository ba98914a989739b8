#include "viewer/ControlGround.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace lumvik {

namespace {

/// The opacity of a line on a black picture at which the line has a contrast of 3:1, which the Web
/// Content Accessibility Guidelines ask for at the edges of controls.
constexpr float lineAlpha = 0.36F;
constexpr float hoveredLineAlpha = 0.5F;
constexpr float disabledLineAlpha = 0.18F;

/// The opacity of the white layer over the fill. White text on the pressed camera picker, over a
/// white picture, still has a contrast of 4.5:1.
constexpr float hoveredAlpha = 0.1F;
constexpr float pressedAlpha = 0.18F;

float lineAlphaOf(ControlLook look) {
    switch (look) {
    case ControlLook::idle:
        break;
    case ControlLook::hovered:
    case ControlLook::pressed:
        return hoveredLineAlpha;
    case ControlLook::disabled:
        return disabledLineAlpha;
    }
    return lineAlpha;
}

float layerAlphaOf(ControlLook look) {
    switch (look) {
    case ControlLook::hovered:
        return hoveredAlpha;
    case ControlLook::pressed:
        return pressedAlpha;
    case ControlLook::idle:
    case ControlLook::disabled:
        break;
    }
    return 0;
}

QColor white(float alpha) {
    return QColor::fromRgbF(1, 1, 1, alpha);
}

/// Draws a line of one pixel just inside `shape`. Pixels that the shape covers only partly belong
/// to the line.
void paintHairline(QPainter &painter, const OutlinedShape &shape, const QColor &colour) {
    const qreal scale = painter.combinedTransform().m11();
    const QRectF bounds = shape.bounds;
    const QRectF pixels(
        QPointF(std::floor(bounds.left() * scale), std::floor(bounds.top() * scale)) / scale,
        QPointF(std::ceil(bounds.right() * scale), std::ceil(bounds.bottom() * scale)) / scale);
    const qreal lineWidth = 1 / scale;
    const qreal middle = lineWidth / 2;
    const QRectF line = pixels.adjusted(middle, middle, -middle, -middle);
    const qreal radius = std::max(shape.cornerRadius - (line.left() - bounds.left()), 0.0);
    painter.setPen(QPen(colour, lineWidth));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(line, radius, radius);
}

} // namespace

qreal contentOpacity(ControlLook look) {
    constexpr qreal disabledOpacity = 0.4;
    return look == ControlLook::disabled ? disabledOpacity : 1;
}

void paintControlGround(QPainter &painter, const OutlinedShape &shape, const QColor &fill,
                        ControlLook look) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    for (const QColor &layer : {fill, white(layerAlphaOf(look))}) {
        painter.setBrush(layer);
        painter.drawRoundedRect(shape.bounds, shape.cornerRadius, shape.cornerRadius);
    }
    paintHairline(painter, shape, white(lineAlphaOf(look)));
    painter.restore();
}

} // namespace lumvik
