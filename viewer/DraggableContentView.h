#pragma once

#include "platform/MainQueue.h"

#include <QQuickItem>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>

namespace lumvik {

/// The width, in points, of the margin along the window's edges in which a drag resizes the window
/// instead of moving it.
inline constexpr qreal resizeMargin = 6;

/// Returns the edges of a content of the size `size` that are within `margin` of `position`.
/// Returns no edges if `position` is farther from all edges or outside the content. All values are
/// in points.
[[nodiscard]] Qt::Edges resizeEdges(const QPointF &position, const QSizeF &size,
                                    qreal margin = resizeMargin);

/// Returns the cursor that indicates whether a drag that starts at `edges` resizes the window, and
/// in which direction.
[[nodiscard]] Qt::CursorShape resizeCursor(Qt::Edges edges);

/// Whether cancelling a selection calls the handler for cancelled selections.
enum class CancellationNotice { notify, keepSilent };

/// The description of the picture for assistive technology.
struct PictureText {
    QString name; ///< What the picture shows. Empty while there is no picture.
    QString description;

    friend bool operator==(const PictureText &, const PictureText &) = default;
};

class AreaSelectionOverlay;

/// What the surface does with a picture that can be magnified.
struct MagnificationHandlers {
    /// Multiplies the magnification by `factor`. The part at `position` (in the surface's
    /// coordinates) should stay there.
    std::function<void(double factor, const QPointF &position)> magnify;
    /// Moves the picture by `distance`, in points.
    std::function<void(const QPointF &distance)> move;
    /// Returns whether the picture is magnified.
    std::function<bool()> isMagnified;
};

/// The transparent surface over the whole picture and below the controls. The surface reports
/// whether the pointer is over the viewer and when the right mouse button is pressed. The user can
/// drag the surface to move the borderless window, and drag its edges to resize the window. The
/// surface also runs the selection of an area. This class has no access to cameras or the player.
/// Main thread only.
///
/// An event filter on the window follows the pointer, because the pointer is still over the viewer
/// when it moves from this surface to a control. Moving and resizing begin after the usual drag
/// distance, so that a click never moves the window. Once a drag has begun, the window manager
/// handles it and receives the release of the button and the leave event. The surface therefore
/// queries the position of the pointer after a drag.
///
/// A selection starts with `beginFocusSelection`. When the button is released over a large enough
/// rectangle, the selection is finalizing: the rectangle stays visible for 0.3 s, so that the user
/// sees it before the picture changes, and then the completion handler runs. Escape, the right
/// button, a rectangle that is too small, or a change of the view's size cancels the selection.
class DraggableContentView final : public QQuickItem {
    Q_OBJECT

  public:
    DraggableContentView(MainQueue &mainQueue, QQuickItem *parent);
    ~DraggableContentView() override;

    /// `hoverChanged` runs with true whenever the pointer enters the viewer or moves over it, and
    /// with false when the pointer has left the viewer.
    void setHoverChanged(std::function<void(bool isOver)> hoverChanged) {
        m_hoverChanged = std::move(hoverChanged);
    }
    /// `secondaryClick` runs when the right button is pressed while no area is being selected.
    void setSecondaryClick(std::function<void()> secondaryClick) {
        m_secondaryClick = std::move(secondaryClick);
    }
    /// `doubleClick` runs when the left button is double-clicked while no area is being selected.
    void setDoubleClick(std::function<void()> doubleClick) {
        m_doubleClick = std::move(doubleClick);
    }
    /// The wheel and a touchpad magnify the picture at the pointer. The middle button, or Ctrl with
    /// the left one, moves a magnified picture.
    void setMagnificationHandlers(MagnificationHandlers handlers) {
        m_magnification = std::move(handlers);
    }
    /// `completed` runs with the selected area, in this view's coordinates (points from the top
    /// left corner).
    void setFocusSelectionCompleted(std::function<void(const QRectF &area)> completed) {
        m_focusSelectionCompleted = std::move(completed);
    }
    /// `cancelled` runs when a selection has ended without an area.
    void setFocusSelectionCancelled(std::function<void()> cancelled) {
        m_focusSelectionCancelled = std::move(cancelled);
    }
    /// `viewerControlRects` returns the rectangles of the visible controls, in this view's
    /// coordinates. This view ignores events inside these rectangles, even while the controls are
    /// disabled.
    void setViewerControlRects(std::function<QList<QRectF>()> viewerControlRects) {
        m_viewerControlRects = std::move(viewerControlRects);
    }

    /// Sets the description of the picture for assistive technology.
    void setPictureText(const PictureText &text);
    [[nodiscard]] const PictureText &pictureText() const { return m_pictureText; }

    /// Starts a selection and takes the keyboard focus. Restarts a selection that is already
    /// running.
    void beginFocusSelection();
    /// Cancels a selection, even one that is finalizing. Does nothing if no selection is in
    /// progress.
    void cancelFocusSelection(CancellationNotice notice);

    /// Whether the user is selecting an area.
    [[nodiscard]] bool isSelectingFocusArea() const { return m_isSelectingFocusArea; }
    /// Whether a finished selection is still visible and the completion handler has not run yet.
    [[nodiscard]] bool isFinalizingFocusSelection() const { return m_isFinalizingFocusSelection; }
    /// The selected rectangle so far, in this view's coordinates.
    [[nodiscard]] std::optional<QRectF> focusSelectionRect() const { return m_focusSelectionRect; }

    [[nodiscard]] bool contains(const QPointF &point) const override;
    bool eventFilter(QObject *watched, QEvent *event) override;

  protected:
    void itemChange(ItemChange change, const ItemChangeData &value) override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseUngrabEvent() override;
    void wheelEvent(QWheelEvent *event) override;
    bool event(QEvent *event) override;
    void hoverMoveEvent(QHoverEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

  private:
    void reportHover(bool isOver);
    void rightButtonPressed();
    [[nodiscard]] bool movesPicture(const QMouseEvent &press) const;
    void continueWindowDrag(const QMouseEvent &event);
    void beginDrag(const QPointF &pressed);
    void windowManagerTookOver();
    void checkHoverAfterDrag();
    [[nodiscard]] bool canMove() const;
    [[nodiscard]] bool canResize() const;

    void selectTo(const QPointF &point);
    void finishFocusSelection();
    void handOverFocusSelection(const QRectF &area);
    void dropFocusSelection();
    /// Updates the cursor and the overlay after a change of the selection.
    void showFocusSelection();

    MainQueue &m_mainQueue;
    std::function<void(bool)> m_hoverChanged;
    std::function<void()> m_secondaryClick;
    std::function<void()> m_doubleClick;
    MagnificationHandlers m_magnification;
    std::function<void(const QRectF &)> m_focusSelectionCompleted;
    std::function<void()> m_focusSelectionCancelled;
    std::function<QList<QRectF>()> m_viewerControlRects;

    /// The last position of the pointer while a drag moves the magnified picture.
    std::optional<QPointF> m_draggedPictureAt;
    /// The position of a press that may become a drag of the window.
    std::optional<QPointF> m_pressed;
    /// The position in the window at which the user grabbed the window. Only set while this view
    /// moves the window itself, because the window manager does not.
    std::optional<QPoint> m_grabPoint;
    QTimer m_afterDrag; // runs while the window manager handles a drag

    std::optional<QPointF> m_focusSelectionStart; // while the button is held
    std::optional<QRectF> m_focusSelectionRect;
    bool m_isFinalizingFocusSelection = false;
    bool m_isSelectingFocusArea = false;
    std::shared_ptr<WorkItem> m_handOver; // runs at the end of finalizing
    AreaSelectionOverlay *m_overlay;      // a child
    PictureText m_pictureText;
};

} // namespace lumvik
