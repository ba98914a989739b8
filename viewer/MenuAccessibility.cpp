#include "viewer/MenuAccessibility.h"

#include "viewer/AccessibleActions.h"
#include "viewer/ModalWindowCheck.h"
#include "viewer/ViewerControl.h"
#include "window/PopUpMenu.h"

#include <QAccessibleObject>
#include <QAccessibleWidget>
#include <QAction>
#include <QMenu>
#include <QPointer>
#include <QVariant>

namespace lumvik {

namespace {

/// The name of the dynamic property in which a menu stores the control that opens it.
constexpr const char *openingControl = "lumvikOpeningControl";

/// Returns the control that opens `menu`, or null if there is none or if it has been destroyed.
ViewerControl *controlOf(const QMenu &menu) {
    return qobject_cast<ViewerControl *>(menu.property(openingControl).value<QPointer<QObject>>());
}

/// Returns the menu that owns an item.
QMenu *menuOf(const QAction &item) {
    return qobject_cast<QMenu *>(item.parent());
}

/// Returns the text of an item as the user reads it: without the ampersand that marks an access
/// key, and with single instead of doubled ampersands.
QString readableText(const QAction &item) {
    QString text;
    const QString marked = item.text();
    for (qsizetype at = 0; at < marked.size(); ++at) {
        if (marked.at(at) == QLatin1Char('&') && ++at == marked.size())
            break;
        text.append(marked.at(at));
    }
    return text;
}

class AccessibleMenu final : public QAccessibleWidget {
  public:
    explicit AccessibleMenu(QMenu *menu) : QAccessibleWidget(menu, QAccessible::PopupMenu) {}

    QAccessibleInterface *parent() const override {
        return QAccessible::queryAccessibleInterface(controlOf(*menu()));
    }
    QAccessibleInterface *child(int index) const override {
        QAction *item = menu()->actions().value(index);
        return item == nullptr ? nullptr : QAccessible::queryAccessibleInterface(item);
    }
    int childCount() const override { return static_cast<int>(menu()->actions().size()); }
    int indexOfChild(const QAccessibleInterface *child) const override {
        return static_cast<int>(menu()->actions().indexOf(child->object()));
    }
    QAccessibleInterface *childAt(int x, int y) const override {
        QAction *item = menu()->actionAt(menu()->mapFromGlobal(QPoint(x, y)));
        return item == nullptr ? nullptr : QAccessible::queryAccessibleInterface(item);
    }
    QAccessibleInterface *focusChild() const override {
        QAction *item = menu()->isVisible() ? menu()->activeAction() : nullptr;
        return item == nullptr ? nullptr : QAccessible::queryAccessibleInterface(item);
    }
    QAccessible::State state() const override {
        QAccessible::State state;
        state.invisible = !menu()->isVisible();
        return state;
    }
    QString text(QAccessible::Text kind) const override {
        const ViewerControl *control = controlOf(*menu());
        return kind == QAccessible::Name && control != nullptr ? control->label()
                                                               : QAccessibleWidget::text(kind);
    }

  private:
    [[nodiscard]] QMenu *menu() const { return static_cast<QMenu *>(object()); }
};

class AccessibleMenuItem final : public AccessibleWithActions<QAccessibleObject> {
  public:
    explicit AccessibleMenuItem(QAction *item) : AccessibleWithActions(item) {
        QObject::connect(item, &QAction::toggled, item, [item] {
            QAccessible::State what;
            what.checked = true;
            QAccessibleStateChangeEvent changed(item, what);
            QAccessible::updateAccessibility(&changed);
        });
    }

    QAccessibleInterface *parent() const override {
        return isValid() ? QAccessible::queryAccessibleInterface(menu()) : nullptr;
    }
    QAccessibleInterface *child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }

    QString text(QAccessible::Text kind) const override {
        if (!isValid() || item()->isSeparator())
            return {};
        if (kind == QAccessible::Name)
            return readableText(*item());
        return kind == QAccessible::Accelerator ? item()->shortcut().toString() : QString();
    }
    QAccessible::Role role() const override {
        return isValid() && item()->isSeparator() ? QAccessible::Separator : QAccessible::MenuItem;
    }
    QRect rect() const override {
        if (!isValid() || !menu()->isVisible())
            return {};
        const QRect inMenu = menu()->actionGeometry(item());
        return {menu()->mapToGlobal(inMenu.topLeft()), inMenu.size()};
    }
    QAccessible::State state() const override {
        QAccessible::State state;
        if (!isValid()) {
            state.invalid = true;
            return state;
        }
        state.invisible = !menu()->isVisible() || !item()->isVisible();
        state.disabled = !item()->isEnabled();
        if (item()->isSeparator())
            return state;
        state.focusable = state.hotTracked = item()->isEnabled();
        state.focused = menu()->isVisible() && menu()->activeAction() == item();
        state.checkable = item()->isCheckable();
        state.checked = item()->isChecked();
        return state;
    }

    QStringList actionNames() const override {
        return isValid() && !item()->isSeparator() ? QStringList{pressAction()} : QStringList();
    }
    void doAction(const QString &name) override {
        if (!actionNames().contains(name))
            return;
        // The action runs in a later turn of the event loop, because it may show an alert and the
        // caller waits for this function to return.
        QMetaObject::invokeMethod(
            item(),
            [item = item()] {
                closePopUpMenus();
                if (!modalWindowBlocksViewer())
                    item->trigger(); // does nothing if the item is disabled
            },
            Qt::QueuedConnection);
    }
    QStringList keyBindingsForAction(const QString &) const override {
        QStringList keys;
        if (isValid()) {
            for (const QKeySequence &key : item()->shortcuts())
                keys.append(key.toString());
        }
        return keys;
    }

  private:
    [[nodiscard]] QAction *item() const { return static_cast<QAction *>(object()); }
    [[nodiscard]] QMenu *menu() const { return menuOf(*item()); }
};

void send(QObject *object, QAccessible::Event event) {
    QAccessibleEvent news(object, event);
    QAccessible::updateAccessibility(&news);
}

/// Notifies assistive technology that a menu has opened or closed. Qt sends such notifications for
/// windows only.
void menuOpenedOrClosed(QMenu &menu, ViewerControl &control) {
    if (!QAccessible::isActive())
        return;
    const auto event = menu.isVisible() ? QAccessible::ObjectShow : QAccessible::ObjectHide;
    send(&menu, event);
    for (QAction *item : menu.actions())
        send(item, event);
    // After the menu has closed, the item that had the keyboard focus before has it again.
    if (!menu.isVisible() && control.hasActiveFocus())
        send(&control, QAccessible::Focus);
}

} // namespace

void describeMenuOf(QMenu &menu, ViewerControl &control) {
    menu.setProperty(openingControl, QVariant::fromValue(QPointer<QObject>(&control)));
    const auto tell = [menu = &menu, control = &control] { menuOpenedOrClosed(*menu, *control); };
    // The connections are queued, so that the notification is sent after the menu has opened or
    // closed. No notification is sent if the control has been destroyed by then.
    QObject::connect(&menu, &QMenu::aboutToShow, &control, tell, Qt::QueuedConnection);
    QObject::connect(&menu, &QMenu::aboutToHide, &control, tell, Qt::QueuedConnection);
}

QAccessibleInterface *makeAccessibleMenu(const QString &className, QObject *object) {
    if (className == QLatin1String(QMenu::staticMetaObject.className())) {
        auto *menu = static_cast<QMenu *>(object);
        return controlOf(*menu) == nullptr ? nullptr : new AccessibleMenu(menu);
    }
    if (className == QLatin1String(QAction::staticMetaObject.className())) {
        auto *item = static_cast<QAction *>(object);
        const QMenu *menu = menuOf(*item);
        return menu == nullptr || controlOf(*menu) == nullptr ? nullptr
                                                              : new AccessibleMenuItem(item);
    }
    return nullptr;
}

} // namespace lumvik
