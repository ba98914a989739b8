#include "viewer/DraggableContentView.h"

#include "viewer/AreaGeometry.h"
#include "viewer/AreaSelectionOverlay.h"
#include "window/MouseButtonState.h"

#include <QAccessible>
#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QPointer>
#include <QQuickWindow>
#include <QStyleHints>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumvik {

namespace {

/// The interval at which the view checks whether the user has released the window, in milliseconds.
constexpr int afterDragInterval = 150;

/// How long a finished selection stays visible before the completion handler runs, in seconds.
constexpr double finalizingTime = 0.3;

/// By how much a notch of the wheel magnifies the picture.
constexpr double magnificationOfNotch = 1.25;

/// Returns the rectangle between two opposite corners.
QRectF spanned(const QPointF &one, const QPointF &other) {
    return QRectF(one, other).normalized();
}

} // namespace

Qt::Edges resizeEdges(const QPointF &position, const QSizeF &size, qreal margin) {
    Qt::Edges edges;
    if (!QRectF(QPointF(), size).contains(position))
        return edges;
    edges.setFlag(Qt::LeftEdge, position.x() < margin);
    edges.setFlag(Qt::RightEdge, position.x() >= size.width() - margin);
    edges.setFlag(Qt::TopEdge, position.y() < margin);
    edges.setFlag(Qt::BottomEdge, position.y() >= size.height() - margin);
    return edges;
}

Qt::CursorShape resizeCursor(Qt::Edges edges) {
    if (edges == (Qt::LeftEdge | Qt::TopEdge) || edges == (Qt::RightEdge | Qt::BottomEdge))
        return Qt::SizeFDiagCursor;
    if (edges == (Qt::RightEdge | Qt::TopEdge) || edges == (Qt::LeftEdge | Qt::BottomEdge))
        return Qt::SizeBDiagCursor;
    if ((edges & (Qt::LeftEdge | Qt::RightEdge)) != Qt::Edges())
        return Qt::SizeHorCursor;
    if ((edges & (Qt::TopEdge | Qt::BottomEdge)) != Qt::Edges())
        return Qt::SizeVerCursor;
    return Qt::ArrowCursor;
}

DraggableContentView::DraggableContentView(MainQueue &mainQueue, QQuickItem *parent)
    : QQuickItem(parent)
    , m_mainQueue(mainQueue)
    , m_overlay(new AreaSelectionOverlay(this)) {
    setAcceptedMouseButtons(Qt::LeftButton | Qt::RightButton | Qt::MiddleButton);
    setAcceptHoverEvents(true);
    m_afterDrag.setInterval(afterDragInterval);
    connect(&m_afterDrag, &QTimer::timeout, this, &DraggableContentView::checkHoverAfterDrag);
    // The base class's constructor reports the window of a new item before this class is
    // constructed, so the `itemChange` of this class is not called for it.
    if (window() != nullptr)
        window()->installEventFilter(this);
}

DraggableContentView::~DraggableContentView() = default;

void DraggableContentView::setPictureText(const PictureText &text) {
    const PictureText before = std::exchange(m_pictureText, text);
    if (before.name != text.name) {
        QAccessibleEvent renamed(this, QAccessible::NameChanged);
        QAccessible::updateAccessibility(&renamed);
    }
    if (before.name.isEmpty() != text.name.isEmpty()) {
        QAccessibleEvent shown(this, text.name.isEmpty() ? QAccessible::ObjectHide
                                                         : QAccessible::ObjectShow);
        QAccessible::updateAccessibility(&shown);
    }
    if (before.description != text.description) {
        QAccessibleEvent described(this, QAccessible::DescriptionChanged);
        QAccessible::updateAccessibility(&described);
    }
}

// ---- Hover ----

void DraggableContentView::itemChange(ItemChange change, const ItemChangeData &value) {
    if (change == ItemSceneChange && value.window != nullptr)
        value.window->installEventFilter(this);
    QQuickItem::itemChange(change, value);
}

bool DraggableContentView::eventFilter(QObject *, QEvent *event) {
    switch (static_cast<int>(event->type())) {
    case QEvent::Enter:
        reportHover(true);
        break;
    case QEvent::MouseMove:
        // While a button is held, the window receives pointer events from the whole screen.
        reportHover(QRectF(QPointF(), window()->size())
                        .contains(static_cast<QMouseEvent *>(event)->position()));
        break;
    case QEvent::Leave:
        reportHover(false);
        break;
    default:
        break;
    }
    return false;
}

void DraggableContentView::reportHover(bool isOver) {
    if (m_hoverChanged)
        m_hoverChanged(isOver);
}

bool DraggableContentView::contains(const QPointF &point) const {
    if (m_viewerControlRects) {
        const auto rects = m_viewerControlRects();
        const auto isThere = [&](const QRectF &rect) { return rect.contains(point); };
        if (std::any_of(rects.begin(), rects.end(), isThere))
            return false;
    }
    return QQuickItem::contains(point);
}

// ---- The mouse and the keyboard ----

void DraggableContentView::mousePressEvent(QMouseEvent *event) {
    event->accept();
    if (event->button() == Qt::RightButton) {
        rightButtonPressed();
        return;
    }
    if (movesPicture(*event)) {
        m_draggedPictureAt = event->position();
        setCursor(Qt::ClosedHandCursor);
        return;
    }
    if (m_isFinalizingFocusSelection || event->button() != Qt::LeftButton)
        return;
    if (m_isSelectingFocusArea) {
        m_focusSelectionStart = event->position();
        m_focusSelectionRect = QRectF(event->position(), QSizeF(0, 0));
        showFocusSelection();
        return;
    }
    m_grabPoint.reset();
    m_pressed = event->scenePosition();
}

void DraggableContentView::rightButtonPressed() {
    m_pressed.reset();
    if (m_isSelectingFocusArea)
        cancelFocusSelection(CancellationNotice::notify);
    else if (m_secondaryClick)
        m_secondaryClick();
}

bool DraggableContentView::movesPicture(const QMouseEvent &press) const {
    const bool isDrag =
        press.button() == Qt::MiddleButton ||
        (press.button() == Qt::LeftButton && press.modifiers().testFlag(Qt::ControlModifier));
    return isDrag && !m_isSelectingFocusArea && !m_isFinalizingFocusSelection &&
           m_magnification.isMagnified && m_magnification.isMagnified();
}

void DraggableContentView::mouseMoveEvent(QMouseEvent *event) {
    if (m_draggedPictureAt) {
        const QPointF before = std::exchange(*m_draggedPictureAt, event->position());
        m_magnification.move(event->position() - before);
        return;
    }
    if (m_isSelectingFocusArea) {
        if (m_focusSelectionStart)
            selectTo(event->position());
        return;
    }
    continueWindowDrag(*event);
}

void DraggableContentView::mouseReleaseEvent(QMouseEvent *event) {
    event->accept();
    if (event->button() == Qt::LeftButton && m_isSelectingFocusArea)
        finishFocusSelection();
    if (event->buttons() == Qt::NoButton)
        mouseUngrabEvent();
}

void DraggableContentView::mouseDoubleClickEvent(QMouseEvent *event) {
    event->accept();
    if (event->button() != Qt::LeftButton || m_isSelectingFocusArea || m_isFinalizingFocusSelection)
        return;
    m_pressed.reset(); // a movement from here on is no drag of the window
    if (m_doubleClick)
        m_doubleClick();
}

void DraggableContentView::mouseUngrabEvent() {
    m_pressed.reset();
    m_grabPoint.reset();
    if (std::exchange(m_draggedPictureAt, std::nullopt))
        setCursor(Qt::ArrowCursor);
    if (m_isSelectingFocusArea && m_focusSelectionStart) {
        // Another item receives the rest of this drag, so the unfinished rectangle is discarded.
        // The user may drag again.
        m_focusSelectionStart.reset();
        m_focusSelectionRect.reset();
        showFocusSelection();
    }
}

void DraggableContentView::wheelEvent(QWheelEvent *event) {
    event->accept();
    // The rectangle being selected refers to the picture as it is shown.
    if (m_isSelectingFocusArea || m_isFinalizingFocusSelection || !m_magnification.magnify ||
        event->phase() == Qt::ScrollMomentum)
        return;
    const double notches =
        event->angleDelta().y() / static_cast<double>(QWheelEvent::DefaultDeltasPerStep);
    if (notches != 0)
        m_magnification.magnify(std::pow(magnificationOfNotch, notches), event->position());
}

bool DraggableContentView::event(QEvent *event) {
    if (event->type() != QEvent::NativeGesture)
        return QQuickItem::event(event);
    const auto &gesture = *static_cast<QNativeGestureEvent *>(event);
    if (gesture.gestureType() != Qt::ZoomNativeGesture || m_isSelectingFocusArea ||
        m_isFinalizingFocusSelection || !m_magnification.magnify)
        return QQuickItem::event(event);
    event->accept();
    m_magnification.magnify(1 + gesture.value(), gesture.position());
    return true;
}

void DraggableContentView::keyPressEvent(QKeyEvent *event) {
    if (m_isSelectingFocusArea && event->key() == Qt::Key_Escape)
        cancelFocusSelection(CancellationNotice::notify);
    else
        QQuickItem::keyPressEvent(event);
}

// ---- Moving and resizing the window ----

bool DraggableContentView::canMove() const {
    return window() != nullptr && !window()->windowStates().testFlag(Qt::WindowFullScreen);
}

bool DraggableContentView::canResize() const {
    return canMove() && !window()->windowStates().testFlag(Qt::WindowMaximized);
}

void DraggableContentView::continueWindowDrag(const QMouseEvent &event) {
    if (m_grabPoint) {
        window()->setPosition(event.globalPosition().toPoint() - *m_grabPoint);
        return;
    }
    if (!m_pressed || !event.buttons().testFlag(Qt::LeftButton))
        return;
    const QPointF way = event.scenePosition() - *m_pressed;
    if (way.manhattanLength() >= QGuiApplication::styleHints()->startDragDistance())
        beginDrag(*std::exchange(m_pressed, std::nullopt));
}

void DraggableContentView::beginDrag(const QPointF &pressed) {
    if (!canMove())
        return;
    const Qt::Edges edges = canResize() ? resizeEdges(mapFromScene(pressed), size()) : Qt::Edges();
    const bool isResizing = edges != Qt::Edges() && window()->startSystemResize(edges);
    if (isResizing || window()->startSystemMove())
        windowManagerTookOver();
    else
        m_grabPoint = pressed.toPoint();
}

void DraggableContentView::windowManagerTookOver() {
    // The window manager receives the release of the button. This item therefore has to end its
    // mouse grab itself; otherwise it would receive all later mouse events.
    QMetaObject::invokeMethod(
        this, [this] { ungrabMouse(); }, Qt::QueuedConnection);
    m_afterDrag.start();
}

void DraggableContentView::checkHoverAfterDrag() {
    if (mouseButtonIsDown())
        return;
    m_afterDrag.stop();
    // Under Wayland, clients cannot query the pointer, but the compositor reports when the pointer
    // leaves the window.
    if (QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
        return;
    if (window() != nullptr &&
        !QRect(window()->position(), window()->size()).contains(QCursor::pos()))
        reportHover(false);
}

void DraggableContentView::hoverMoveEvent(QHoverEvent *event) {
    QQuickItem::hoverMoveEvent(event);
    if (m_isSelectingFocusArea)
        return;
    const auto shape =
        canResize() ? resizeCursor(resizeEdges(event->position(), size())) : Qt::ArrowCursor;
    if (cursor().shape() != shape)
        setCursor(shape);
}

// ---- Selecting an area ----

void DraggableContentView::beginFocusSelection() {
    dropFocusSelection();
    m_isSelectingFocusArea = true;
    forceActiveFocus(Qt::OtherFocusReason);
    showFocusSelection();
}

void DraggableContentView::cancelFocusSelection(CancellationNotice notice) {
    const bool wasActive = m_isSelectingFocusArea || m_isFinalizingFocusSelection;
    dropFocusSelection();
    showFocusSelection();
    if (notice == CancellationNotice::notify && wasActive && m_focusSelectionCancelled)
        m_focusSelectionCancelled();
}

void DraggableContentView::selectTo(const QPointF &point) {
    m_focusSelectionRect =
        spanned(*m_focusSelectionStart, point).intersected(QRectF(QPointF(), size()));
    showFocusSelection();
}

void DraggableContentView::finishFocusSelection() {
    const QRectF area = m_focusSelectionRect.value_or(QRectF());
    if (area.width() < smallestAreaSelection || area.height() < smallestAreaSelection) {
        cancelFocusSelection(CancellationNotice::notify);
        return;
    }
    m_isSelectingFocusArea = false;
    m_isFinalizingFocusSelection = true;
    m_focusSelectionStart.reset();
    showFocusSelection();
    m_handOver = m_mainQueue.after(finalizingTime, [self = QPointer(this), area] {
        if (self)
            self->handOverFocusSelection(area);
    });
}

void DraggableContentView::handOverFocusSelection(const QRectF &area) {
    dropFocusSelection();
    showFocusSelection();
    if (m_focusSelectionCompleted)
        m_focusSelectionCompleted(area);
}

void DraggableContentView::dropFocusSelection() {
    m_isSelectingFocusArea = false;
    m_isFinalizingFocusSelection = false;
    m_focusSelectionStart.reset();
    m_focusSelectionRect.reset();
    if (const auto handOver = std::exchange(m_handOver, nullptr))
        handOver->cancel();
}

void DraggableContentView::showFocusSelection() {
    if (m_isSelectingFocusArea)
        setCursor(Qt::CrossCursor);
    else if (cursor().shape() == Qt::CrossCursor)
        setCursor(Qt::ArrowCursor);
    m_overlay->setVisible(m_isSelectingFocusArea || m_isFinalizingFocusSelection);
    m_overlay->setSelection(m_focusSelectionRect, m_focusSelectionStart.has_value());
}

void DraggableContentView::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    m_overlay->setSize(newGeometry.size());
    // In a view of a different size, the selected rectangle would cover a different part of the
    // picture.
    if (newGeometry.size() != oldGeometry.size() && m_focusSelectionRect)
        cancelFocusSelection(CancellationNotice::notify);
}

} // namespace lumvik
