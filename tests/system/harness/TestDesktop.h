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

/// A desktop of a test's own: a virtual screen (Xvfb, 24 bits deep, reachable on this machine only)
/// and a window manager on it, started by `start` and ended by the destructor.
///
/// The display number is the first one free, so any number of desktops stand side by side. The
/// window manager reads a configuration written here and a home folder that is empty otherwise: no
/// theme, key binding or file of the user's has a say. Main thread only.
class TestDesktop {
  public:
    explicit TestDesktop(WindowManager windowManager = WindowManager::openbox,
                         QSize size = QSize(1600, 1000));
    TestDesktop(const TestDesktop &) = delete;
    TestDesktop &operator=(const TestDesktop &) = delete;
    ~TestDesktop();

    /// Starts the screen and the window manager and waits until both are ready.
    [[nodiscard]] testing::AssertionResult start();

    /// Ends the window manager, leaving the windows, and starts it again.
    [[nodiscard]] testing::AssertionResult restartWindowManager();

    /// Makes the screen another one of this size, no larger than the first, as when a monitor is
    /// unplugged and another one is left.
    [[nodiscard]] testing::AssertionResult resize(QSize size);
    /// Ends the screen under all programs on it.
    void killScreen();

    /// Such as ":3".
    [[nodiscard]] QString display() const;
    [[nodiscard]] QSize size() const;
    [[nodiscard]] QRect area() const;

    /// What a program on this desktop finds: the display, software OpenGL, a UTF-8 locale, and
    /// nothing of the session that the tests themselves run in.
    [[nodiscard]] QProcessEnvironment environment() const;

    /// The test's own look at the display; valid between `start` and destruction.
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
    std::unique_ptr<ChildProcess> m_bus; // xfwm4 alone needs one
    QString m_busAddress;
    std::unique_ptr<ChildProcess> m_windowManager;
};

} // namespace lumvik::test
