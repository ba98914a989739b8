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

/// Where the viewer's controls are, in pixels from its window's top left corner, for a content of
/// `size` pixels at least 290 points wide and `scale` pixels to the point.
class ViewerControls {
  public:
    explicit ViewerControls(QSize size, int scale = 1) : m_size(size), m_scale(scale) {}

    [[nodiscard]] QRect close() const { return button(0); }
    [[nodiscard]] QRect focus() const { return button(1); }
    [[nodiscard]] QRect pin() const { return button(2); }
    /// The right end of the picker: it is at least this wide.
    [[nodiscard]] QRect picker() const;
    /// The left end of the strip with the menus' titles.
    [[nodiscard]] QRect menuStrip() const;

  private:
    [[nodiscard]] QRect button(int fromTheRight) const;
    [[nodiscard]] QRect scaled(QRect points) const;

    QSize m_size;
    int m_scale;
};

/// What every whole-program test starts from: a desktop with openbox, an empty home, the pointer in
/// the screen's far corner, and neither camera nor viewer running. When a test fails, the screen is
/// saved and the viewer's log printed.
class ViewerFixture : public testing::Test {
  protected:
    explicit ViewerFixture(WindowManager windowManager = WindowManager::openbox,
                           QSize screenSize = QSize(1600, 1000));

    void SetUp() override;
    void TearDown() override;

    /// Starts a camera, which runs until the end of the test. Null, and a test failure, when it
    /// does not come up.
    CameraProcess *startCamera(const CameraSetup &setup = {});
    /// Starts a camera and makes it the only one in the list.
    CameraProcess *startListedCamera(const CameraSetup &setup = {});

    /// Starts the viewer, ending the one that runs.
    void startViewer(const ViewerProcess::Variables &variables = {});
    /// Starts the viewer and waits until the picture of a test camera, as sharp as it comes, fills
    /// its window.
    void startViewerAndWaitForPicture(const ViewerProcess::Variables &variables = {});
    /// Waits until the picture of a test camera fills the viewer's window from edge to edge.
    [[nodiscard]] testing::AssertionResult pictureFillsTheWindow() const;
    /// Ends the viewer as a session's end would, and fails the test unless it ends in order.
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
    /// Moves the pointer to the screen's far corner.
    void movePointerAway();

    /// Asks the window manager to move or to resize the viewer's window.
    void moveWindow(QPoint position);
    void resizeWindow(QSize size);
    /// Waits until the viewer's window has come to rest exactly here.
    [[nodiscard]] testing::AssertionResult
    comesToBe(QRect geometry, std::chrono::milliseconds deadline = std::chrono::seconds(20)) const;
    /// The window's frame that the preferences hold now.
    [[nodiscard]] QString storedFrame() const;

    /// Puts a white window of another program here, which takes the keyboard's focus; it stays
    /// until the end of the test. Null, and a test failure, when it does not come up.
    DesktopProgram *startWhiteWindow(QRect place);

    /// Whether the window's content has this shape, to two pixels, and asks the window manager to
    /// keep it.
    [[nodiscard]] testing::AssertionResult hasShape(QSize shape) const;

    TestDesktop desktop;
    TestHome home;
    Screen screen{desktop};
    Pointer pointer{desktop};
    Keyboard keyboard{desktop};
    std::vector<std::unique_ptr<CameraProcess>> cameras;
    std::unique_ptr<ViewerProcess> viewer;
    std::unique_ptr<DesktopProgram> whiteWindow;
    /// What every viewer is started through and with; see ViewerProcess.
    QStringList viewerLauncher;
    ViewerProcess::Variables viewerVariables;
    int scale = 1;
};

} // namespace lumvik::test
