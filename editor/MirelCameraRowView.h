#pragma once

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

    /// Draws the band of the row that occupies `bounds` (points) if usesAlternateBackground is set.
    void drawBackground(QPainter &painter, const QRectF &bounds, const QPalette &palette) const;
    /// Draws the highlight of the row that occupies `bounds` (points) if isSelected is set.
    void drawSelection(QPainter &painter, const QRectF &bounds) const;
};

} // namespace lumvik
