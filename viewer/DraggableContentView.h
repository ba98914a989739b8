#pragma once

#include "platform/MainQueue.h"

#include <QQuickItem>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>

namespace lumvik {

/// The margin along the window's edges, in points, in which a drag resizes instead of moving.
inline constexpr qreal resizeMargin = 6;

/// The edges of a content of `size` that `position` lies within `margin` of; none in the middle.
[[nodiscard]] Qt::Edges resizeEdges(const QPointF &position, const QSizeF &size,
                                    qreal margin = resizeMargin);

/// The cursor that says what a drag from these edges does.
[[nodiscard]] Qt::CursorShape resizeCursor(Qt::Edges edges);

/// The smallest width and height of an area that can be chosen, in points; less is a click.
inline constexpr qreal smallestFocusSelection = 12;

/// Whether whoever waits for the end of a selection is told that it was cancelled.
enum class CancellationNotice { notify, keepSilent };

/// What assistive technology is told of the picture under the surface.
struct PictureText {
    QString name; ///< What it shows; empty while there is no picture to speak of.
    QString description;

    friend bool operator==(const PictureText &, const PictureText &) = default;
};

class AreaSelectionOverlay;

/// The transparent surface over the whole picture, under the controls: it reports whether the
/// pointer is over the viewer and when the right button is pressed, lets the user drag the
/// borderless window by its picture and resize it at its edges, and runs the selection of an area
/// of the picture. It knows nothing of cameras or the player. Main thread only.
///
/// The pointer is followed with an event filter at the window: there, leaving this surface for a
/// control that lies over it is no leaving at all. Moving and resizing begin once the pointer has
/// moved the usual drag distance, so that a click never takes the window along, and are the window
/// manager's from then on. It keeps the release and the leaving to itself; so afterwards the
/// surface looks for itself where the pointer is.
///
/// A selection goes from idle to selecting (`beginFocusSelection`), with the release of the button
/// over a large enough area to finalizing, in which the area stands for 0.3 s so that the user sees
/// what was chosen before the picture changes, and back to idle. Anything else cancels it: Escape,
/// the right button, too small an area, a view that changes its size under the area.
class DraggableContentView final : public QQuickItem {
    Q_OBJECT

  public:
    DraggableContentView(MainQueue &mainQueue, QQuickItem *parent);
    ~DraggableContentView() override;

    /// Told true whenever the pointer enters or moves over the viewer, false when it left.
    void setHoverChanged(std::function<void(bool isOver)> hoverChanged) {
        m_hoverChanged = std::move(hoverChanged);
    }
    /// Runs when the right button is pressed and no area is being chosen.
    void setSecondaryClick(std::function<void()> secondaryClick) {
        m_secondaryClick = std::move(secondaryClick);
    }
    /// Told the chosen area, in this view's coordinates (points, from the top left corner).
    void setFocusSelectionCompleted(std::function<void(const QRectF &area)> completed) {
        m_focusSelectionCompleted = std::move(completed);
    }
    /// Runs when a selection has ended without an area.
    void setFocusSelectionCancelled(std::function<void()> cancelled) {
        m_focusSelectionCancelled = std::move(cancelled);
    }
    /// Answers where the visible controls are, in this view's coordinates. What happens there is
    /// none of this view's business, even while they do not react.
    void setViewerControlRects(std::function<QList<QRectF>()> viewerControlRects) {
        m_viewerControlRects = std::move(viewerControlRects);
    }

    /// Tells assistive technology what the picture is now.
    void setPictureText(const PictureText &text);
    [[nodiscard]] const PictureText &pictureText() const { return m_pictureText; }

    /// Enters selection mode, with the keyboard, afresh if it is on already.
    void beginFocusSelection();
    /// Ends a selection, also one that is complete but has not been handed over. Harmless without.
    void cancelFocusSelection(CancellationNotice notice);

    /// Whether selection mode is on.
    [[nodiscard]] bool isSelectingFocusArea() const { return m_isSelectingFocusArea; }
    /// Whether a finished selection stands on the screen and waits to be handed over.
    [[nodiscard]] bool isFinalizingFocusSelection() const { return m_isFinalizingFocusSelection; }
    /// The current selection, in this view's coordinates.
    [[nodiscard]] std::optional<QRectF> focusSelectionRect() const { return m_focusSelectionRect; }

    [[nodiscard]] bool contains(const QPointF &point) const override;
    bool eventFilter(QObject *watched, QEvent *event) override;

  protected:
    void itemChange(ItemChange change, const ItemChangeData &value) override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseUngrabEvent() override;
    void hoverMoveEvent(QHoverEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

  private:
    void reportHover(bool isOver);
    void rightButtonPressed();
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
    /// Brings cursor and overlay up to date with the selection.
    void showFocusSelection();

    MainQueue &m_mainQueue;
    std::function<void(bool)> m_hoverChanged;
    std::function<void()> m_secondaryClick;
    std::function<void(const QRectF &)> m_focusSelectionCompleted;
    std::function<void()> m_focusSelectionCancelled;
    std::function<QList<QRectF>()> m_viewerControlRects;

    /// Where a press came that may become a drag of the window.
    std::optional<QPointF> m_pressed;
    /// Where in the window the pointer holds it while it is dragged without the window manager's
    /// help.
    std::optional<QPoint> m_grabPoint;
    QTimer m_afterDrag; // runs from a drag's beginning until the pointer has been looked for

    std::optional<QPointF> m_focusSelectionStart; // while the button is held
    std::optional<QRectF> m_focusSelectionRect;
    bool m_isFinalizingFocusSelection = false;
    bool m_isSelectingFocusArea = false;
    std::shared_ptr<WorkItem> m_handOver; // due while finalizing
    AreaSelectionOverlay *m_overlay;      // a child
    PictureText m_pictureText;
};

} // namespace lumvik
