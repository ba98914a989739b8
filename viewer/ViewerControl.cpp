#include "viewer/ViewerControl.h"

#include <QAccessible>
#include <QAccessibleObject>
#include <QCoreApplication>
#include <QMouseEvent>
#include <QQuickWindow>
#include <QToolTip>

namespace lumvik {

namespace {

/// How long the pointer rests on a control before its tool tip shows, in milliseconds, as toolkits
/// have it.
constexpr int toolTipDelay = 700;

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

// Qt Quick describes its windows and items to assistive technology only once a QML engine has
// loaded its module. There is none here, so the viewer's window and controls are described by what
// follows.

/// A control as assistive technology sees it.
class AccessibleControl final : public QAccessibleObject, public QAccessibleActionInterface {
  public:
    explicit AccessibleControl(ViewerControl *control) : QAccessibleObject(control) {}

    QAccessibleInterface *parent() const override {
        return isValid() && control()->window() != nullptr
                   ? QAccessible::queryAccessibleInterface(control()->window())
                   : nullptr;
    }
    QAccessibleInterface *child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }

    QString text(QAccessible::Text kind) const override {
        if (!isValid())
            return {};
        if (kind == QAccessible::Name)
            return control()->label();
        return kind == QAccessible::Value ? control()->value() : QString();
    }
    QAccessible::Role role() const override {
        return isValid() ? accessibleRole(control()->role()) : QAccessible::NoRole;
    }
    QRect rect() const override {
        if (!isValid() || control()->window() == nullptr)
            return {};
        const QRectF inWindow = control()->mapRectToScene(control()->boundingRect());
        return {control()->window()->mapToGlobal(inWindow.topLeft()).toPoint(),
                inWindow.size().toSize()};
    }
    QAccessible::State state() const override {
        QAccessible::State state;
        if (!isValid()) {
            state.invalid = true;
            return state;
        }
        state.invisible = !control()->isVisible();
        state.disabled = !control()->isEnabled();
        state.checkable = control()->role() == ViewerControl::Role::toggle;
        state.checked = control()->isOn();
        state.hasPopup = control()->role() == ViewerControl::Role::popUpButton;
        return state;
    }

    void *interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ActionInterface
                   ? static_cast<QAccessibleActionInterface *>(this)
                   : nullptr;
    }
    QStringList actionNames() const override {
        switch (control()->role()) {
        case ViewerControl::Role::button:
            return {pressAction()};
        case ViewerControl::Role::toggle:
            return {toggleAction(), pressAction()};
        case ViewerControl::Role::popUpButton:
            return {showMenuAction(), pressAction()};
        }
        return {};
    }
    void doAction(const QString &name) override {
        if (isValid() && actionNames().contains(name))
            control()->performClick();
    }
    QStringList keyBindingsForAction(const QString &) const override { return {}; }

  private:
    [[nodiscard]] ViewerControl *control() const { return static_cast<ViewerControl *>(object()); }
};

/// A window with controls as assistive technology sees it: its children are the controls, shown or
/// not (those that are not say so themselves).
class AccessibleWindow final : public QAccessibleObject {
  public:
    explicit AccessibleWindow(QQuickWindow *window) : QAccessibleObject(window) {}

    QAccessibleInterface *parent() const override {
        return QAccessible::queryAccessibleInterface(QCoreApplication::instance());
    }
    QAccessibleInterface *child(int index) const override {
        ViewerControl *control = controls().value(index);
        return control == nullptr ? nullptr : QAccessible::queryAccessibleInterface(control);
    }
    int childCount() const override { return static_cast<int>(controls().size()); }
    int indexOfChild(const QAccessibleInterface *child) const override {
        return static_cast<int>(controls().indexOf(child->object()));
    }

    QString text(QAccessible::Text kind) const override {
        return isValid() && kind == QAccessible::Name ? window()->title() : QString();
    }
    QAccessible::Role role() const override { return QAccessible::Window; }
    QRect rect() const override {
        return isValid() ? QRect(window()->mapToGlobal(QPoint()), window()->size()) : QRect();
    }
    QAccessible::State state() const override {
        QAccessible::State state;
        state.invalid = !isValid();
        state.invisible = isValid() && !window()->isVisible();
        state.active = isValid() && window()->isActive();
        return state;
    }

  private:
    [[nodiscard]] QQuickWindow *window() const override {
        return static_cast<QQuickWindow *>(object());
    }
    [[nodiscard]] QList<ViewerControl *> controls() const {
        // The controls lie directly in the content, in the order of their creation.
        return isValid() ? window()->contentItem()->findChildren<ViewerControl *>()
                         : QList<ViewerControl *>();
    }
};

/// Asked for an object's class first and then for each class above it.
QAccessibleInterface *makeAccessible(const QString &className, QObject *object) {
    if (className == QLatin1String(ViewerControl::staticMetaObject.className()))
        return new AccessibleControl(static_cast<ViewerControl *>(object));
    if (className == QLatin1String(QQuickWindow::staticMetaObject.className()))
        return new AccessibleWindow(static_cast<QQuickWindow *>(object));
    return nullptr;
}

void describeControlsToAssistiveTechnology() {
    static const bool isInstalled = [] {
        QAccessible::installFactory(&makeAccessible);
        return true;
    }();
    static_cast<void>(isInstalled);
}

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
