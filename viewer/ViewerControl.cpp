#include "viewer/ViewerControl.h"

#include "viewer/ViewerAccessibility.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QQuickWindow>
#include <QToolTip>

#include <utility>

namespace lumvik {

namespace {

/// How long the pointer must rest on a control until its tool tip appears, in milliseconds. Qt uses
/// the same delay for widgets.
constexpr int toolTipDelay = 700;

/// Sets the parent window of a tool tip. Wayland requires a parent window, and Qt sets one only for
/// the tool tips of widgets.
void attachToolTip(QWindow &window) {
    if (!QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
        return;
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (!widget->inherits("QTipLabel") || !widget->isVisible() ||
            widget->windowHandle()->transientParent() == &window)
            continue;
        widget->hide();
        widget->windowHandle()->setTransientParent(&window);
        widget->show();
    }
}

} // namespace

ViewerControl::ViewerControl(Role role, const QString &label, QQuickItem *parent)
    : QQuickPaintedItem(parent)
    , m_role(role)
    , m_label(label)
    , m_outline(new KeyboardFocusRing(this)) {
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptHoverEvents(true);
    setAntialiasing(true);
    describeViewerToAssistiveTechnology();

    m_toolTipDelay.setSingleShot(true);
    m_toolTipDelay.setInterval(toolTipDelay);
    connect(&m_toolTipDelay, &QTimer::timeout, this, &ViewerControl::showToolTip);
    m_disabledLookDelay.setSingleShot(true);
    m_disabledLookDelay.setInterval(disabledLookDelay);
    connect(&m_disabledLookDelay, &QTimer::timeout, this, [this] {
        m_looksDisabled = true;
        update();
    });
}

ViewerControl::~ViewerControl() = default;

void ViewerControl::setUnavailable(const QString &reason) {
    m_isUnavailable = true;
    setLabel(reason);
    QAccessible::State what;
    what.disabled = true;
    accessibleStateChanged(what);
    update();
}

void ViewerControl::setLabel(const QString &label) {
    m_label = label;
    QAccessibleEvent changed(this, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&changed);
}

void ViewerControl::accessibleStateChanged(QAccessible::State what) {
    QAccessibleStateChangeEvent changed(this, what);
    QAccessible::updateAccessibility(&changed);
}

void ViewerControl::accessibleValueChanged() {
    QAccessibleValueChangeEvent changed(this, value());
    QAccessible::updateAccessibility(&changed);
    QAccessibleEvent described(this, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&described);
}

ControlLook ViewerControl::look() const {
    if (m_isUnavailable || m_looksDisabled)
        return ControlLook::disabled;
    if (m_isPressed || (popUp() != nullptr && popUp()->isVisible()))
        return ControlLook::pressed;
    return m_isHovered ? ControlLook::hovered : ControlLook::idle;
}

void ViewerControl::setHovered(bool isHovered) {
    if (std::exchange(m_isHovered, isHovered) != isHovered)
        update();
}

void ViewerControl::setPressed(bool isPressed) {
    if (std::exchange(m_isPressed, isPressed) != isPressed)
        update();
}

void ViewerControl::performClick() {
    if (!isEnabled() || m_isUnavailable)
        return;
    hideToolTip();
    willPerformAction();
    if (m_action)
        m_action();
}

bool ViewerControl::opensMenu() const {
    return m_role == Role::popUpButton || m_role == Role::menuTitle;
}

void ViewerControl::mousePressEvent(QMouseEvent *event) {
    hideToolTip();
    event->accept(); // so that this item also receives the release
    if (!opensMenu()) {
        setPressed(true);
        return;
    }
    // A menu opens on the press, so that the user can press, move to an item and release.
    performClick();
    // The open menu receives the release, so this item must not wait for it.
    QMetaObject::invokeMethod(
        this, [this] { ungrabMouse(); }, Qt::QueuedConnection);
}

void ViewerControl::mouseMoveEvent(QMouseEvent *event) {
    event->accept();
    // Releasing the button outside the control does nothing, so the control no longer looks
    // pressed there.
    setPressed(!opensMenu() && contains(event->position()));
}

void ViewerControl::mouseUngrabEvent() {
    setPressed(false);
}

void ViewerControl::mouseReleaseEvent(QMouseEvent *event) {
    event->accept();
    setPressed(false);
    // As in other programs, releasing the button outside the control cancels the click.
    if (!opensMenu() && contains(event->position()))
        performClick();
}

void ViewerControl::mouseDoubleClickEvent(QMouseEvent *event) {
    // The two clicks of a double-click are clicks of the control. Without this function, the
    // surface below the control would receive the double-click.
    event->accept();
}

void ViewerControl::keyPressEvent(QKeyEvent *event) {
    constexpr auto modifiersOfKeys = Qt::KeypadModifier;
    const int key = event->key();
    const bool clicks = key == Qt::Key_Space || key == Qt::Key_Return || key == Qt::Key_Enter ||
                        (key == Qt::Key_Down && opensMenu());
    if (!clicks || (event->modifiers() & ~modifiersOfKeys) != Qt::NoModifier) {
        QQuickPaintedItem::keyPressEvent(event);
        return;
    }
    event->accept();
    if (!event->isAutoRepeat()) // holding a key is one click
        performClick();
}

void ViewerControl::hoverEnterEvent(QHoverEvent *event) {
    QQuickPaintedItem::hoverEnterEvent(event);
    setCursor(Qt::ArrowCursor);
    setHovered(true);
    m_toolTipDelay.start();
}

void ViewerControl::showToolTip() {
    if (window() == nullptr || !isEnabled() || !isVisible())
        return;
    if (QApplication::activePopupWidget() != nullptr)
        return; // the tool tip would cover the menu
    if (showsLabel())
        return;
    const QPointF below = mapToScene(QPointF(0, height()));
    QToolTip::showText(window()->mapToGlobal(below).toPoint(), m_label);
    attachToolTip(*window());
}

void ViewerControl::hoverLeaveEvent(QHoverEvent *event) {
    QQuickPaintedItem::hoverLeaveEvent(event);
    setHovered(false);
    hideToolTip();
}

void ViewerControl::hideToolTip() {
    m_toolTipDelay.stop();
    if (QToolTip::isVisible())
        QToolTip::hideText();
}

void ViewerControl::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) {
    QQuickPaintedItem::geometryChange(newGeometry, oldGeometry);
    m_outline->surround(outlinedShape());
}

void ViewerControl::itemChange(ItemChange change, const ItemChangeData &value) {
    QQuickPaintedItem::itemChange(change, value);
    if (change == ItemVisibleHasChanged || change == ItemEnabledHasChanged)
        visibilityOrUseChanged(change);
    else if (change == ItemActiveFocusHasChanged)
        keyboardFocusChanged();
}

void ViewerControl::updateLookOfUse(ItemChange change) {
    m_disabledLookDelay.stop();
    if (isEnabled() || change == ItemVisibleHasChanged)
        m_looksDisabled = !isEnabled();
    else if (isVisible())
        m_disabledLookDelay.start();
    update();
}

void ViewerControl::visibilityOrUseChanged(ItemChange change) {
    updateLookOfUse(change);
    if (!isVisible()) {
        hideToolTip();
        setHovered(false);
        setPressed(false);
    }
    // If the focus were not removed here, a control that had the focus when it was hidden would get
    // the focus back when it is shown again.
    if (!isVisible() || !isEnabled())
        setFocus(false);
    QAccessible::State what;
    what.invisible = change == ItemVisibleHasChanged;
    what.disabled = change == ItemEnabledHasChanged;
    accessibleStateChanged(what);
    if (change == ItemVisibleHasChanged) {
        QAccessibleEvent shown(this,
                               isVisible() ? QAccessible::ObjectShow : QAccessible::ObjectHide);
        QAccessible::updateAccessibility(&shown);
    }
}

void ViewerControl::keyboardFocusChanged() {
    m_outline->setVisible(hasActiveFocus());
    QAccessible::State what;
    what.focused = true;
    accessibleStateChanged(what);
    if (hasActiveFocus()) {
        QAccessibleEvent focused(this, QAccessible::Focus);
        QAccessible::updateAccessibility(&focused);
    }
}

} // namespace lumvik
