#include "viewer/ViewerControl.h"

#include "viewer/ViewerAccessibility.h"

#include <QAccessible>
#include <QMouseEvent>
#include <QQuickWindow>
#include <QToolTip>

namespace lumvik {

namespace {

/// How long the pointer rests on a control before its tool tip shows, in milliseconds, as toolkits
/// have it.
constexpr int toolTipDelay = 700;

} // namespace

ViewerControl::ViewerControl(Role role, const QString &label, QQuickItem *parent)
    : QQuickPaintedItem(parent)
    , m_role(role)
    , m_label(label) {
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptHoverEvents(true);
    setAntialiasing(true);
    describeControlsToAssistiveTechnology();

    m_toolTipDelay.setSingleShot(true);
    m_toolTipDelay.setInterval(toolTipDelay);
    connect(&m_toolTipDelay, &QTimer::timeout, this, &ViewerControl::showToolTip);
}

ViewerControl::~ViewerControl() = default;

void ViewerControl::setLabel(const QString &label) {
    m_label = label;
    QAccessibleEvent changed(this, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&changed);
}

void ViewerControl::accessibleStateChanged() {
    QAccessible::State what;
    what.checked = true;
    QAccessibleStateChangeEvent changed(this, what);
    QAccessible::updateAccessibility(&changed);
}

void ViewerControl::accessibleValueChanged() {
    QAccessibleValueChangeEvent changed(this, value());
    QAccessible::updateAccessibility(&changed);
    QAccessibleEvent described(this, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&described);
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
    if (change == ItemVisibleHasChanged || change == ItemEnabledHasChanged) {
        QAccessible::State what;
        what.invisible = change == ItemVisibleHasChanged;
        what.disabled = change == ItemEnabledHasChanged;
        QAccessibleStateChangeEvent changed(this, what);
        QAccessible::updateAccessibility(&changed);
    }
    QQuickPaintedItem::itemChange(change, value);
}

} // namespace lumvik
