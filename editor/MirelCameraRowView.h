#pragma once

#include <QPalette>
#include <QRectF>

class QPainter;

namespace lumvik {

/// How the selected row of a table is drawn.
enum class SelectionHighlightStyle { none, regular };

/// Draws what lies under the cells of one row of the camera table: a soft band under every second
/// row and the house colour under the selected one, as inset rounded shapes.
class MirelCameraRowView {
  public:
    bool usesAlternateBackground = false;
    bool isSelected = false;
    SelectionHighlightStyle selectionHighlightStyle = SelectionHighlightStyle::regular;

    /// Draws the band in `bounds`, the whole row (points); nothing unless usesAlternateBackground.
    void drawBackground(QPainter &painter, const QRectF &bounds, const QPalette &palette) const;
    /// Draws the selection; nothing for a row that is not selected or has highlight style none.
    void drawSelection(QPainter &painter, const QRectF &bounds) const;
};

} // namespace lumvik
