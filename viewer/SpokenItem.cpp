#include "viewer/SpokenItem.h"

#include "viewer/ViewerAccessibility.h"

#include <QAccessible>

namespace lumvik {

SpokenItem::SpokenItem(QQuickItem *parent) : QQuickPaintedItem(parent) {
    setVisible(false);
    describeViewerToAssistiveTechnology();
    m_pause.setSingleShot(true);
    m_pause.setInterval(shortestSpokenTime);
    connect(&m_pause, &QTimer::timeout, this, [this] { speak(); });
}

void SpokenItem::setSpokenText(const QString &text, bool isUrgent) {
    m_newestText = text;
    if (isUrgent || !isVisible() || !m_pause.isActive())
        speak();
}

void SpokenItem::speak() {
    if (m_newestText == m_spokenText)
        return;
    m_spokenText = m_newestText;
    m_pause.start();
    QAccessibleEvent renamed(this, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&renamed);
}

void SpokenItem::itemChange(ItemChange change, const ItemChangeData &value) {
    QQuickPaintedItem::itemChange(change, value);
    if (change != ItemVisibleHasChanged)
        return;
    QAccessibleEvent shown(this, isVisible() ? QAccessible::ObjectShow : QAccessible::ObjectHide);
    QAccessible::updateAccessibility(&shown);
}

} // namespace lumvik
