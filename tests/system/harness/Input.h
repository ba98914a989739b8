#pragma once

#include <QPoint>
#include <QStringList>

#include <gtest/gtest.h>

namespace lumvik::test {

class TestDesktop;

/// Runs xdotool on a desktop and waits until the command has finished. The test fails when xdotool
/// fails.
void xdotool(const TestDesktop &desktop, const QStringList &arguments);

/// The pointer of a desktop. The X server's XTEST extension simulates its motions and buttons, so
/// windows receive the same events as from a mouse. Positions are in pixels from the screen's top
/// left corner. Main thread only. Must not outlive its desktop.
class Pointer {
  public:
    /// A click of a wheel button turns the wheel by one notch.
    enum class Button { left = 1, middle = 2, right = 3, wheelUp = 4, wheelDown = 5 };

    explicit Pointer(const TestDesktop &desktop);

    /// Moves the pointer in one step and waits until the server reports the new position.
    void moveTo(QPoint point);
    /// Moves the pointer along a straight line in `steps` motions, as a user moves a mouse.
    void glideTo(QPoint point, int steps = 8);
    void press(Button button = Button::left);
    /// Presses the left button, moves the pointer `dragStart` pixels in the direction of `towards`,
    /// and waits until the window manager has started to move or resize the window. The window may
    /// or may not follow this first motion.
    [[nodiscard]] testing::AssertionResult pressToDrag(QPoint towards);
    /// The length of the motion that starts a drag, in pixels. Programs treat slightly shorter
    /// motions as part of a click.
    static constexpr int dragStart = 12;
    void release(Button button = Button::left);
    void click(Button button = Button::left);

  private:
    const TestDesktop &m_desktop;
};

/// The keyboard of a desktop. Key presses are delivered to the window with the keyboard focus.
class Keyboard {
  public:
    explicit Keyboard(const TestDesktop &desktop);

    /// Presses and releases a key, optionally with modifiers, such as "Return" or "ctrl+w". `key`
    /// consists of X key names. Pressed mouse buttons stay pressed.
    void press(const QString &key);

  private:
    const TestDesktop &m_desktop;
};

} // namespace lumvik::test
