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

/// The rectangles of the viewer's controls, in pixels from its window's top left corner. The
/// content has `size` pixels, `scale` pixels per point, and is at least 290 points wide.
class ViewerControls {
  public:
    explicit ViewerControls(QSize size, int scale = 1) : m_size(size), m_scale(scale) {}

    [[nodiscard]] QRect close() const { return button(0); }
    [[nodiscard]] QRect area() const { return button(1); }
    [[nodiscard]] QRect pin() const { return button(2); }
    /// The right end of the picker, which is at least this wide.
    [[nodiscard]] QRect picker() const;
    /// The left end of the strip with the menus' titles.
    [[nodiscard]] QRect menuStrip() const;

  private:
    [[nodiscard]] QRect button(int fromTheRight) const;
    [[nodiscard]] QRect scaled(QRect points) const;

    QSize m_size;
    int m_scale;
};

/// The starting point of every whole-program test: a desktop with openbox, an empty home folder,
/// the pointer in the screen's bottom right corner, and neither a camera nor a viewer running. When
/// a test fails, a screenshot is saved and the viewer's log is printed.
class ViewerFixture : public testing::Test {
  protected:
    explicit ViewerFixture(WindowManager windowManager = WindowManager::openbox,
                           QSize screenSize = QSize(1600, 1000));

    void SetUp() override;
    void TearDown() override;

    /// Starts a camera, which runs until the end of the test. When it does not start, the test
    /// fails and the result is null.
    CameraProcess *startCamera(const CameraSetup &setup = {});
    /// Starts a camera and makes it the only one in the list.
    CameraProcess *startListedCamera(const CameraSetup &setup = {});

    /// Starts the viewer after ending one that is running.
    void startViewer(const ViewerProcess::Variables &variables = {});
    /// Starts the viewer and waits until the sharp picture of a test camera fills its window.
    void startViewerAndWaitForPicture(const ViewerProcess::Variables &variables = {});
    /// Waits until the picture of a test camera fills the viewer's window from edge to edge.
    [[nodiscard]] testing::AssertionResult pictureFillsTheWindow() const;
    /// Ends the viewer as the end of a session does, and fails the test unless it exits cleanly.
    void endViewer();

    /// A point of the viewer's window on the screen.
    [[nodiscard]] QPoint onScreen(QPoint inWindow) const;
    /// The middle of an area of the viewer's window, on the screen.
    [[nodiscard]] QPoint onScreen(QRect inWindow) const;
    [[nodiscard]] ViewerControls controls() const;

    /// Moves the pointer over the middle of the picture and waits until the controls can be seen.
    void showControls();
    /// Whether the close button's white cross can be seen.
    [[nodiscard]] bool controlsAreVisible() const;
    /// Shows the controls and clicks into the middle of one.
    void clickControl(QRect inWindow);
    /// Moves the pointer to the screen's bottom right corner.
    void movePointerAway();

    /// Asks the window manager to move or to resize the viewer's window.
    void moveWindow(QPoint position);
    void resizeWindow(QSize size);
    /// Waits until the viewer's window has come to rest with exactly this geometry.
    [[nodiscard]] testing::AssertionResult
    reachesFrame(QRect geometry,
                 std::chrono::milliseconds deadline = std::chrono::seconds(20)) const;
    /// The window frame that is stored in the preferences.
    [[nodiscard]] QString storedFrame() const;

    /// Opens a white window of another program here, which takes the keyboard focus and stays until
    /// the end of the test. When it does not open, the test fails and the result is null.
    DesktopProgram *startWhiteWindow(QRect place);

    /// Whether the window's content has this aspect ratio to within two pixels, and its size hints
    /// ask the window manager to keep the ratio.
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
