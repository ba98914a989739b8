#include "viewer/DraggableContentView.h"

#include <QMouseEvent>
#include <QQuickWindow>

namespace lumvik {

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
    // An item made in a window is told of it by its base class, before this class exists.
    if (window() != nullptr)
        window()->installEventFilter(this);
}

void DraggableContentView::itemChange(ItemChange change, const ItemChangeData &value) {
    // The pointer is followed at the window: there, leaving this surface for a control that lies
    // over it is no leaving at all.
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

bool DraggableContentView::canResize() const {
    return window() != nullptr && !window()->windowStates().testFlag(Qt::WindowFullScreen);
}

void DraggableContentView::mousePressEvent(QMouseEvent *event) {
    event->accept();
    m_grabPoint.reset();
    if (!canResize())
        return;
    const Qt::Edges edges = resizeEdges(event->position(), size());
    if (edges != Qt::Edges() && window()->startSystemResize(edges))
        return;
    if (!window()->startSystemMove())
        m_grabPoint = event->scenePosition().toPoint();
}

void DraggableContentView::mouseMoveEvent(QMouseEvent *event) {
    if (m_grabPoint)
        window()->setPosition(event->globalPosition().toPoint() - *m_grabPoint);
}

void DraggableContentView::hoverMoveEvent(QHoverEvent *event) {
    QQuickItem::hoverMoveEvent(event);
    const auto shape =
        canResize() ? resizeCursor(resizeEdges(event->position(), size())) : Qt::ArrowCursor;
    if (cursor().shape() != shape)
        setCursor(shape);
}

} // namespace lumvik
