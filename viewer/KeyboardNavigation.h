#pragma once

#include <QList>
#include <QObject>

#include <functional>

class QQuickWindow;
class QWindow;

namespace lumvik {

class ViewerControl;

/// The keyboard's way over the controls of a window: forwards and backwards through those that can
/// be used, line by line as they stand on the screen, and around at the ends.
///
/// The controls may be hidden when the keyboard sets out; whoever shows them asks `isOnControls`
/// and is told when the answer changes. Assistive technology that asks for a control's keyboard
/// comes here, too. Made by the controller, which hands it the keys that no control takes. Main
/// thread only.
class KeyboardNavigation final : public QObject {
    Q_OBJECT

  public:
    enum class Direction { forwards, backwards };

    /// `controls`, in any order, are items of `window`; it and they must outlive the path.
    KeyboardNavigation(QQuickWindow &window, QList<ViewerControl *> controls);

    /// `changed` runs whenever `isOnControls` answers something else than before.
    void setChanged(std::function<void()> changed) { m_changed = std::move(changed); }

    /// Whether a control has the keyboard, or is just being given it.
    [[nodiscard]] bool isOnControls() const;
    /// The control that has the keyboard, perhaps lent to a menu; null without one, and while
    /// another window has the keyboard.
    [[nodiscard]] ViewerControl *current() const;

    /// Gives the keyboard to the next control, or to the first or last one when none has it. False
    /// when there is none to be used.
    bool walk(Direction direction);
    /// Gives the keyboard to one of the controls, as soon as the window has it. Does nothing to one
    /// that cannot be used even when it is shown.
    void reach(ViewerControl &control);
    /// Takes the keyboard away from the controls. False when none had it.
    bool leave();

  private:
    /// Lets the controls appear, and gives the keyboard to the one that `choose` answers, if any.
    bool setOut(const std::function<ViewerControl *()> &choose, Qt::FocusReason reason);
    void keyboardCameOrWent();
    void focusWindowChanged(const QWindow *focusWindow);
    /// Tells assistive technology that no control has the keyboard, but the window itself.
    void tellThatWindowHasKeyboard();
    void reportChange();
    [[nodiscard]] QList<ViewerControl *> usableControls() const;

    QQuickWindow &m_window;
    QList<ViewerControl *> m_controls;
    std::function<void()> m_changed;
    ViewerControl *m_awaited = nullptr; // is given the keyboard when the window gets it
    bool m_isReaching = false;          // on the way to a control that may not be shown yet
    bool m_wasOnControls = false;
};

} // namespace lumvik
