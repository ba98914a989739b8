#include "viewer/ViewerAccessibility.h"

#include "viewer/AccessibleActions.h"
#include "viewer/DraggableContentView.h"
#include "viewer/EmptyStateLabel.h"
#include "viewer/MainMenuStrip.h"
#include "viewer/MenuAccessibility.h"
#include "viewer/ModalWindowCheck.h"
#include "viewer/SpokenItem.h"
#include "viewer/ViewerControl.h"

#include <QAccessible>
#include <QAccessibleObject>
#include <QGuiApplication>
#include <QMenu>
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
    case ViewerControl::Role::menuTitle:
        return QAccessible::MenuItem;
    }
    return QAccessible::Button;
}

/// The common base of all accessible objects in the window. Each object describes a Qt Quick item.
/// The parent of the object is the accessible object of the parent item, or the window if the
/// parent item has none.
class AccessibleItem : public QAccessibleObject {
  public:
    explicit AccessibleItem(QQuickItem *item) : QAccessibleObject(item) {}

    QAccessibleInterface *parent() const override {
        if (!isValid() || item()->window() == nullptr)
            return nullptr;
        if (qobject_cast<MainMenuStrip *>(item()->parentItem()) != nullptr ||
            qobject_cast<EmptyStateLabel *>(item()->parentItem()) != nullptr)
            return QAccessible::queryAccessibleInterface(item()->parentItem());
        return QAccessible::queryAccessibleInterface(item()->window());
    }
    QAccessibleInterface *child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }

    QRect rect() const override {
        if (!isValid() || item()->window() == nullptr)
            return {};
        const QRectF inWindow = item()->mapRectToScene(item()->boundingRect());
        return {item()->window()->mapToGlobal(inWindow.topLeft()).toPoint(),
                inWindow.size().toSize()};
    }
    QAccessible::State state() const override {
        QAccessible::State state;
        state.invalid = !isValid();
        state.invisible = isValid() && !item()->isVisible();
        state.disabled = isValid() && !item()->isEnabled();
        return state;
    }

  protected:
    [[nodiscard]] QQuickItem *item() const { return static_cast<QQuickItem *>(object()); }
};

/// The accessible object of a control. The menu that the control opens is the child of this object.
class AccessibleControl final : public AccessibleWithActions<AccessibleItem> {
  public:
    explicit AccessibleControl(ViewerControl *control) : AccessibleWithActions(control) {}

    QAccessibleInterface *child(int index) const override {
        return index == 0 && popUp() != nullptr ? QAccessible::queryAccessibleInterface(popUp())
                                                : nullptr;
    }
    int childCount() const override { return popUp() == nullptr ? 0 : 1; }
    int indexOfChild(const QAccessibleInterface *child) const override {
        return popUp() != nullptr && child->object() == popUp() ? 0 : -1;
    }

    QString text(QAccessible::Text kind) const override {
        if (!isValid())
            return {};
        if (kind == QAccessible::Name)
            return control()->label();
        // Screen readers on Linux read only the name and the description of a combo box, so the
        // description contains the value.
        const bool asksForValue = kind == QAccessible::Value || kind == QAccessible::Description;
        return asksForValue ? control()->value() : QString();
    }
    QAccessible::Role role() const override {
        return isValid() ? accessibleRole(control()->role()) : QAccessible::NoRole;
    }
    QAccessible::State state() const override {
        QAccessible::State state = AccessibleItem::state();
        if (!isValid())
            return state;
        state.disabled = !control()->isEnabled() || control()->isUnavailable();
        state.checkable = control()->role() == ViewerControl::Role::toggle;
        state.checked = control()->isOn();
        state.focusable = true; // a hidden control is shown when it gets the focus
        state.focused = control()->hasActiveFocus();
        state.hasPopup = popUp() != nullptr;
        state.expandable = state.hasPopup;
        state.expanded = popUp() != nullptr && popUp()->isVisible();
        state.collapsed = popUp() != nullptr && !popUp()->isVisible();
        return state;
    }

    QStringList actionNames() const override {
        if (!isValid())
            return {};
        switch (control()->role()) {
        case ViewerControl::Role::button:
            return {pressAction(), setFocusAction()};
        case ViewerControl::Role::toggle:
            return {toggleAction(), pressAction(), setFocusAction()};
        case ViewerControl::Role::popUpButton:
        case ViewerControl::Role::menuTitle:
            return {showMenuAction(), pressAction(), setFocusAction()};
        }
        return {};
    }
    void doAction(const QString &name) override {
        if (!actionNames().contains(name))
            return;
        if (name == setFocusAction()) {
            control()->askForKeyboard();
            return;
        }
        // The action runs in a later turn of the event loop, because it may show an alert and the
        // caller waits for this function to return.
        QMetaObject::invokeMethod(
            control(),
            [control = control()] {
                if (!modalWindowBlocksViewer())
                    control->performClick();
            },
            Qt::QueuedConnection);
    }

  private:
    [[nodiscard]] ViewerControl *control() const { return static_cast<ViewerControl *>(object()); }
    [[nodiscard]] QMenu *popUp() const { return isValid() ? control()->popUp() : nullptr; }
};

/// The accessible object of the main menu's strip. Pressing the strip opens the first menu, from
/// which the arrow keys lead to the other menus.
class AccessibleMenuStrip final : public AccessibleWithActions<AccessibleItem> {
  public:
    explicit AccessibleMenuStrip(MainMenuStrip *strip) : AccessibleWithActions(strip) {}

    QAccessibleInterface *child(int index) const override {
        MainMenuTitle *title = isValid() ? strip()->titles().value(index) : nullptr;
        return title == nullptr ? nullptr : QAccessible::queryAccessibleInterface(title);
    }
    int childCount() const override {
        return isValid() ? static_cast<int>(strip()->titles().size()) : 0;
    }
    int indexOfChild(const QAccessibleInterface *child) const override {
        return isValid() ? static_cast<int>(strip()->titles().indexOf(child->object())) : -1;
    }

    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Name ? QStringLiteral("Main Menu") : QString();
    }
    QAccessible::Role role() const override { return QAccessible::MenuBar; }
    QAccessible::State state() const override {
        QAccessible::State state = AccessibleItem::state();
        state.hasPopup = true;
        return state;
    }

    QStringList actionNames() const override { return {showMenuAction(), pressAction()}; }
    void doAction(const QString &name) override {
        if (isValid() && actionNames().contains(name) && !modalWindowBlocksViewer())
            strip()->openMenu(0);
    }
    QStringList keyBindingsForAction(const QString &) const override {
        return {QStringLiteral("F10")};
    }

  private:
    [[nodiscard]] MainMenuStrip *strip() const { return static_cast<MainMenuStrip *>(object()); }
};

/// The accessible object of the message of the empty state. Its children are the links.
class AccessibleMessage final : public AccessibleItem {
  public:
    explicit AccessibleMessage(EmptyStateLabel *label) : AccessibleItem(label) {}

    QAccessibleInterface *child(int index) const override {
        ViewerControl *link = isValid() ? label()->links().value(index) : nullptr;
        return link == nullptr ? nullptr : QAccessible::queryAccessibleInterface(link);
    }
    int childCount() const override {
        return isValid() ? static_cast<int>(label()->links().size()) : 0;
    }
    int indexOfChild(const QAccessibleInterface *child) const override {
        return isValid() ? static_cast<int>(label()->links().indexOf(child->object())) : -1;
    }

    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Name && isValid() ? label()->text() : QString();
    }
    QAccessible::Role role() const override { return QAccessible::StaticText; }
    QAccessible::State state() const override {
        QAccessible::State state = AccessibleItem::state();
        state.readOnly = true;
        return state;
    }

  private:
    [[nodiscard]] EmptyStateLabel *label() const {
        return static_cast<EmptyStateLabel *>(object());
    }
};

/// The accessible object of a text over the picture: what the window says about it, or the stream
/// details.
class AccessibleSpokenItem final : public AccessibleItem {
  public:
    explicit AccessibleSpokenItem(SpokenItem *item) : AccessibleItem(item) {}

    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Name && isValid() ? spokenItem()->spokenText() : QString();
    }
    QAccessible::Role role() const override { return QAccessible::StaticText; }
    QAccessible::State state() const override {
        QAccessible::State state = AccessibleItem::state();
        state.readOnly = true;
        return state;
    }

  private:
    [[nodiscard]] SpokenItem *spokenItem() const { return static_cast<SpokenItem *>(object()); }
};

/// The accessible object of the picture. This object describes the surface that covers the picture,
/// and has the state "invisible" while no camera is shown.
class AccessiblePicture final : public AccessibleItem {
  public:
    explicit AccessiblePicture(DraggableContentView *surface) : AccessibleItem(surface) {}

    QString text(QAccessible::Text kind) const override {
        if (!isValid())
            return {};
        if (kind == QAccessible::Name)
            return surface()->pictureText().name;
        return kind == QAccessible::Description ? surface()->pictureText().description : QString();
    }
    QAccessible::Role role() const override { return QAccessible::Graphic; }
    QAccessible::State state() const override {
        QAccessible::State state = AccessibleItem::state();
        state.readOnly = true;
        state.invisible = state.invisible || !isValid() || surface()->pictureText().name.isEmpty();
        return state;
    }

  private:
    [[nodiscard]] DraggableContentView *surface() const {
        return static_cast<DraggableContentView *>(object());
    }
};

/// The accessible object of the viewer's window. The children of this object are the picture, the
/// message, the strip and the controls. Hidden children have the state "invisible".
class AccessibleWindow final : public QAccessibleObject {
  public:
    explicit AccessibleWindow(QQuickWindow *window) : QAccessibleObject(window) {}

    QAccessibleInterface *parent() const override {
        return QAccessible::queryAccessibleInterface(qGuiApp);
    }
    QAccessibleInterface *child(int index) const override {
        QQuickItem *item = items().value(index);
        return item == nullptr ? nullptr : QAccessible::queryAccessibleInterface(item);
    }
    int childCount() const override { return static_cast<int>(items().size()); }
    int indexOfChild(const QAccessibleInterface *child) const override {
        return static_cast<int>(items().indexOf(child->object()));
    }
    QAccessibleInterface *focusChild() const override {
        return control() == nullptr ? nullptr : QAccessible::queryAccessibleInterface(control());
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
        if (!isValid())
            return state;
        state.invisible = !window()->isVisible();
        // Qt also calls a window active while one of its child windows has the focus.
        state.active = QGuiApplication::focusWindow() == window();
        state.focusable = true;
        state.focused = state.active && control() == nullptr;
        return state;
    }

  private:
    /// Returns the control that has the keyboard focus, or null.
    [[nodiscard]] ViewerControl *control() const {
        return isValid() ? qobject_cast<ViewerControl *>(window()->activeFocusItem()) : nullptr;
    }
    [[nodiscard]] QQuickWindow *window() const override {
        return static_cast<QQuickWindow *>(object());
    }
    [[nodiscard]] QList<QQuickItem *> items() const {
        QList<QQuickItem *> items;
        if (!isValid())
            return items;
        // The controls are direct children of the content item, in the order of their creation.
        for (QQuickItem *item : window()->contentItem()->childItems()) {
            if (qobject_cast<ViewerControl *>(item) != nullptr ||
                qobject_cast<MainMenuStrip *>(item) != nullptr ||
                qobject_cast<EmptyStateLabel *>(item) != nullptr ||
                qobject_cast<SpokenItem *>(item) != nullptr ||
                qobject_cast<DraggableContentView *>(item) != nullptr)
                items.append(item);
        }
        return items;
    }
};

/// Qt calls this function with the class of an object first and then with each of its base classes.
QAccessibleInterface *makeAccessible(const QString &className, QObject *object) {
    if (className == QLatin1String(ViewerControl::staticMetaObject.className()))
        return new AccessibleControl(static_cast<ViewerControl *>(object));
    if (className == QLatin1String(MainMenuStrip::staticMetaObject.className()))
        return new AccessibleMenuStrip(static_cast<MainMenuStrip *>(object));
    if (className == QLatin1String(EmptyStateLabel::staticMetaObject.className()))
        return new AccessibleMessage(static_cast<EmptyStateLabel *>(object));
    if (className == QLatin1String(SpokenItem::staticMetaObject.className()))
        return new AccessibleSpokenItem(static_cast<SpokenItem *>(object));
    if (className == QLatin1String(DraggableContentView::staticMetaObject.className()))
        return new AccessiblePicture(static_cast<DraggableContentView *>(object));
    if (className == QLatin1String(QQuickWindow::staticMetaObject.className()))
        return new AccessibleWindow(static_cast<QQuickWindow *>(object));
    return makeAccessibleMenu(className, object);
}

} // namespace

void describeViewerToAssistiveTechnology() {
    static const bool isInstalled = [] {
        QAccessible::installFactory(&makeAccessible);
        return true;
    }();
    static_cast<void>(isInstalled);
}

} // namespace lumvik
