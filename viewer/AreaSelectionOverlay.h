#pragma once

#include <QQuickPaintedItem>
#include <QRectF>
#include <QString>

#include <optional>

namespace lumvik {

/// Draws the selection of an area of the picture: darkens everything except the selected area,
/// draws a dashed outline around the area, and shows a badge with a hint near the lower edge. The
/// overlay is hidden unless an area is being selected. Main thread only.
class AreaSelectionOverlay final : public QQuickPaintedItem {
    Q_OBJECT

  public:
    explicit AreaSelectionOverlay(QQuickItem *parent);

    /// Sets the selected rectangle and redraws the overlay. `selection` is in this item's
    /// coordinates, and empty if nothing is selected yet. `isDragging` is true while the mouse
    /// button is held.
    void setSelection(const std::optional<QRectF> &selection, bool isDragging);

    /// Returns the text of the badge.
    [[nodiscard]] static QString hint(bool isDragging);
    /// Returns the rectangle of the badge in a view of the size `view`, for a text of the size
    /// `text` (both in points).
    [[nodiscard]] static QRectF badgeRect(const QSizeF &view, const QSizeF &text);

    void paint(QPainter *painter) override;

  private:
    void paintBadge(QPainter &painter) const;

    std::optional<QRectF> m_selection;
    bool m_isDragging = false;
};

} // namespace lumvik
