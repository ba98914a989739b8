#include "Painted.h"
#include "fakes/VirtualMainQueue.h"
#include "viewer/AreaSelectionOverlay.h"
#include "viewer/DraggableContentView.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QQuickWindow>
#include <QTest>

#include <memory>

namespace lumvik {
namespace {

/// Selects areas with the mouse in a view of 480 × 270 points.
class AreaSelectionTest : public testing::Test {
  protected:
    AreaSelectionTest() {
        window.setGeometry(100, 100, 480, 270);
        window.show();
        view->setSize({480, 270});
        view->setFocusSelectionCompleted(
            [this](const QRectF &chosen) { completed.append(chosen); });
        view->setFocusSelectionCancelled([this] { ++cancellations; });
        view->setSecondaryClick([this] { ++secondaryClicks; });
    }

    void send(QEvent::Type type, QPointF at, Qt::MouseButton button, Qt::MouseButtons buttons) {
        QMouseEvent event(type, at, window.mapToGlobal(at), button, buttons, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &event);
    }
    void press(QPointF at) { send(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton); }
    void moveTo(QPointF at) { send(QEvent::MouseMove, at, Qt::NoButton, Qt::LeftButton); }
    void release(QPointF at) { send(QEvent::MouseButtonRelease, at, Qt::LeftButton, {}); }
    void rightClick(QPointF at) {
        send(QEvent::MouseButtonPress, at, Qt::RightButton, Qt::RightButton);
        send(QEvent::MouseButtonRelease, at, Qt::RightButton, {});
    }
    void drag(QPointF from, QPointF to) {
        press(from);
        moveTo(to);
        release(to);
    }
    /// Returns whether the view consumed the key.
    bool sendKey(Qt::Key key) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QCoreApplication::sendEvent(view.get(), &event);
        return event.isAccepted();
    }
    /// Finishes a selection. The view then pauses before it reports the area.
    void finishSelection() {
        view->beginFocusSelection();
        drag(area.topLeft(), area.bottomRight());
        ASSERT_TRUE(view->isFinalizingFocusSelection());
    }
    [[nodiscard]] bool isIdle() const {
        return !view->isSelectingFocusArea() && !view->isFinalizingFocusSelection() &&
               !view->focusSelectionRect();
    }
    [[nodiscard]] AreaSelectionOverlay &overlay() const {
        return *view->findChild<AreaSelectionOverlay *>();
    }

    const QRectF area{100, 60, 200, 100};
    QList<QRectF> completed;
    int cancellations = 0;
    int secondaryClicks = 0;
    QQuickWindow window;
    test::VirtualMainQueue queue;
    std::unique_ptr<DraggableContentView> view =
        std::make_unique<DraggableContentView>(queue, window.contentItem());
};

TEST_F(AreaSelectionTest, IsOffAtFirst) {
    drag({100, 60}, {101, 61});
    EXPECT_TRUE(isIdle());
    EXPECT_FALSE(overlay().isVisible());
}

TEST_F(AreaSelectionTest, TakesTheFocusAndShowsTheCrosshair) {
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    view->beginFocusSelection();
    EXPECT_TRUE(view->isSelectingFocusArea());
    EXPECT_EQ(window.activeFocusItem(), view.get());
    EXPECT_EQ(view->cursor().shape(), Qt::CrossCursor);
    view->cancelFocusSelection(CancellationNotice::keepSilent);
    EXPECT_EQ(view->cursor().shape(), Qt::ArrowCursor);
}

TEST_F(AreaSelectionTest, CrosshairIsKeptAtTheEdges) {
    const QPointF corner(2, 2);
    const auto hover = [&] {
        QHoverEvent event(QEvent::HoverMove, corner, corner, corner);
        QCoreApplication::sendEvent(view.get(), &event);
    };
    hover();
    ASSERT_EQ(view->cursor().shape(), Qt::SizeFDiagCursor);
    view->beginFocusSelection();
    hover();
    EXPECT_EQ(view->cursor().shape(), Qt::CrossCursor);
    view->cancelFocusSelection(CancellationNotice::keepSilent);
    hover();
    EXPECT_EQ(view->cursor().shape(), Qt::SizeFDiagCursor);
}

TEST_F(AreaSelectionTest, SpansFromThePressToThePointer) {
    view->beginFocusSelection();
    EXPECT_EQ(view->focusSelectionRect(), std::nullopt);
    press({100, 60});
    EXPECT_EQ(view->focusSelectionRect(), QRectF(100, 60, 0, 0));
    moveTo({130, 90});
    EXPECT_EQ(view->focusSelectionRect(), QRectF(100, 60, 30, 30));
    moveTo({40, 20});
    EXPECT_EQ(view->focusSelectionRect(), QRectF(40, 20, 60, 40))
        << "the drag went up and to the left";
}

TEST_F(AreaSelectionTest, IgnoresThePointerWithoutAPress) {
    view->beginFocusSelection();
    // The window delivers such a movement to no item, so it is sent to the view itself.
    for (const QPointF at : {QPointF(200, 100), QPointF(260, 160)}) {
        QMouseEvent move(QEvent::MouseMove, at, window.mapToGlobal(at), Qt::NoButton, Qt::NoButton,
                         Qt::NoModifier);
        QCoreApplication::sendEvent(view.get(), &move);
        EXPECT_EQ(view->focusSelectionRect(), std::nullopt);
    }
}

TEST_F(AreaSelectionTest, IsClippedToTheView) {
    view->beginFocusSelection();
    press({400, 200});
    moveTo({900, 700});
    EXPECT_EQ(view->focusSelectionRect(), QRectF(400, 200, 80, 70));
    moveTo({-900, -700});
    EXPECT_EQ(view->focusSelectionRect(), QRectF(0, 0, 400, 200));
}

TEST_F(AreaSelectionTest, IsReportedAfterAPause) {
    finishSelection();
    EXPECT_FALSE(view->isSelectingFocusArea());
    EXPECT_EQ(view->focusSelectionRect(), area);
    queue.advance(0.29);
    EXPECT_TRUE(completed.isEmpty());
    EXPECT_TRUE(view->isFinalizingFocusSelection());
    queue.advance(0.02);
    EXPECT_EQ(completed, QList<QRectF>{area});
    EXPECT_TRUE(isIdle());
    queue.advance(10);
    EXPECT_EQ(completed.size(), 1);
    EXPECT_EQ(cancellations, 0);
}

TEST_F(AreaSelectionTest, EndsBeforeItIsReported) {
    view->setFocusSelectionCompleted([this](const QRectF &) {
        EXPECT_TRUE(isIdle());
        EXPECT_FALSE(overlay().isVisible());
        completed.append(area);
    });
    finishSelection();
    queue.advance(0.3);
    EXPECT_EQ(completed.size(), 1);
}

struct SizeCase {
    const char *name;
    QSizeF size;
    bool completes;
};

/// Prints the name of a case, so that test names are stable.
void PrintTo(const SizeCase &row, std::ostream *stream) {
    *stream << row.name;
}

class AreaSelectionOfSize : public AreaSelectionTest,
                            public testing::WithParamInterface<SizeCase> {};

TEST_P(AreaSelectionOfSize, CompletesFromTwelvePointsOn) {
    view->beginFocusSelection();
    const QPointF from(50, 50);
    drag(from, from + QPointF(GetParam().size.width(), GetParam().size.height()));
    queue.advance(1);
    EXPECT_EQ(completed.size(), GetParam().completes ? 1 : 0);
    EXPECT_EQ(cancellations, GetParam().completes ? 0 : 1);
    EXPECT_TRUE(isIdle());
}

INSTANTIATE_TEST_SUITE_P(, AreaSelectionOfSize,
                         testing::Values(SizeCase{"Smallest", {12, 12}, true},
                                         SizeCase{"TooNarrow", {11.9, 40}, false},
                                         SizeCase{"TooLow", {40, 11.9}, false},
                                         SizeCase{"Click", {0, 0}, false},
                                         SizeCase{"Line", {200, 0}, false}),
                         [](const auto &row) { return row.param.name; });

TEST_F(AreaSelectionTest, ReleaseWithoutAPressCancels) {
    view->beginFocusSelection();
    QMouseEvent event(QEvent::MouseButtonRelease, {200, 100}, window.mapToGlobal(QPointF(200, 100)),
                      Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(view.get(), &event);
    EXPECT_EQ(cancellations, 1);
    EXPECT_TRUE(isIdle());
}

// ---- Cancelling ----

TEST_F(AreaSelectionTest, EscapeCancelsAndIsConsumed) {
    view->beginFocusSelection();
    EXPECT_TRUE(sendKey(Qt::Key_Escape));
    EXPECT_EQ(cancellations, 1);
    EXPECT_TRUE(isIdle());
}

TEST_F(AreaSelectionTest, EscapeIsPassedOnWithoutASelection) {
    EXPECT_FALSE(sendKey(Qt::Key_Escape));
    EXPECT_EQ(cancellations, 0);
    finishSelection();
    EXPECT_FALSE(sendKey(Qt::Key_Escape)) << "the selection has already ended";
}

TEST_F(AreaSelectionTest, OtherKeysArePassedOn) {
    view->beginFocusSelection();
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Space, Qt::Key_F10, Qt::Key_A})
        EXPECT_FALSE(sendKey(key)) << key;
    EXPECT_TRUE(view->isSelectingFocusArea());
}

TEST_F(AreaSelectionTest, RightButtonCancelsAndDoesNotCountAsASecondaryClick) {
    view->beginFocusSelection();
    rightClick({200, 100});
    EXPECT_EQ(cancellations, 1);
    EXPECT_EQ(secondaryClicks, 0);
    EXPECT_TRUE(isIdle());
    rightClick({200, 100});
    EXPECT_EQ(cancellations, 1);
    EXPECT_EQ(secondaryClicks, 1);
}

TEST_F(AreaSelectionTest, RightButtonCancelsInTheMiddleOfADrag) {
    view->beginFocusSelection();
    press({100, 60});
    moveTo({200, 150});
    send(QEvent::MouseButtonPress, {200, 150}, Qt::RightButton, Qt::LeftButton | Qt::RightButton);
    EXPECT_EQ(cancellations, 1);
    send(QEvent::MouseButtonRelease, {200, 150}, Qt::RightButton, Qt::LeftButton);
    release({200, 150});
    queue.advance(1);
    EXPECT_TRUE(completed.isEmpty());
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(window.position(), QPoint(100, 100))
        << "the rest of the drag does not move the window";
}

TEST_F(AreaSelectionTest, CancellingInThePauseBeforeTheReportDiscardsTheArea) {
    finishSelection();
    view->cancelFocusSelection(CancellationNotice::notify);
    EXPECT_EQ(cancellations, 1);
    EXPECT_TRUE(isIdle());
    queue.advance(1);
    EXPECT_TRUE(completed.isEmpty());
    EXPECT_TRUE(queue.delays().empty());
}

TEST_F(AreaSelectionTest, CancellationIsReportedOnlyIfRequestedAndOnlyDuringASelection) {
    view->cancelFocusSelection(CancellationNotice::notify);
    EXPECT_EQ(cancellations, 0);
    view->beginFocusSelection();
    view->cancelFocusSelection(CancellationNotice::keepSilent);
    EXPECT_EQ(cancellations, 0);
    EXPECT_TRUE(isIdle());
    view->beginFocusSelection();
    view->cancelFocusSelection(CancellationNotice::notify);
    EXPECT_EQ(cancellations, 1);
}

TEST_F(AreaSelectionTest, ResizingTheViewCancelsASelectedRectangle) {
    finishSelection();
    view->setSize({400, 225});
    EXPECT_EQ(cancellations, 1);
    queue.advance(1);
    EXPECT_TRUE(completed.isEmpty());
}

TEST_F(AreaSelectionTest, ResizingTheViewKeepsASelectionWithoutARectangle) {
    view->beginFocusSelection();
    view->setSize({400, 225});
    EXPECT_TRUE(view->isSelectingFocusArea());
    EXPECT_EQ(cancellations, 0);
    EXPECT_EQ(overlay().size(), QSizeF(400, 225));
}

TEST_F(AreaSelectionTest, InterruptedDragCanBeRestarted) {
    view->beginFocusSelection();
    press({100, 60});
    moveTo({200, 150});
    view->ungrabMouse();
    EXPECT_EQ(view->focusSelectionRect(), std::nullopt);
    EXPECT_TRUE(view->isSelectingFocusArea());
    EXPECT_EQ(cancellations, 0);
    release({200, 150});
    drag(area.topLeft(), area.bottomRight());
    queue.advance(0.3);
    EXPECT_EQ(completed, QList<QRectF>{area});
}

// ---- The pause before the report ----

TEST_F(AreaSelectionTest, PressesAreIgnoredInThePauseBeforeTheReport) {
    finishSelection();
    press({50, 200});
    moveTo({90, 230});
    moveTo({100, 240}); // a second move would start a window drag
    release({100, 240});
    EXPECT_EQ(view->focusSelectionRect(), area);
    EXPECT_EQ(window.position(), QPoint(100, 100));
    queue.advance(0.3);
    EXPECT_EQ(completed, QList<QRectF>{area});
}

TEST_F(AreaSelectionTest, RightButtonDoesNotCancelInThePauseBeforeTheReport) {
    finishSelection();
    rightClick({200, 100});
    EXPECT_EQ(secondaryClicks, 1);
    queue.advance(0.3);
    EXPECT_EQ(completed, QList<QRectF>{area});
}

TEST_F(AreaSelectionTest, NewSelectionInThePauseBeforeTheReportDiscardsTheFirstArea) {
    finishSelection();
    view->beginFocusSelection();
    EXPECT_EQ(view->focusSelectionRect(), std::nullopt);
    EXPECT_FALSE(view->isFinalizingFocusSelection());
    queue.advance(1);
    EXPECT_TRUE(completed.isEmpty());
    EXPECT_TRUE(view->isSelectingFocusArea());
}

TEST_F(AreaSelectionTest, DestroyedViewReportsNothing) {
    finishSelection();
    view.reset();
    queue.advance(1);
    EXPECT_TRUE(completed.isEmpty());
}

// ---- Drawing ----

TEST_F(AreaSelectionTest, OverlayFillsTheViewWhileThereIsASelection) {
    EXPECT_FALSE(overlay().isVisible());
    view->beginFocusSelection();
    EXPECT_TRUE(overlay().isVisible());
    EXPECT_EQ(overlay().size(), QSizeF(480, 270));
    drag(area.topLeft(), area.bottomRight());
    EXPECT_TRUE(overlay().isVisible()) << "the area stays visible for a moment";
    queue.advance(0.3);
    EXPECT_FALSE(overlay().isVisible());
}

TEST_F(AreaSelectionTest, OverlayAsksForTheReleaseOnlyWhileTheButtonIsHeld) {
    const QColor ground(100, 150, 200);
    AreaSelectionOverlay expected(nullptr);
    expected.setSize({480, 270});
    const auto shows = [&](const std::optional<QRectF> &selection, bool isDragging) {
        expected.setSelection(selection, isDragging);
        return test::paintedItem(overlay(), ground) == test::paintedItem(expected, ground);
    };
    view->beginFocusSelection();
    EXPECT_TRUE(shows(std::nullopt, false));
    press(area.topLeft());
    moveTo(area.bottomRight());
    EXPECT_TRUE(shows(area, true));
    EXPECT_FALSE(shows(area, false)) << "the two hints are different";
    release(area.bottomRight());
    EXPECT_TRUE(shows(area, false));
}

} // namespace
} // namespace lumvik
