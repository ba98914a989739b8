#pragma once

#include "ViewerFixture.h"

#include <QImage>
#include <QTransform>

namespace lumvik::test {

/// The base of whole-program tests of areas. Each point of the viewer's window shows one pixel of
/// the camera's picture, so a rectangle dragged with the pointer has the same coordinates in the
/// picture.
class AreaFixture : public ViewerFixture {
  protected:
    using ViewerFixture::ViewerFixture;

    /// The size of the camera's picture, which equals the initial size of the viewer's window in
    /// points.
    static constexpr QSize pictureSize{1120, 630};

    /// Starts the viewer and a camera whose picture is rotated by `degrees`, and waits for the
    /// picture. When the picture does not appear, the test fails and the result is null.
    CameraProcess *showCamera(int degrees = 0, const ViewerProcess::Variables &variables = {});

    /// Clicks the area button and waits until the picture is dimmed.
    void beginSelection();
    /// Presses the left mouse button at `from` and moves the pointer to `to`. Both positions are in
    /// points of the window.
    void dragWithoutRelease(QPoint from, QPoint to);
    /// Selects `area`, which is in points of the window, and moves the pointer away.
    void selectArea(QRect area);
    /// Clicks the area button, which restores the whole picture while the window shows an area.
    /// Then moves the pointer away.
    void showOriginalView();

    /// The brightness of the colour bars, relative to that in the undimmed picture.
    [[nodiscard]] double brightness() const;
    /// Waits until the picture is dimmed, as during the selection of an area.
    [[nodiscard]] testing::AssertionResult becomesDimmed() const;
    /// Waits until the picture is no longer dimmed.
    [[nodiscard]] testing::AssertionResult becomesUndimmed() const;
    /// Waits until the camera's whole picture fills the window, possibly stretched.
    [[nodiscard]] testing::AssertionResult showsWholePicture() const;
    /// Waits until exactly this area of the picture fills the window from edge to edge. All four
    /// edges are checked, so the test must know the colours next to each edge.
    [[nodiscard]] testing::AssertionResult showsArea(QRect area) const;

  private:
    /// Whether `picture`, a screenshot of the window, shows exactly `area`.
    [[nodiscard]] testing::AssertionResult isArea(const QImage &picture, QRect area) const;

    int m_degrees = 0;
    QColor m_undimmedBars; // the mean colour of some bars in the undimmed picture
};

} // namespace lumvik::test
