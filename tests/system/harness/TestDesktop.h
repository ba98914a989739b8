#pragma once

#include "XConnection.h"

#include <QProcessEnvironment>
#include <QSize>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace lumvik::test {

class ChildProcess;

enum class WindowManager { none, openbox, xfwm4 };

/// A private desktop: a virtual screen (Xvfb, 24 bits deep, reachable only from this machine) and a
/// window manager. `start` starts both, and the destructor ends them.
///
/// The desktop takes the first free display number, so any number of desktops can run side by side.
/// The window manager uses a generated configuration and an otherwise empty home folder. Themes,
/// key bindings and files of the user have no effect. Main thread only.
class TestDesktop {
  public:
    explicit TestDesktop(WindowManager windowManager = WindowManager::openbox,
                         QSize size = QSize(1600, 1000));
    TestDesktop(const TestDesktop &) = delete;
    TestDesktop &operator=(const TestDesktop &) = delete;
    ~TestDesktop();

    /// Starts the screen and the window manager and waits until both are ready.
    [[nodiscard]] testing::AssertionResult start();

    /// Ends the window manager while the windows stay, and starts it again.
    [[nodiscard]] testing::AssertionResult restartWindowManager();

    /// Gives the screen this size, which must not exceed the initial one. This simulates a monitor
    /// that is unplugged while another one remains.
    [[nodiscard]] testing::AssertionResult resize(QSize size);
    /// Kills the X server while programs still use it.
    void killScreen();

    /// The name of the display, such as ":3".
    [[nodiscard]] QString display() const;
    [[nodiscard]] QSize size() const;
    [[nodiscard]] QRect area() const;

    /// The environment for a program on this desktop: the display, software OpenGL and a UTF-8
    /// locale. It contains nothing of the session in which the tests run.
    [[nodiscard]] QProcessEnvironment environment() const;

    /// The test's own connection to the display. Valid from `start` until destruction.
    [[nodiscard]] XConnection &x() const;

  private:
    [[nodiscard]] testing::AssertionResult startScreen();
    [[nodiscard]] testing::AssertionResult startWindowManager();
    [[nodiscard]] testing::AssertionResult startOpenbox();
    [[nodiscard]] testing::AssertionResult startXfwm4();
    [[nodiscard]] testing::AssertionResult startSessionBus();
    [[nodiscard]] bool windowManagerIsReady() const;
    [[nodiscard]] QProcessEnvironment windowManagerEnvironment() const;

    WindowManager m_kind;
    QSize m_size;
    QTemporaryDir m_folder; // the window manager's configuration, home and bus socket
    QString m_display;
    // Ended in the reverse order: window manager, its bus, our connection, the screen.
    std::unique_ptr<ChildProcess> m_screen;
    std::unique_ptr<XConnection> m_connection;
    std::unique_ptr<ChildProcess> m_bus; // only xfwm4 needs a bus
    QString m_busAddress;
    std::unique_ptr<ChildProcess> m_windowManager;
};

} // namespace lumvik::test
