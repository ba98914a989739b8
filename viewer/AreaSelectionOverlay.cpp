#include "viewer/AreaSelectionOverlay.h"

#include "style/Symbols.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

namespace lumvik {

namespace {

constexpr float dimAlpha = 0.42F;
constexpr float badgeAlpha = 0.78F;
constexpr qreal badgeRadius = 8;
constexpr qreal badgeFromBottom = 18;
constexpr qreal badgeMarginX = 12; // on each side of the text
constexpr qreal badgeMarginY = 5;  // above and below the text
constexpr qreal outlineWidth = 2;
constexpr qreal dashLength = 6;
constexpr qreal dashGap = 4;

QFont hintFont() {
    return systemFont(12, QFont::DemiBold);
}

} // namespace

AreaSelectionOverlay::AreaSelectionOverlay(QQuickItem *parent) : QQuickPaintedItem(parent) {
    setAntialiasing(true);
    setVisible(false);
}

void AreaSelectionOverlay::setSelection(const std::optional<QRectF> &selection, bool isDragging) {
    m_selection = selection;
    m_isDragging = isDragging;
    update();
}

QString AreaSelectionOverlay::hint(bool isDragging) {
    return isDragging ? QStringLiteral("Release to focus")
                      : QStringLiteral("Drag to select an area");
}

QRectF AreaSelectionOverlay::badgeRect(const QSizeF &view, const QSizeF &text) {
    const QSizeF size(text.width() + 2 * badgeMarginX, text.height() + 2 * badgeMarginY);
    return {
        QPointF((view.width() - size.width()) / 2, view.height() - badgeFromBottom - size.height()),
        size};
}

void AreaSelectionOverlay::paint(QPainter *painter) {
    painter->setRenderHint(QPainter::Antialiasing);
    const bool hasArea = m_selection && !m_selection->isEmpty();

    QPainterPath dimmed;
    dimmed.setFillRule(Qt::OddEvenFill);
    dimmed.addRect(boundingRect());
    if (hasArea)
        dimmed.addRect(*m_selection);
    painter->fillPath(dimmed, QColor::fromRgbF(0, 0, 0, dimAlpha));

    paintBadge(*painter);

    if (hasArea) {
        QPen outline(Qt::white, outlineWidth, Qt::CustomDashLine, Qt::FlatCap, Qt::MiterJoin);
        outline.setDashPattern(
            {dashLength / outlineWidth, dashGap / outlineWidth}); // in units of the line width
        painter->setPen(outline);
        painter->setBrush(Qt::NoBrush);
        painter->drawRect(m_selection->adjusted(0.5, 0.5, -0.5, -0.5));
    }
}

void AreaSelectionOverlay::paintBadge(QPainter &painter) const {
    const QString text = hint(m_isDragging);
    const QFontMetricsF metrics(hintFont());
    const QRectF badge =
        badgeRect(size(), QSizeF(metrics.horizontalAdvance(text), metrics.height()));
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgbF(0, 0, 0, badgeAlpha));
    painter.drawRoundedRect(badge, badgeRadius, badgeRadius);
    painter.setPen(Qt::white);
    painter.setFont(hintFont());
    painter.drawText(QPointF(badge.x() + badgeMarginX, badge.y() + badgeMarginY + metrics.ascent()),
                     text);
}

} // namespace lumvik
