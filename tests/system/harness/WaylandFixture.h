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

/// A session of Wayland's. The compositor is weston, which draws its screen into a window of the
/// test's own desktop, where it can be looked at and gets a real pointer and keyboard.
class WaylandFixture : public testing::Test {
  protected:
    enum class XWayland { none, offered };

    void TearDown() override;

    /// `idleTime`, in seconds, is how long nobody has to touch anything for the session to turn
    /// its screen off; 0 for never.
    void startSession(XWayland xWayland = XWayland::none, int idleTime = 0);
    /// Starts a camera that is in the list under two names.
    void startCamera();
    /// Starts the viewer, which finds the session, and XWayland where it is offered.
    void startViewer();
    void endViewer();

    /// Where the viewer's window is: everything that is not the session's background. The pointer
    /// must be in the window or in the screen's far corner.
    [[nodiscard]] QRect windowArea() const;
    /// The window's area once it shows the camera, which is small enough not to fill the screen.
    [[nodiscard]] QRect shownPicture() const;
    /// Drags the picture by its middle, and takes the pointer away.
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
    /// Brings the session's own pointer to where the desktop's is, in the far corner. It begins
    /// elsewhere, and follows the steps of the other one as soon as the session hears of them; in
    /// the near corner it is stopped by the edges, wherever it was.
    void takeHoldOfPointer();

    QString m_xDisplay; // XWayland's; empty without it
};

} // namespace lumvik::test
