#include "viewer/ViewerAccessibility.h"

#include "viewer/EmptyStateLabel.h"
#include "viewer/MainMenuStrip.h"
#include "viewer/ViewerControl.h"

#include <QAccessible>
#include <QAccessibleObject>
#include <QCoreApplication>
#include <QQuickWindow>

namespace lumvik {

namespace {

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

QRect areaOnScreen(const QQuickItem &item) {
    if (item.window() == nullptr)
        return {};
    const QRectF inWindow = item.mapRectToScene(item.boundingRect());
    return {item.window()->mapToGlobal(inWindow.topLeft()).toPoint(), inWindow.size().toSize()};
}

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
        // Screen readers on Linux ask a chooser for its name and description only.
        const bool asksForValue = kind == QAccessible::Value || kind == QAccessible::Description;
        return asksForValue ? control()->value() : QString();
    }
    QAccessible::Role role() const override {
        return isValid() ? accessibleRole(control()->role()) : QAccessible::NoRole;
    }
    QRect rect() const override { return isValid() ? areaOnScreen(*control()) : QRect(); }
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
        if (!isValid())
            return {};
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

/// The strip with the main menu's titles as assistive technology sees it: pressing it opens the
/// first menu, in which the arrow keys walk on.
class AccessibleMenuStrip final : public QAccessibleObject, public QAccessibleActionInterface {
  public:
    explicit AccessibleMenuStrip(MainMenuStrip *strip) : QAccessibleObject(strip) {}

    QAccessibleInterface *parent() const override {
        return isValid() && strip()->window() != nullptr
                   ? QAccessible::queryAccessibleInterface(strip()->window())
                   : nullptr;
    }
    QAccessibleInterface *child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }

    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Name ? QStringLiteral("Main Menu") : QString();
    }
    QAccessible::Role role() const override { return QAccessible::MenuBar; }
    QRect rect() const override { return isValid() ? areaOnScreen(*strip()) : QRect(); }
    QAccessible::State state() const override {
        QAccessible::State state;
        state.invalid = !isValid();
        state.invisible = isValid() && !strip()->isVisible();
        state.hasPopup = true;
        return state;
    }

    void *interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ActionInterface
                   ? static_cast<QAccessibleActionInterface *>(this)
                   : nullptr;
    }
    QStringList actionNames() const override { return {showMenuAction(), pressAction()}; }
    void doAction(const QString &name) override {
        if (isValid() && actionNames().contains(name))
            strip()->openMenu(0);
    }
    QStringList keyBindingsForAction(const QString &) const override {
        return {QStringLiteral("F10")};
    }

  private:
    [[nodiscard]] MainMenuStrip *strip() const { return static_cast<MainMenuStrip *>(object()); }
};

/// The message of the empty state as assistive technology sees it.
class AccessibleMessage final : public QAccessibleObject {
  public:
    explicit AccessibleMessage(EmptyStateLabel *label) : QAccessibleObject(label) {}

    QAccessibleInterface *parent() const override {
        return isValid() && label()->window() != nullptr
                   ? QAccessible::queryAccessibleInterface(label()->window())
                   : nullptr;
    }
    QAccessibleInterface *child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }

    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Name ? EmptyStateLabel::text() : QString();
    }
    QAccessible::Role role() const override { return QAccessible::StaticText; }
    QRect rect() const override { return isValid() ? areaOnScreen(*label()) : QRect(); }
    QAccessible::State state() const override {
        QAccessible::State state;
        state.invalid = !isValid();
        state.invisible = isValid() && !label()->isVisible();
        state.readOnly = true;
        return state;
    }

  private:
    [[nodiscard]] EmptyStateLabel *label() const {
        return static_cast<EmptyStateLabel *>(object());
    }
};

/// A window with controls as assistive technology sees it: its children are the message, the strip
/// and the controls, shown or not (those that are not say so themselves).
class AccessibleWindow final : public QAccessibleObject {
  public:
    explicit AccessibleWindow(QQuickWindow *window) : QAccessibleObject(window) {}

    QAccessibleInterface *parent() const override {
        return QAccessible::queryAccessibleInterface(QCoreApplication::instance());
    }
    QAccessibleInterface *child(int index) const override {
        QQuickItem *control = controls().value(index);
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
    [[nodiscard]] QList<QQuickItem *> controls() const {
        QList<QQuickItem *> controls;
        if (!isValid())
            return controls;
        // They lie directly in the content, in the order of their creation.
        for (QQuickItem *item : window()->contentItem()->childItems()) {
            if (qobject_cast<ViewerControl *>(item) != nullptr ||
                qobject_cast<MainMenuStrip *>(item) != nullptr ||
                qobject_cast<EmptyStateLabel *>(item) != nullptr)
                controls.append(item);
        }
        return controls;
    }
};

/// Asked for an object's class first and then for each class above it.
QAccessibleInterface *makeAccessible(const QString &className, QObject *object) {
    if (className == QLatin1String(ViewerControl::staticMetaObject.className()))
        return new AccessibleControl(static_cast<ViewerControl *>(object));
    if (className == QLatin1String(MainMenuStrip::staticMetaObject.className()))
        return new AccessibleMenuStrip(static_cast<MainMenuStrip *>(object));
    if (className == QLatin1String(EmptyStateLabel::staticMetaObject.className()))
        return new AccessibleMessage(static_cast<EmptyStateLabel *>(object));
    if (className == QLatin1String(QQuickWindow::staticMetaObject.className()))
        return new AccessibleWindow(static_cast<QQuickWindow *>(object));
    return nullptr;
}

} // namespace

void describeControlsToAssistiveTechnology() {
    static const bool isInstalled = [] {
        QAccessible::installFactory(&makeAccessible);
        return true;
    }();
    static_cast<void>(isInstalled);
}

} // namespace lumvik
