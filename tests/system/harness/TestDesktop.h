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
/// The desktop takes the first free display number, so several desktops can run at the same time.
/// The window manager uses a generated configuration and an otherwise empty home folder. The user's
/// themes, key bindings and files have no effect. Main thread only.
class TestDesktop {
  public:
    explicit TestDesktop(WindowManager windowManager = WindowManager::openbox,
                         QSize size = QSize(1600, 1000));
    TestDesktop(const TestDesktop &) = delete;
    TestDesktop &operator=(const TestDesktop &) = delete;
    ~TestDesktop();

    /// Starts the screen and the window manager and waits until both are ready.
    [[nodiscard]] testing::AssertionResult start();

    /// Restarts the window manager. The windows of programs stay open.
    [[nodiscard]] testing::AssertionResult restartWindowManager();

    /// Changes the size of the screen to `size`, which must not exceed the initial size. A smaller
    /// screen simulates the unplugging of one of several monitors.
    [[nodiscard]] testing::AssertionResult resize(QSize size);
    /// Kills the X server while programs still use it.
    void killScreen();

    /// The name of the display, such as ":3".
    [[nodiscard]] QString display() const;
    [[nodiscard]] QSize size() const;
    [[nodiscard]] QRect area() const;

    /// The environment for a program on this desktop: the display, software OpenGL and a UTF-8
    /// locale. Variables of the desktop session in which the tests run are left out.
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
    QTemporaryDir m_folder; // contains the window manager's configuration, home and bus socket
    QString m_display;
    // These objects are destroyed in reverse order, so that each program ends before the programs
    // on which it depends.
    std::unique_ptr<ChildProcess> m_screen;
    std::unique_ptr<XConnection> m_connection;
    std::unique_ptr<ChildProcess> m_bus; // only xfwm4 needs a bus
    QString m_busAddress;
    std::unique_ptr<ChildProcess> m_windowManager;
};

} // namespace lumvik::test
