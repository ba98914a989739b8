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

TEST(ResizeEdges, DoNotExtendBeyondTheWindow) {
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

TEST(DraggableContentView, FollowsThePointerFromItsCreation) {
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

TEST(DraggableContentView, FollowsADraggedPointerOutOfTheWindow) {
    QQuickWindow window;
    window.resize(480, 270);
    QList<bool> reports;
    test::VirtualMainQueue queue;
    DraggableContentView view(queue, window.contentItem());
    view.setHoverChanged([&](bool isOver) { reports.append(isOver); });
    for (const QPointF place : {QPointF(479, 269), QPointF(481, 100), QPointF(10, 10)}) {
        QMouseEvent move(QEvent::MouseMove, place, place, Qt::NoButton, Qt::NoButton,
                         Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &move);
    }
    EXPECT_EQ(reports, (QList<bool>{true, false, true}));
}

TEST(DraggableContentView, IgnoresEventsOverTheControls) {
    test::VirtualMainQueue queue;
    DraggableContentView view(queue, nullptr);
    view.setSize({480, 270});
    EXPECT_TRUE(view.contains({100, 20}));
    QList<QRectF> rects{{90, 12, 140, 24}, {400, 12, 28, 24}};
    view.setViewerControlRects([&] { return rects; });
    EXPECT_FALSE(view.contains({100, 20}));
    EXPECT_FALSE(view.contains({410, 30}));
    EXPECT_TRUE(view.contains({300, 20}));
    EXPECT_TRUE(view.contains({100, 40}));
    EXPECT_FALSE(view.contains({500, 20})) << "the position is outside the view";
    rects.clear();
    EXPECT_TRUE(view.contains({100, 20})) << "no control covers this position any more";
}

/// Drags without a window manager, so that the surface moves the window itself.
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

TEST_F(DraggingTest, StartsOnlyBeyondTheDragDistance) {
    ASSERT_GT(distance, 1);
    press({200, 100});
    moveTo({200 + distance - 1, 100});
    EXPECT_EQ(window.position(), QPoint(100, 100));
    moveTo({200 + distance, 100});
    moveTo({260, 110});
    EXPECT_EQ(window.position(), QPoint(160, 110))
        << "the pressed point of the window stays under the pointer";
}

TEST_F(DraggingTest, EndsWithTheRelease) {
    press({200, 100});
    release({200, 100});
    moveTo({300, 100});
    EXPECT_EQ(window.position(), QPoint(100, 100));
}

TEST_F(DraggingTest, DoesNotStartOnAVisibleControl) {
    QList<QRectF> rects{{190, 90, 28, 24}};
    view.setViewerControlRects([&] { return rects; });
    press({200, 100});
    moveTo({300, 100});
    moveTo({310, 100});
    release({310, 100});
    EXPECT_EQ(window.position(), QPoint(100, 100));
    rects.clear(); // as after the controls have faded out
    press({200, 100});
    moveTo({300, 100});
    moveTo({310, 100});
    EXPECT_EQ(window.position(), QPoint(210, 100));
}

TEST_F(DraggingTest, DoesNotStartWithTheRightButton) {
    int clicks = 0;
    view.setSecondaryClick([&] { ++clicks; });
    send(QEvent::MouseButtonPress, {200, 100}, Qt::RightButton, Qt::RightButton);
    EXPECT_EQ(clicks, 1) << "the click is reported when the button is pressed";
    send(QEvent::MouseMove, {300, 100}, Qt::NoButton, Qt::RightButton);
    send(QEvent::MouseMove, {310, 100}, Qt::NoButton, Qt::RightButton);
    send(QEvent::MouseButtonRelease, {310, 100}, Qt::RightButton, {});
    EXPECT_EQ(window.position(), QPoint(100, 100));
    EXPECT_EQ(clicks, 1);
}

TEST_F(DraggingTest, DoesNotStartDuringAnAreaSelection) {
    view.beginFocusSelection();
    press({200, 100});
    moveTo({300, 100});
    moveTo({310, 100});
    EXPECT_EQ(window.position(), QPoint(100, 100));
    view.cancelFocusSelection(CancellationNotice::keepSilent);
    release({310, 100});
    press({200, 100});
    moveTo({300, 100});
    moveTo({310, 100});
    EXPECT_NE(window.position(), QPoint(100, 100));
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
