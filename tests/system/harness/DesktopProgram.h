#pragma once

#include "ChildProcess.h"
#include "XConnection.h"

#include <QRect>

#include <gtest/gtest.h>

#include <chrono>
#include <optional>

namespace lumvik::test {

class TestDesktop;

/// A program with windows on a desktop. Its windows are identified by their process id
/// (_NET_WM_PID). Main thread only. Must not outlive its desktop.
class DesktopProgram {
  public:
    DesktopProgram(const TestDesktop &desktop, const QString &name,
                   const QProcessEnvironment &environment);

    [[nodiscard]] ChildProcess &process() { return m_process; }
    [[nodiscard]] const ChildProcess &process() const { return m_process; }

    /// Waits until the program's main window is on the screen. The main window has this title, does
    /// not bypass the window manager, and is not a transient window of another window.
    [[nodiscard]] testing::AssertionResult waitForWindow(const QString &title,
                                                         std::chrono::milliseconds deadline);

    /// The window that `waitForWindow` found.
    [[nodiscard]] xcb_window_t window() const { return m_window; }

    /// The visible windows of the program. Only windows with the property _NET_WM_PID are found,
    /// which toolkits set on top-level windows.
    [[nodiscard]] QList<xcb_window_t> windowsOnScreen() const;
    /// The visible windows that bypass the window manager: menus and tool tips.
    [[nodiscard]] QList<xcb_window_t> popUps() const;

    /// The geometry of the main window's content. Empty when the window no longer exists.
    [[nodiscard]] QRect geometry() const;
    /// Whether the window manager keeps the main window above other windows.
    [[nodiscard]] bool isAbove() const;
    /// Whether the main window has the keyboard focus.
    [[nodiscard]] bool hasFocus() const;
    [[nodiscard]] SizeHints normalHints() const;

  private:
    [[nodiscard]] std::optional<xcb_window_t> findMainWindow(const QString &title) const;

    const TestDesktop &m_desktop;
    ChildProcess m_process;
    xcb_window_t m_window = XCB_WINDOW_NONE;
};

} // namespace lumvik::test
