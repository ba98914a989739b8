#include "viewer/DraggableContentView.h"

#include "viewer/MouseButtons.h"

#include <QCursor>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QQuickWindow>
#include <QStyleHints>

#include <utility>

namespace lumvik {

namespace {

/// How often it is looked whether the user has let go of the window, in milliseconds.
constexpr int afterDragInterval = 150;

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

DraggableContentView::DraggableContentView(QQuickItem *parent) : QQuickItem(parent) {
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptHoverEvents(true);
    m_afterDrag.setInterval(afterDragInterval);
    connect(&m_afterDrag, &QTimer::timeout, this, &DraggableContentView::checkHoverAfterDrag);
    // An item made in a window is told of it by its base class, before this class exists.
    if (window() != nullptr)
        window()->installEventFilter(this);
}

void DraggableContentView::itemChange(ItemChange change, const ItemChangeData &value) {
    if (change == ItemSceneChange && value.window != nullptr)
        value.window->installEventFilter(this);
    QQuickItem::itemChange(change, value);
}

bool DraggableContentView::eventFilter(QObject *, QEvent *event) {
    switch (static_cast<int>(event->type())) {
    case QEvent::Enter:
    case QEvent::MouseMove:
        reportHover(true);
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

bool DraggableContentView::canMove() const {
    return window() != nullptr && !window()->windowStates().testFlag(Qt::WindowFullScreen);
}

bool DraggableContentView::canResize() const {
    return canMove() && !window()->windowStates().testFlag(Qt::WindowMaximized);
}

void DraggableContentView::mousePressEvent(QMouseEvent *event) {
    event->accept();
    m_grabPoint.reset();
    m_pressed = event->scenePosition();
}

void DraggableContentView::mouseMoveEvent(QMouseEvent *event) {
    if (m_grabPoint) {
        window()->setPosition(event->globalPosition().toPoint() - *m_grabPoint);
        return;
    }
    if (!m_pressed || !event->buttons().testFlag(Qt::LeftButton))
        return;
    const QPointF way = event->scenePosition() - *m_pressed;
    if (way.manhattanLength() >= QGuiApplication::styleHints()->startDragDistance())
        beginDrag(*std::exchange(m_pressed, std::nullopt));
}

void DraggableContentView::mouseReleaseEvent(QMouseEvent *event) {
    event->accept();
    mouseUngrabEvent();
}

void DraggableContentView::mouseUngrabEvent() {
    m_pressed.reset();
    m_grabPoint.reset();
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
    // The release never comes, and without it every later event would still be for this item.
    QMetaObject::invokeMethod(
        this, [this] { ungrabMouse(); }, Qt::QueuedConnection);
    m_afterDrag.start();
}

void DraggableContentView::checkHoverAfterDrag() {
    if (mouseButtonIsDown())
        return;
    m_afterDrag.stop();
    // Under Wayland no one is told where windows and pointer are; there the leaving is reported.
    if (QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
        return;
    if (window() != nullptr &&
        !QRect(window()->position(), window()->size()).contains(QCursor::pos()))
        reportHover(false);
}

void DraggableContentView::hoverMoveEvent(QHoverEvent *event) {
    QQuickItem::hoverMoveEvent(event);
    const auto shape =
        canResize() ? resizeCursor(resizeEdges(event->position(), size())) : Qt::ArrowCursor;
    if (cursor().shape() != shape)
        setCursor(shape);
}

} // namespace lumvik
