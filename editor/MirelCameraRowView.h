#pragma once

#include <QColor>
#include <QPalette>
#include <QRectF>

class QPainter;

namespace lumvik {

/// Draws the background of one row of the camera table as an inset rounded rectangle: a subtle band
/// for every second row and the accent colour for the selected one.
class MirelCameraRowView {
  public:
    bool usesAlternateBackground = false;
    bool isSelected = false;

    /// The radius of the corners, in points.
    static constexpr qreal cornerRadius = 7;
    /// Returns the shape that a row at `bounds` fills (points).
    [[nodiscard]] static QRectF shape(const QRectF &bounds);

    /// Returns the colour of the bands on the background of a window: the alternate colour of the
    /// theme if this colour is visible there and subtle. Themes choose it for another background,
    /// so the band may instead be a shade between the colours of the background and its text.
    [[nodiscard]] static QColor bandColour(const QPalette &palette);

    /// Draws the band of the row that occupies `bounds` (points) if usesAlternateBackground is set.
    void drawBackground(QPainter &painter, const QRectF &bounds, const QPalette &palette) const;
    /// Draws the highlight of the row that occupies `bounds` (points) if isSelected is set.
    void drawSelection(QPainter &painter, const QRectF &bounds) const;
};

} // namespace lumvik
