#include "viewer/DraggableContentView.h"

#include "fakes/VirtualMainQueue.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QQuickWindow>
#include <QStyleHints>

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
    test::VirtualMainQueue queue;
    DraggableContentView view(queue, window.contentItem());
    view.setHoverChanged([&](bool isOver) { reports.append(isOver); });
    QEvent leave(QEvent::Leave);
    QEnterEvent enter({5, 5}, {5, 5}, {5, 5});
    QCoreApplication::sendEvent(&window, &enter);
    QCoreApplication::sendEvent(&window, &leave);
    EXPECT_EQ(reports, (QList<bool>{true, false}));
}

/// Without a window manager: the surface then moves the window itself.
class DraggingTest : public testing::Test {
  protected:
    DraggingTest() {
        window.setGeometry(100, 100, 480, 270);
        window.show();
        view.setSize({480, 270});
    }
    void send(QEvent::Type type, QPoint at, Qt::MouseButton button, Qt::MouseButtons buttons) {
        QMouseEvent event(type, at, window.mapToGlobal(at), button, buttons, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &event);
    }
    void press(QPoint at) { send(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton); }
    void moveTo(QPoint at) { send(QEvent::MouseMove, at, Qt::NoButton, Qt::LeftButton); }
    void release(QPoint at) { send(QEvent::MouseButtonRelease, at, Qt::LeftButton, {}); }

    const int distance = QGuiApplication::styleHints()->startDragDistance();
    QQuickWindow window;
    test::VirtualMainQueue queue;
    DraggableContentView view{queue, window.contentItem()};
};

TEST_F(DraggingTest, BeginsOnlyPastTheDragDistance) {
    ASSERT_GT(distance, 1);
    press({200, 100});
    moveTo({200 + distance - 1, 100});
    EXPECT_EQ(window.position(), QPoint(100, 100));
    moveTo({200 + distance, 100});
    moveTo({260, 110});
    EXPECT_EQ(window.position(), QPoint(160, 110))
        << "where it was pressed stays under the pointer";
}

TEST_F(DraggingTest, EndsWithTheRelease) {
    press({200, 100});
    release({200, 100});
    moveTo({300, 100});
    EXPECT_EQ(window.position(), QPoint(100, 100));
}

TEST_F(DraggingTest, DoesNotMoveAFullScreenWindow) {
    window.showFullScreen();
    const QPoint before = window.position();
    press({200, 100});
    moveTo({300, 150});
    moveTo({310, 150});
    EXPECT_EQ(window.position(), before);
}

} // namespace
} // namespace lumvik
