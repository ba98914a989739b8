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

/// A Wayland session. The compositor is Weston, which draws into a window of the test's own
/// desktop. There the test can take screenshots and use a pointer and a keyboard.
class WaylandFixture : public testing::Test {
  protected:
    enum class XWayland { none, offered };

    void TearDown() override;

    /// Starts the session. `idleTime` is the time without input, in seconds, after which the
    /// session turns its screen off. 0 means never.
    void startSession(XWayland xWayland = XWayland::none, int idleTime = 0);
    /// Starts a camera that is in the list under two names.
    void startCamera();
    /// Starts the viewer, which finds the session, and XWayland where it is offered.
    void startViewer();
    void endViewer();

    /// The rectangle of the viewer's window, which is everything apart from the session's
    /// background. The pointer must be in the window or in the screen's bottom right corner.
    [[nodiscard]] QRect windowArea() const;
    /// The window's area once it shows the camera, which is small enough not to fill the screen.
    [[nodiscard]] QRect shownPicture() const;
    /// Drags the picture by its middle, and moves the pointer away.
    void drag(QPoint distance);
    /// Shows the controls of the window at `start`, and waits until its close button's cross, which
    /// is white, has faded in.
    void showControls(QRect start);
    /// The brightest grey level inside `area` of the screen, 0 to 255.
    [[nodiscard]] int lightest(QRect area) const;
    /// The processor time that the viewer has used until now.
    [[nodiscard]] std::chrono::milliseconds processorTime() const;
    [[nodiscard]] bool hasLogged(const QString &text) const;
    /// Whether the viewer has mapped a file of this name.
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
