#pragma once

#include <QPoint>
#include <QStringList>

#include <gtest/gtest.h>

namespace lumvik::test {

class TestDesktop;

/// Runs xdotool on a desktop and waits until it is done; a call that fails is a test failure.
void xdotool(const TestDesktop &desktop, const QStringList &arguments);

/// The desktop's real pointer, moved by the test tool of the X server, so that windows see what
/// they would see of a mouse. Positions are pixels from the screen's top left corner. Main thread
/// only; must not outlive its desktop.
class Pointer {
  public:
    enum class Button { left = 1, middle = 2, right = 3 };

    explicit Pointer(const TestDesktop &desktop);

    /// Moves at once and waits until the server says that the pointer is there.
    void moveTo(QPoint point);
    /// Moves from where it is on a straight line, in about `steps` motions, as a hand would.
    void glideTo(QPoint point, int steps = 8);
    void press(Button button = Button::left);
    /// Presses the left button where the window moves or resizes itself, moves `dragStart` pixels
    /// in the direction of `towards`, and waits until the window manager has taken over. The window
    /// may follow this first motion or lose it.
    [[nodiscard]] testing::AssertionResult pressToDrag(QPoint towards);
    /// Just more than what programs take for a click with an unsteady hand.
    static constexpr int dragStart = 12;
    void release(Button button = Button::left);
    void click(Button button = Button::left);

  private:
    const TestDesktop &m_desktop;
};

/// The desktop's keyboard. Keys go to the window that has the focus.
class Keyboard {
  public:
    explicit Keyboard(const TestDesktop &desktop);

    /// Presses and releases a key, named as X names it, with modifiers: "Return", "ctrl+w". Buttons
    /// that are held stay so.
    void press(const QString &key);

  private:
    const TestDesktop &m_desktop;
};

} // namespace lumvik::test
