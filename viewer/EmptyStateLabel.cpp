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

void EmptyStateLabel::setText(const QString &text) {
    if (text == m_text)
        return;
    m_text = text;
    update();
    QAccessibleEvent renamed(this, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&renamed);
}

qreal EmptyStateLabel::heightForWidth(qreal width) const {
    return std::ceil(QFontMetricsF(labelFont())
                         .boundingRect(QRectF(0, 0, width, 10000), textFlags, m_text)
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
    painter->drawText(boundingRect(), textFlags, m_text);
}

} // namespace lumvik
