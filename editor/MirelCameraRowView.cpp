#include "editor/MirelCameraRowView.h"

#include "style/Contrast.h"
#include "style/LumvikPalette.h"

#include <QPainter>

namespace lumvik {

namespace {

// Lengths are in points.
constexpr qreal insetX = 2;
constexpr qreal insetY = 1;

/// The contrast of a band to the background at which it is visible, and the one above which it
/// distracts from the fields.
constexpr double visibleContrast = 1.1;
constexpr double subtleContrast = 1.4;

void fill(QPainter &painter, const QRectF &bounds, const QColor &colour) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawRoundedRect(MirelCameraRowView::shape(bounds), MirelCameraRowView::cornerRadius,
                            MirelCameraRowView::cornerRadius);
    painter.restore();
}

} // namespace

QRectF MirelCameraRowView::shape(const QRectF &bounds) {
    return bounds.adjusted(insetX, insetY, -insetX, -insetY);
}

QColor MirelCameraRowView::bandColour(const QPalette &palette) {
    const QColor ground = palette.color(QPalette::Window);
    const QColor alternate = palette.color(QPalette::AlternateBase);
    const double difference = contrast(alternate, ground);
    if (difference >= visibleContrast && difference <= subtleContrast)
        return alternate;
    constexpr float shareOfText = 0.07F;
    const QColor text = palette.color(QPalette::WindowText);
    const auto mixed = [](float one, float other) { return one + (other - one) * shareOfText; };
    return QColor::fromRgbF(mixed(ground.redF(), text.redF()),
                            mixed(ground.greenF(), text.greenF()),
                            mixed(ground.blueF(), text.blueF()));
}

void MirelCameraRowView::drawBackground(QPainter &painter, const QRectF &bounds,
                                        const QPalette &palette) const {
    if (usesAlternateBackground)
        fill(painter, bounds, bandColour(palette));
}

void MirelCameraRowView::drawSelection(QPainter &painter, const QRectF &bounds) const {
    if (isSelected)
        fill(painter, bounds, LumvikPalette::mirel());
}

} // namespace lumvik
