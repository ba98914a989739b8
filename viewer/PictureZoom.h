#pragma once

#include <QPointF>
#include <QRectF>
#include <QSizeF>

namespace lumvik {

/// How much the user has magnified the picture, and which part of it the view therefore shows. A
/// plain value. All positions and sizes are in points, from the view's top left corner.
///
/// The picture is centred in the view. It may be larger than the view in one direction, or leave
/// bars there. A magnified picture covers the view as far as it can: it has no bars at an edge
/// behind which there is more to see.
class PictureZoom {
  public:
    static constexpr double largestMagnification = 8;

    /// Sets the size of the view and that of the picture at a magnification of 1. The same part
    /// stays in the centre. Empty sizes are ignored.
    void setSizes(const QSizeF &view, const QSizeF &picture);

    /// Multiplies the magnification by `factor`, within its limits. The part at `position` stays
    /// where it is, unless the picture would leave a bar.
    void magnify(double factor, const QPointF &position);
    /// Moves the magnified picture as far as there is more to see.
    void move(const QPointF &distance);
    void reset();

    /// From 1 to `largestMagnification`.
    [[nodiscard]] double magnification() const { return m_magnification; }
    [[nodiscard]] bool isMagnified() const { return m_magnification > 1; }
    /// How far the picture's centre is from the view's, in sizes of the magnified picture.
    [[nodiscard]] QPointF pan() const { return m_pan; }
    [[nodiscard]] QSizeF view() const { return m_view; }

    /// Returns the part of the picture that the view shows. The whole picture is a square with the
    /// corners (0, 0) and (1, 1).
    [[nodiscard]] QRectF visiblePart() const;
    /// Returns where `area` of the view would be at a magnification of 1.
    [[nodiscard]] QRectF unmagnified(const QRectF &area) const;

  private:
    [[nodiscard]] QSizeF magnifiedSize() const { return m_picture * m_magnification; }
    [[nodiscard]] QRectF frame() const;
    void setFrameOffset(const QPointF &offset);

    QSizeF m_view;
    QSizeF m_picture; // at a magnification of 1
    double m_magnification = 1;
    QPointF m_pan;
};

} // namespace lumvik
