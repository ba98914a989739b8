#include "viewer/ViewerControl.h"

#include <QAccessible>
#include <QMetaType>
#include <QMouseEvent>
#include <QQuickWindow>
#include <QToolTip>
#include <QtQml>

namespace lumvik {

namespace {

/// How long the pointer rests on a control before its tool tip shows, in milliseconds, as toolkits
/// have it.
constexpr int toolTipDelay = 700;

/// The attached object through which Qt Quick's items describe themselves to assistive technology.
/// Its class is not public, its properties are; null when this Qt has no such class.
QObject *attachedAccessible(QObject *item) {
    const QMetaObject *type = QMetaType::fromName("QQuickAccessibleAttached*").metaObject();
    if (type == nullptr)
        return nullptr;
    const auto attach = qmlAttachedPropertiesFunction(item, type);
    return attach == nullptr ? nullptr : qmlAttachedPropertiesObject(item, attach, true);
}

QAccessible::Role accessibleRole(ViewerControl::Role role) {
    switch (role) {
    case ViewerControl::Role::button:
        return QAccessible::Button;
    case ViewerControl::Role::toggle:
        return QAccessible::CheckBox;
    case ViewerControl::Role::popUpButton:
        return QAccessible::ComboBox;
    }
    return QAccessible::Button;
}

} // namespace

ViewerControl::ViewerControl(Role role, const QString &label, QQuickItem *parent)
    : QQuickPaintedItem(parent)
    , m_role(role) {
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptHoverEvents(true);
    setAntialiasing(true);
    m_accessible = attachedAccessible(this);
    if (m_accessible != nullptr) {
        m_accessible->setProperty("role", static_cast<int>(accessibleRole(role)));
        m_accessible->setProperty("checkable", role == Role::toggle);
        m_accessible->setProperty("focusable", true);
        connect(m_accessible, SIGNAL(pressAction()), this, SLOT(performClick()));
        connect(m_accessible, SIGNAL(toggleAction()), this, SLOT(performClick()));
    }
    setLabel(label);

    m_toolTipDelay.setSingleShot(true);
    m_toolTipDelay.setInterval(toolTipDelay);
    connect(&m_toolTipDelay, &QTimer::timeout, this, &ViewerControl::showToolTip);
}

ViewerControl::~ViewerControl() = default;

void ViewerControl::setLabel(const QString &label) {
    m_label = label;
    if (m_accessible != nullptr)
        m_accessible->setProperty("name", label);
}

void ViewerControl::accessibleStateChanged() {
    if (m_accessible != nullptr)
        m_accessible->setProperty("checked", isOn());
}

void ViewerControl::performClick() {
    if (!isEnabled())
        return;
    hideToolTip();
    willPerformAction();
    if (m_action)
        m_action();
}

void ViewerControl::mousePressEvent(QMouseEvent *event) {
    hideToolTip();
    event->accept(); // so that the release comes here too
}

void ViewerControl::mouseReleaseEvent(QMouseEvent *event) {
    // Releasing outside takes the click back, as everywhere.
    if (contains(event->position()))
        performClick();
}

void ViewerControl::hoverEnterEvent(QHoverEvent *event) {
    QQuickPaintedItem::hoverEnterEvent(event);
    setCursor(Qt::ArrowCursor);
    m_toolTipDelay.start();
}

void ViewerControl::showToolTip() {
    if (window() == nullptr || !isEnabled() || !isVisible())
        return;
    const QPointF below = mapToScene(QPointF(0, height()));
    QToolTip::showText(window()->mapToGlobal(below).toPoint(), m_label);
}

void ViewerControl::hoverLeaveEvent(QHoverEvent *event) {
    QQuickPaintedItem::hoverLeaveEvent(event);
    hideToolTip();
}

void ViewerControl::hideToolTip() {
    m_toolTipDelay.stop();
    if (QToolTip::isVisible())
        QToolTip::hideText();
}

void ViewerControl::itemChange(ItemChange change, const ItemChangeData &value) {
    if (change == ItemVisibleHasChanged && !value.boolValue)
        hideToolTip();
    QQuickPaintedItem::itemChange(change, value);
}

} // namespace lumvik
