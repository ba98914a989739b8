#pragma once

#include "CameraProcess.h"
#include "ChildProcess.h"
#include "Input.h"
#include "Screen.h"
#include "TestDesktop.h"
#include "TestHome.h"
#include "ViewerFixture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>

namespace lumvik::test {

/// The base of the tests in a Wayland session. The compositor is Weston, which draws into a window
/// on the test's X desktop. The tests take screenshots and simulate the pointer and the keyboard
/// through this desktop.
class WaylandFixture : public testing::Test {
  protected:
    enum class XWayland { none, offered };

    void TearDown() override;

    /// Starts the session. `idleTime` is the time without input, in seconds, after which the
    /// session turns its screen off. With 0, the screen stays on.
    void startSession(XWayland xWayland = XWayland::none, int idleTime = 0);
    /// Starts a camera, which appears in the camera list under two names.
    void startCamera();
    /// Starts the viewer. Its environment names the session and, if XWayland is offered, the
    /// display of XWayland.
    void startViewer();
    void endViewer();

    /// The rectangle of the viewer's window. The window is recognised by colours that differ from
    /// the session's background. The pointer must be in the window or in the screen's bottom right
    /// corner.
    [[nodiscard]] QRect windowArea() const;
    /// Waits until the viewer's window shows the camera's picture, and returns the window's
    /// rectangle.
    [[nodiscard]] QRect shownPicture() const;
    /// Drags the viewer's window by the middle of its picture, and moves the pointer away.
    void drag(QPoint distance);
    /// Shows the controls of the viewer's window, which has the rectangle `start`, and waits until
    /// the white cross of the close button has faded in.
    void showControls(QRect start);
    /// The brightest grey level inside `area` of the screen, 0 to 255.
    [[nodiscard]] int lightest(QRect area) const;
    /// The processor time that the viewer has used until now.
    [[nodiscard]] std::chrono::milliseconds processorTime() const;
    [[nodiscard]] bool hasLogged(const QString &text) const;
    /// Whether the viewer has mapped a file with this name into its memory.
    [[nodiscard]] bool hasMapped(const QByteArray &fileName) const;

    TestDesktop desktop{WindowManager::none};
    TestHome home;
    Screen screen{desktop};
    Pointer pointer{desktop};
    Keyboard keyboard{desktop};
    std::unique_ptr<ChildProcess> compositor;
    std::unique_ptr<CameraProcess> camera;
    std::unique_ptr<ChildProcess> viewer;

  private:
    /// Aligns the session's pointer with the desktop's pointer in the bottom right corner. The
    /// session's pointer starts at another position and only follows relative motion. A detour to
    /// the top left corner, where the edges stop it, removes the difference.
    void alignSessionPointer();

    QString m_xDisplay; // the display of XWayland; empty without it
};

} // namespace lumvik::test
