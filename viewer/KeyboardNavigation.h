#pragma once

#include <QList>
#include <QObject>

#include <functional>

class QQuickWindow;
class QWindow;

namespace lumvik {

class ViewerControl;

/// Moves the keyboard focus between the controls of a window. The focus visits the usable controls
/// forwards or backwards, in reading order, and wraps around at the ends.
///
/// The controls may be hidden when the focus moves to them. The controller owns this object, calls
/// it for keys that no control uses, and shows the controls while `isOnControls` is true. This
/// class also handles requests of assistive technology to focus a control. Main thread only.
class KeyboardNavigation final : public QObject {
    Q_OBJECT

  public:
    enum class Direction { forwards, backwards };

    /// `controls` are items of `window`, in any order. The window and the items must outlive this
    /// object.
    KeyboardNavigation(QQuickWindow &window, QList<ViewerControl *> controls);

    /// `changed` runs whenever the result of `isOnControls` has changed.
    void setChanged(std::function<void()> changed) { m_changed = std::move(changed); }

    /// Whether a control has the keyboard focus or is about to get it.
    [[nodiscard]] bool isOnControls() const;
    /// Returns the control that has the keyboard focus, even if its menu is using the keyboard for
    /// the moment. Returns null if no control has the focus or if another window is active.
    [[nodiscard]] ViewerControl *current() const;

    /// Moves the focus to the next control, or to the first or the last one if no control has the
    /// focus. Returns false if no control is usable.
    bool moveFocus(Direction direction);
    /// Moves the focus to `control` as soon as the window is active. Does nothing if the control
    /// would not be usable even while it is shown.
    void focusControl(ViewerControl &control);
    /// Removes the focus from the controls. Returns false if no control had the focus.
    bool clearFocus();

  private:
    /// Shows the controls and moves the focus to the one that `choose` returns, if it returns one.
    bool showAndFocus(const std::function<ViewerControl *()> &choose, Qt::FocusReason reason);
    void keyboardFocusChanged();
    void focusWindowChanged(const QWindow *focusWindow);
    /// Notifies assistive technology that the window itself has the focus instead of a control.
    void notifyThatWindowHasFocus();
    void reportChange();
    [[nodiscard]] QList<ViewerControl *> usableControls() const;

    QQuickWindow &m_window;
    QList<ViewerControl *> m_controls;
    std::function<void()> m_changed;
    ViewerControl *m_awaitedControl = nullptr; // gets the focus when the window becomes active
    bool m_isFocusing = false; // the focus is moving to a control that may still be hidden
    bool m_wasOnControls = false;
};

} // namespace lumvik
