#include "viewer/DraggableContentView.h"

#include <QQuickWindow>

#include <gtest/gtest.h>

namespace lumvik {
namespace {

TEST(ResizeEdges, AreSixPointsWide) {
    const QSizeF size(480, 270);
    EXPECT_EQ(resizeEdges({240, 135}, size), Qt::Edges());
    EXPECT_EQ(resizeEdges({5.9, 135}, size), Qt::LeftEdge);
    EXPECT_EQ(resizeEdges({6, 135}, size), Qt::Edges());
    EXPECT_EQ(resizeEdges({473.9, 135}, size), Qt::Edges());
    EXPECT_EQ(resizeEdges({474, 135}, size), Qt::RightEdge);
    EXPECT_EQ(resizeEdges({240, 0}, size), Qt::TopEdge);
    EXPECT_EQ(resizeEdges({240, 264}, size), Qt::BottomEdge);
}

TEST(ResizeEdges, MeetInTheCorners) {
    const QSizeF size(480, 270);
    EXPECT_EQ(resizeEdges({0, 0}, size), Qt::LeftEdge | Qt::TopEdge);
    EXPECT_EQ(resizeEdges({479, 0}, size), Qt::RightEdge | Qt::TopEdge);
    EXPECT_EQ(resizeEdges({0, 269}, size), Qt::LeftEdge | Qt::BottomEdge);
    EXPECT_EQ(resizeEdges({479, 269}, size), Qt::RightEdge | Qt::BottomEdge);
}

TEST(ResizeEdges, AreNotOutside) {
    EXPECT_EQ(resizeEdges({-1, 10}, {480, 270}), Qt::Edges());
    EXPECT_EQ(resizeEdges({10, 300}, {480, 270}), Qt::Edges());
}

TEST(ResizeCursor, PointsAlongTheDrag) {
    EXPECT_EQ(resizeCursor({}), Qt::ArrowCursor);
    EXPECT_EQ(resizeCursor(Qt::LeftEdge), Qt::SizeHorCursor);
    EXPECT_EQ(resizeCursor(Qt::RightEdge), Qt::SizeHorCursor);
    EXPECT_EQ(resizeCursor(Qt::TopEdge), Qt::SizeVerCursor);
    EXPECT_EQ(resizeCursor(Qt::BottomEdge), Qt::SizeVerCursor);
    EXPECT_EQ(resizeCursor(Qt::LeftEdge | Qt::TopEdge), Qt::SizeFDiagCursor);
    EXPECT_EQ(resizeCursor(Qt::RightEdge | Qt::BottomEdge), Qt::SizeFDiagCursor);
    EXPECT_EQ(resizeCursor(Qt::RightEdge | Qt::TopEdge), Qt::SizeBDiagCursor);
    EXPECT_EQ(resizeCursor(Qt::LeftEdge | Qt::BottomEdge), Qt::SizeBDiagCursor);
}

TEST(DraggableContentView, FollowsThePointerFromTheMomentItIsMade) {
    QQuickWindow window;
    QList<bool> reports;
    DraggableContentView view(window.contentItem());
    view.setHoverChanged([&](bool isOver) { reports.append(isOver); });
    QEvent leave(QEvent::Leave);
    QEnterEvent enter({5, 5}, {5, 5}, {5, 5});
    QCoreApplication::sendEvent(&window, &enter);
    QCoreApplication::sendEvent(&window, &leave);
    EXPECT_EQ(reports, (QList<bool>{true, false}));
}

} // namespace
} // namespace lumvik
