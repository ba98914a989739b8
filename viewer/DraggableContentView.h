#pragma once

#include <QQuickItem>
#include <QTimer>

#include <functional>
#include <optional>

namespace lumvik {

/// The margin along the window's edges, in points, in which a drag resizes instead of moving.
inline constexpr qreal resizeMargin = 6;

/// The edges of a content of `size` that `position` lies within `margin` of; none in the middle.
[[nodiscard]] Qt::Edges resizeEdges(const QPointF &position, const QSizeF &size,
                                    qreal margin = resizeMargin);

/// The cursor that says what a drag from these edges does.
[[nodiscard]] Qt::CursorShape resizeCursor(Qt::Edges edges);

/// The transparent surface over the whole picture, under the controls: it reports whether the
/// pointer is over the viewer, lets the user drag the borderless window by its picture, and resize
/// it at its edges. It knows nothing of cameras or the player. Main thread only.
///
/// The pointer is followed with an event filter at the window: there, leaving this surface for a
/// control that lies over it is no leaving at all. Both drags begin once the pointer has moved the
/// usual drag distance, so that a click never takes the window along, and are the window manager's
/// from then on. It keeps the release and the leaving to itself; so afterwards the surface looks
/// for itself where the pointer is.
class DraggableContentView final : public QQuickItem {
    Q_OBJECT

  public:
    explicit DraggableContentView(QQuickItem *parent);

    /// Told true whenever the pointer enters or moves over the viewer, false when it left.
    void setHoverChanged(std::function<void(bool isOver)> hoverChanged) {
        m_hoverChanged = std::move(hoverChanged);
    }

    bool eventFilter(QObject *watched, QEvent *event) override;

  protected:
    void itemChange(ItemChange change, const ItemChangeData &value) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseUngrabEvent() override;
    void hoverMoveEvent(QHoverEvent *event) override;

  private:
    void reportHover(bool isOver);
    void beginDrag(const QPointF &pressed);
    void windowManagerTookOver();
    void checkHoverAfterDrag();
    [[nodiscard]] bool canMove() const;
    [[nodiscard]] bool canResize() const;

    std::function<void(bool)> m_hoverChanged;
    /// Where a press came that may become a drag.
    std::optional<QPointF> m_pressed;
    /// Where in the window the pointer holds it while it is dragged without the window manager's
    /// help.
    std::optional<QPoint> m_grabPoint;
    QTimer m_afterDrag; // runs from a drag's beginning until the pointer has been looked for
};

} // namespace lumvik
