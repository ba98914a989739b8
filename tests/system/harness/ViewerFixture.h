#pragma once

#include "CameraProcess.h"
#include "Input.h"
#include "Screen.h"
#include "TestDesktop.h"
#include "TestHome.h"
#include "ViewerProcess.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <vector>

namespace lumvik::test {

/// The rectangles of the viewer's controls, in pixels from the top left corner of the viewer's
/// window. The window's content must be at least 290 points wide. Its size is `size`, in pixels,
/// and a point has `scale` pixels.
class ViewerControls {
  public:
    explicit ViewerControls(QSize size, int scale = 1) : m_size(size), m_scale(scale) {}

    [[nodiscard]] QRect close() const { return button(0); }
    [[nodiscard]] QRect area() const { return button(1); }
    [[nodiscard]] QRect pin() const { return button(2); }
    /// The right end of the camera picker. The picker may extend further to the left.
    [[nodiscard]] QRect picker() const;
    /// The left end of the strip that contains the menu titles.
    [[nodiscard]] QRect menuStrip() const;

  private:
    [[nodiscard]] QRect button(int fromTheRight) const;
    [[nodiscard]] QRect scaled(QRect points) const;

    QSize m_size;
    int m_scale;
};

/// The base of the whole-program tests under X11. Each test begins with a desktop with a window
/// manager, an empty home folder, the pointer in the screen's bottom right corner, and neither a
/// camera nor a viewer running. When a test fails, a screenshot is saved and the viewer's log is
/// printed.
class ViewerFixture : public testing::Test {
  protected:
    explicit ViewerFixture(WindowManager windowManager = WindowManager::openbox,
                           QSize screenSize = QSize(1600, 1000));

    void SetUp() override;
    void TearDown() override;

    /// Starts a camera, which runs until the end of the test. When the camera does not start, the
    /// test fails and the result is null.
    CameraProcess *startCamera(const CameraSetup &setup = {});
    /// Starts a camera and makes it the only entry of the camera list.
    CameraProcess *startListedCamera(const CameraSetup &setup = {});

    /// Starts the viewer. A viewer that is already running is ended first.
    void startViewer(const ViewerProcess::Variables &variables = {});
    /// Starts the viewer and waits until the live picture of a test camera fills the window.
    void startViewerAndWaitForPicture(const ViewerProcess::Variables &variables = {});
    /// Waits until the picture of a test camera fills the viewer's window from edge to edge.
    [[nodiscard]] testing::AssertionResult pictureFillsTheWindow() const;
    /// Ends the viewer with SIGTERM, as happens at the end of a desktop session. Fails the test
    /// unless the viewer exits with status 0.
    void endViewer();

    /// Converts a position in the viewer's window to a position on the screen.
    [[nodiscard]] QPoint onScreen(QPoint inWindow) const;
    /// The middle of a rectangle in the viewer's window, as a position on the screen.
    [[nodiscard]] QPoint onScreen(QRect inWindow) const;
    [[nodiscard]] ViewerControls controls() const;

    /// Moves the pointer over the middle of the picture and waits until the controls can be seen.
    void showControls();
    /// Whether the close button's white cross can be seen.
    [[nodiscard]] bool controlsAreVisible() const;
    /// Shows the controls and clicks the middle of the control with the rectangle `inWindow`.
    void clickControl(QRect inWindow);
    /// Moves the pointer to the screen's bottom right corner.
    void movePointerAway();
    /// Chooses an item of the main menu with the keyboard. `menu` is the index of the menu from the
    /// left, and `item` is the number of times that Down is pressed.
    void chooseMenuItem(int menu, int item);

    /// Asks the window manager to move the viewer's window.
    void moveWindow(QPoint position);
    /// Asks the window manager to resize the viewer's window.
    void resizeWindow(QSize size);
    /// Waits until the viewer's window has exactly this geometry and keeps it for a moment.
    [[nodiscard]] testing::AssertionResult
    reachesFrame(QRect geometry,
                 std::chrono::milliseconds deadline = std::chrono::seconds(20)) const;
    /// The window frame that is stored in the preferences.
    [[nodiscard]] QString storedFrame() const;

    /// Opens a white window of another program at `place`. The white window takes the keyboard
    /// focus and stays open until the end of the test. When the window does not open, the test
    /// fails and the result is null.
    DesktopProgram *startWhiteWindow(QRect place);

    /// Whether the window's content has the aspect ratio of `shape` to within two pixels, and the
    /// window's size hints ask the window manager to keep this ratio.
    [[nodiscard]] testing::AssertionResult hasShape(QSize shape) const;

    TestDesktop desktop;
    TestHome home;
    Screen screen{desktop};
    Pointer pointer{desktop};
    Keyboard keyboard{desktop};
    std::vector<std::unique_ptr<CameraProcess>> cameras;
    std::unique_ptr<ViewerProcess> viewer;
    std::unique_ptr<DesktopProgram> whiteWindow;
    /// The launcher and the environment variables of every viewer that the test starts (see
    /// ViewerProcess).
    QStringList viewerLauncher;
    ViewerProcess::Variables viewerVariables;
    int scale = 1;
};

} // namespace lumvik::test
