#include "viewer/EmptyStateLabel.h"

#include "style/Symbols.h"

#include <QAccessible>
#include <QFontMetricsF>
#include <QPainter>

#include <cmath>

namespace lumvik {

namespace {

constexpr int textFlags = Qt::AlignHCenter | Qt::AlignVCenter | Qt::TextWordWrap;

QFont labelFont() {
    return systemFont(15, QFont::Medium);
}

} // namespace

EmptyStateLabel::EmptyStateLabel(QQuickItem *parent) : QQuickPaintedItem(parent) {
    setVisible(false);
}

QString EmptyStateLabel::text() {
    return QStringLiteral(
        "No cameras are configured. Use Lumvik → Camera Addresses… to add a camera "
        "or import a Lumvik camera list.");
}

qreal EmptyStateLabel::heightForWidth(qreal width) {
    return std::ceil(QFontMetricsF(labelFont())
                         .boundingRect(QRectF(0, 0, width, 10000), textFlags, text())
                         .height());
}

void EmptyStateLabel::itemChange(ItemChange change, const ItemChangeData &value) {
    QQuickPaintedItem::itemChange(change, value);
    if (change != ItemVisibleHasChanged)
        return;
    QAccessibleEvent shown(this, isVisible() ? QAccessible::ObjectShow : QAccessible::ObjectHide);
    QAccessible::updateAccessibility(&shown);
}

void EmptyStateLabel::paint(QPainter *painter) {
    painter->setFont(labelFont());
    // The text is less bright than a title, but still easy to read on black.
    painter->setPen(QColor::fromRgbF(1, 1, 1, 0.62F));
    painter->drawText(boundingRect(), textFlags, text());
}

} // namespace lumvik
