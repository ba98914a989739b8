#pragma once

#include "ViewerFixture.h"

#include <QImage>
#include <QTransform>

namespace lumvik::test {

/// What the tests of the focus area start from: the viewer shows a camera with one pixel of the
/// picture to each point of its window, so that a rectangle dragged with the pointer is the same
/// rectangle in the picture.
class AreaFixture : public ViewerFixture {
  protected:
    using ViewerFixture::ViewerFixture;

    /// As large as the window that a first start opens, in points.
    static constexpr QSize pictureSize{1120, 630};

    /// Starts a camera hung in the wall turned by `degrees`, and the viewer, and waits for the
    /// picture, pixel for point. Null, and a test failure, when it does not come.
    CameraProcess *showCamera(int degrees = 0, const ViewerProcess::Variables &variables = {});

    /// Clicks the focus button and waits until the picture is dimmed.
    void beginSelection();
    /// Presses the left button at one point of the window and moves to another, both in points.
    void dragWithoutRelease(QPoint from, QPoint to);
    /// Selects this area of the window, in points, and takes the pointer away.
    void focusOn(QRect area);
    /// Clicks the focus button of a window that shows an area, and takes the pointer away.
    void showOriginalView();

    /// How bright the colour bars are, in shares of what they are in the bare picture.
    [[nodiscard]] double brightness() const;
    /// Waits until the picture is as dark as it is under a selection; or bare again.
    [[nodiscard]] testing::AssertionResult becomesDimmed() const;
    [[nodiscard]] testing::AssertionResult becomesBare() const;
    /// Waits until the camera's whole picture, stretched as may be, fills the window.
    [[nodiscard]] testing::AssertionResult showsWholePicture() const;
    /// Waits until this area of the picture, and nothing else, fills the window from edge to edge.
    /// All four edges are looked at, and each must be one whose colour is known.
    [[nodiscard]] testing::AssertionResult showsArea(QRect area) const;

  private:
    /// `picture` is what the window shows.
    [[nodiscard]] testing::AssertionResult isArea(const QImage &picture, QRect area) const;

    int m_degrees = 0;
    QColor m_bareBars; // the mean colour of some bars without a selection
};

} // namespace lumvik::test
