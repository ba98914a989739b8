#pragma once

#include "viewer/KeyboardFocusRing.h"

#include <QAccessible>
#include <QQuickPaintedItem>
#include <QString>
#include <QTimer>

#include <functional>

class QMenu;

namespace lumvik {

/// A control over the picture: it draws itself, reacts to a click, shows a tool tip, and reports
/// its name, role and state to assistive technology, which can click it too. Main thread only.
///
/// A click never gives it the keyboard; who walks there with the keys (see KeyboardNavigation)
/// does. It is outlined then, Space and Return click it, and every other key goes on to the window.
/// A control that is hidden or disabled loses the keyboard for good.
class ViewerControl : public QQuickPaintedItem {
    Q_OBJECT

  public:
    /// What the control is to assistive technology.
    enum class Role { button, toggle, popUpButton, menuTitle };

    ViewerControl(Role role, const QString &label, QQuickItem *parent);
    ~ViewerControl() override;

    /// The text of the tool tip and the accessible name.
    void setLabel(const QString &label);
    [[nodiscard]] QString label() const { return m_label; }

    /// `action` runs on each click.
    void setAction(std::function<void()> action) { m_action = std::move(action); }

    /// `asked` runs when assistive technology wants the keyboard to come to the control, hidden or
    /// not.
    void setKeyboardAsked(std::function<void()> asked) { m_keyboardAsked = std::move(asked); }
    /// Asks for that.
    void askForKeyboard() const {
        if (m_keyboardAsked)
            m_keyboardAsked();
    }

    /// The system has no means for what the control does: `reason` says so in place of the label,
    /// for good. The control is dimmed and does nothing; it stays under the pointer and the keys,
    /// so that the reason can be read.
    void setUnavailable(const QString &reason);
    [[nodiscard]] bool isUnavailable() const { return m_isUnavailable; }

    /// Does what a click does, if the control is enabled and available.
    void performClick();

    [[nodiscard]] Role role() const { return m_role; }
    /// Whether a toggle is on.
    [[nodiscard]] virtual bool isOn() const { return false; }
    /// What is chosen in a control that offers a choice; else empty.
    [[nodiscard]] virtual QString value() const { return {}; }
    /// The menu that a click opens; null for a control that opens none.
    [[nodiscard]] virtual QMenu *popUp() const { return nullptr; }

  protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void hoverEnterEvent(QHoverEvent *event) override;
    void hoverLeaveEvent(QHoverEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData &value) override;

    /// What is outlined while the control has the keyboard.
    [[nodiscard]] virtual OutlinedShape outlinedShape() const = 0;

    /// Tells assistive technology that what is set in `what` has changed.
    void accessibleStateChanged(QAccessible::State what);
    /// Told that `value` has changed.
    void accessibleValueChanged();
    /// Runs first on each click; a toggle changes its state here.
    virtual void willPerformAction() {}

  private:
    [[nodiscard]] bool opensMenu() const;
    void visibilityOrUseChanged(ItemChange change);
    void keyboardCameOrWent();
    void showToolTip();
    void hideToolTip();

    Role m_role;
    QString m_label;
    bool m_isUnavailable = false;
    std::function<void()> m_action;
    std::function<void()> m_keyboardAsked;
    QTimer m_toolTipDelay;
    KeyboardFocusRing *m_outline; // a child
};

} // namespace lumvik
