#pragma once

#include "viewer/ControlGround.h"
#include "viewer/KeyboardFocusRing.h"

#include <QAccessible>
#include <QQuickPaintedItem>
#include <QString>
#include <QTimer>

#include <chrono>
#include <functional>

class QMenu;

namespace lumvik {

/// The base class of the controls over the picture. A control draws itself, reacts to a click, and
/// shows a tool tip. A control reports its name, role and state to assistive technology, which can
/// also click the control. Main thread only.
///
/// A click does not give a control the keyboard focus; only KeyboardNavigation does. A control with
/// the focus has a ring around it. Space and Return click the control that has the focus, and the
/// window receives all other keys. A control that is hidden or disabled loses the focus, and does
/// not get the focus back when it is shown or enabled again.
///
/// A control that is disabled while it is visible looks disabled only after `disabledLookDelay`.
/// Controls that fade out are disabled at once, and would otherwise become dim before they fade.
class ViewerControl : public QQuickPaintedItem {
    Q_OBJECT

  public:
    /// The role of the control for assistive technology.
    enum class Role { button, toggle, popUpButton, menuTitle };

    /// Longer than the fade of the controls.
    static constexpr std::chrono::milliseconds disabledLookDelay{300};

    ViewerControl(Role role, const QString &label, QQuickItem *parent);
    ~ViewerControl() override;

    /// The text of the tool tip and the accessible name.
    void setLabel(const QString &label);
    [[nodiscard]] QString label() const { return m_label; }

    /// `action` runs on each click.
    void setAction(std::function<void()> action) { m_action = std::move(action); }

    /// `asked` runs when assistive technology requests the keyboard focus for the control. The
    /// control may be hidden at that time.
    void setKeyboardAsked(std::function<void()> asked) { m_keyboardAsked = std::move(asked); }
    /// Requests the keyboard focus for the control on behalf of assistive technology.
    void askForKeyboard() const {
        if (m_keyboardAsked)
            m_keyboardAsked();
    }

    /// Disables the control permanently, because the system does not support its function. `reason`
    /// replaces the label. The control is dimmed and does nothing, but can still be hovered and
    /// focused, so that the user can read the reason.
    void setUnavailable(const QString &reason);
    [[nodiscard]] bool isUnavailable() const { return m_isUnavailable; }

    /// Returns what the control shows about itself and the pointer.
    [[nodiscard]] ControlLook look() const;

    /// Acts like a click if the control is enabled and available.
    void performClick();

    [[nodiscard]] Role role() const { return m_role; }
    /// Whether a toggle is on.
    [[nodiscard]] virtual bool isOn() const { return false; }
    /// The chosen value of a control that offers a choice. Empty for other controls.
    [[nodiscard]] virtual QString value() const { return {}; }
    /// The menu that a click opens. Null for a control without a menu.
    [[nodiscard]] virtual QMenu *popUp() const { return nullptr; }

  protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseUngrabEvent() override;
    void hoverEnterEvent(QHoverEvent *event) override;
    void hoverLeaveEvent(QHoverEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData &value) override;

    /// The shape that the focus ring surrounds.
    [[nodiscard]] virtual OutlinedShape outlinedShape() const = 0;

    /// Whether the control draws its label, which then needs no tool tip.
    [[nodiscard]] virtual bool showsLabel() const { return m_role == Role::menuTitle; }

    /// Notifies assistive technology that the states in `what` have changed.
    void accessibleStateChanged(QAccessible::State what);
    /// Notifies assistive technology that `value` has changed.
    void accessibleValueChanged();
    /// Runs before the action on each click. A toggle changes its state here.
    virtual void willPerformAction() {}

  private:
    [[nodiscard]] bool opensMenu() const;
    void visibilityOrUseChanged(ItemChange change);
    /// Makes the control look enabled or disabled, if need be after `disabledLookDelay`.
    void updateLookOfUse(ItemChange change);
    void setHovered(bool isHovered);
    void setPressed(bool isPressed);
    void keyboardFocusChanged();
    void showToolTip();
    void hideToolTip();

    Role m_role;
    QString m_label;
    bool m_isUnavailable = false;
    bool m_isHovered = false;
    bool m_isPressed = false; // the button was pressed on the control and is held over it
    bool m_looksDisabled = false;
    std::function<void()> m_action;
    std::function<void()> m_keyboardAsked;
    QTimer m_toolTipDelay;
    QTimer m_disabledLookDelay;
    KeyboardFocusRing *m_outline; // a child
};

} // namespace lumvik
