#pragma once

#include <QQuickPaintedItem>
#include <QString>
#include <QTimer>

#include <functional>

namespace lumvik {

/// A control over the picture: it draws itself, reacts to a click, shows a tool tip, and reports
/// its name, role and state to assistive technology, which can click it too. It takes no keys:
/// those are the main menu's. Main thread only.
class ViewerControl : public QQuickPaintedItem {
    Q_OBJECT

  public:
    /// What the control is to assistive technology.
    enum class Role { button, toggle, popUpButton };

    ViewerControl(Role role, const QString &label, QQuickItem *parent);
    ~ViewerControl() override;

    /// The text of the tool tip and the accessible name.
    void setLabel(const QString &label);
    [[nodiscard]] QString label() const { return m_label; }

    /// `action` runs on each click.
    void setAction(std::function<void()> action) { m_action = std::move(action); }

    /// Does what a click does, if the control is enabled.
    void performClick();

    [[nodiscard]] Role role() const { return m_role; }
    /// Whether a toggle is on.
    [[nodiscard]] virtual bool isOn() const { return false; }
    /// What is chosen in a control that offers a choice; else empty.
    [[nodiscard]] virtual QString value() const { return {}; }

  protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void hoverEnterEvent(QHoverEvent *event) override;
    void hoverLeaveEvent(QHoverEvent *event) override;
    void itemChange(ItemChange change, const ItemChangeData &value) override;

    /// Told that the state which assistive technology sees has changed.
    void accessibleStateChanged();
    /// Told that `value` has changed.
    void accessibleValueChanged();
    /// Runs first on each click; a toggle changes its state here.
    virtual void willPerformAction() {}

  private:
    void showToolTip();
    void hideToolTip();

    Role m_role;
    QString m_label;
    std::function<void()> m_action;
    QTimer m_toolTipDelay;
};

} // namespace lumvik
