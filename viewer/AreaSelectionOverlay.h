#pragma once

#include <QQuickPaintedItem>
#include <QRectF>
#include <QString>

#include <optional>

namespace lumvik {

/// What is drawn while an area of the picture is chosen: everything but the area darkened, a dashed
/// outline around it, and a badge near the lower edge that says what to do. Hidden otherwise, and
/// then no part of any frame. Main thread only.
class AreaSelectionOverlay final : public QQuickPaintedItem {
    Q_OBJECT

  public:
    explicit AreaSelectionOverlay(QQuickItem *parent);

    /// `selection` in this item's coordinates; nothing when nothing is selected yet. `isDragging`
    /// while the button is held.
    void setSelection(const std::optional<QRectF> &selection, bool isDragging);

    /// The badge's text.
    [[nodiscard]] static QString hint(bool isDragging);
    /// The badge's place in a view of `view` points for a text of `text` points.
    [[nodiscard]] static QRectF badgeRect(const QSizeF &view, const QSizeF &text);

    void paint(QPainter *painter) override;

  private:
    void paintBadge(QPainter &painter) const;

    std::optional<QRectF> m_selection;
    bool m_isDragging = false;
};

} // namespace lumvik
