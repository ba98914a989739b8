#include "editor/MirelCameraRowView.h"

#include "style/LumvikPalette.h"

#include <QPainter>

namespace lumvik {

namespace {

// Lengths are in points.
constexpr qreal insetX = 2;
constexpr qreal insetY = 1;
constexpr qreal cornerRadius = 7;

void fill(QPainter &painter, const QRectF &bounds, const QColor &colour) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawRoundedRect(bounds.adjusted(insetX, insetY, -insetX, -insetY), cornerRadius,
                            cornerRadius);
    painter.restore();
}

} // namespace

void MirelCameraRowView::drawBackground(QPainter &painter, const QRectF &bounds,
                                        const QPalette &palette) const {
    if (usesAlternateBackground)
        fill(painter, bounds, palette.color(QPalette::AlternateBase));
}

void MirelCameraRowView::drawSelection(QPainter &painter, const QRectF &bounds) const {
    if (isSelected)
        fill(painter, bounds, LumvikPalette::mirel());
}

} // namespace lumvik
