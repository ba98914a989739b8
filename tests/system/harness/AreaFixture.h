#pragma once

#include "ViewerFixture.h"

#include <QImage>
#include <QTransform>

namespace lumvik::test {

/// The starting point of the tests of areas. The viewer shows a camera with one picture pixel per
/// point of its window, so a rectangle dragged with the pointer is the same rectangle in the
/// picture.
class AreaFixture : public ViewerFixture {
  protected:
    using ViewerFixture::ViewerFixture;

    /// The size of the window at a first start, in points.
    static constexpr QSize pictureSize{1120, 630};

    /// Starts a camera that is rotated by `degrees` and the viewer, and waits for the picture. When
    /// the picture does not appear, the test fails and the result is null.
    CameraProcess *showCamera(int degrees = 0, const ViewerProcess::Variables &variables = {});

    /// Clicks the area button and waits until the picture is dimmed.
    void beginSelection();
    /// Presses the left button at one point of the window and moves to another, both in points.
    void dragWithoutRelease(QPoint from, QPoint to);
    /// Selects this area of the window, in points, and moves the pointer away.
    void selectArea(QRect area);
    /// Clicks the area button of a window that shows an area, and moves the pointer away.
    void showOriginalView();

    /// The brightness of the colour bars, relative to that in the undimmed picture.
    [[nodiscard]] double brightness() const;
    /// Wait until the picture is dimmed as during a selection, or no longer dimmed.
    [[nodiscard]] testing::AssertionResult becomesDimmed() const;
    [[nodiscard]] testing::AssertionResult becomesUndimmed() const;
    /// Waits until the camera's whole picture fills the window, possibly stretched.
    [[nodiscard]] testing::AssertionResult showsWholePicture() const;
    /// Waits until this area of the picture, and nothing else, fills the window from edge to edge.
    /// All four edges are checked, so the colour next to each edge must be known.
    [[nodiscard]] testing::AssertionResult showsArea(QRect area) const;

  private:
    /// `picture` is what the window shows.
    [[nodiscard]] testing::AssertionResult isArea(const QImage &picture, QRect area) const;

    int m_degrees = 0;
    QColor m_undimmedBars; // the mean colour of some bars without a selection
};

} // namespace lumvik::test
