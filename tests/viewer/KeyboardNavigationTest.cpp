#include "viewer/KeyboardNavigation.h"

#include "Painted.h"
#include "viewer/ViewerButtons.h"

#include <QQuickWindow>
#include <QTest>

namespace lumvik {
namespace {

using Direction = KeyboardNavigation::Direction;

/// A window with three buttons, which are created in a different order from their arrangement. The
/// buttons are hidden unless one of them has the focus.
class KeyboardNavigationTest : public testing::Test {
  protected:
    KeyboardNavigationTest() {
        window.resize(400, 300);
        place(right, {100, 10});
        place(below, {10, 50});
        place(left, {10, 10});
        path.setChanged([this] {
            reports.append(path.isOnControls());
            for (ViewerButton *button : {&left, &right, &below})
                button->setVisible(path.isOnControls());
        });
        window.show();
        window.requestActivate();
    }
    void SetUp() override { ASSERT_TRUE(QTest::qWaitForWindowActive(&window)); }
    static void place(ViewerButton &button, QPointF position) {
        button.setPosition(position);
        button.setSize({28, 24});
        button.setVisible(false);
    }
    /// Returns the controls that have the focus after each of the given number of steps.
    QList<ViewerControl *> walked(Direction direction, int steps) {
        QList<ViewerControl *> controls;
        for (int step = 0; step < steps; ++step) {
            EXPECT_TRUE(path.moveFocus(direction));
            controls.append(path.current());
        }
        return controls;
    }

    QQuickWindow window;
    CloseViewerButton right{window.contentItem()};
    CloseViewerButton below{window.contentItem()};
    CloseViewerButton left{window.contentItem()};
    KeyboardNavigation path{window, {&right, &below, &left}};
    QList<bool> reports;
};

TEST_F(KeyboardNavigationTest, MovesInReadingOrderAndWrapsAround) {
    EXPECT_EQ(walked(Direction::forwards, 4),
              (QList<ViewerControl *>{&left, &right, &below, &left}));
}

TEST_F(KeyboardNavigationTest, MovesBackwardsFromTheLastControl) {
    EXPECT_EQ(walked(Direction::backwards, 4),
              (QList<ViewerControl *>{&below, &right, &left, &below}));
}

TEST_F(KeyboardNavigationTest, SkipsDisabledControls) {
    right.setEnabled(false);
    EXPECT_EQ(walked(Direction::forwards, 3), (QList<ViewerControl *>{&left, &below, &left}));
}

TEST_F(KeyboardNavigationTest, DoesNothingIfNoControlIsUsable) {
    for (ViewerButton *button : {&left, &right, &below})
        button->setEnabled(false);
    EXPECT_FALSE(path.moveFocus(Direction::forwards));
    EXPECT_FALSE(path.isOnControls());
    EXPECT_EQ(reports, (QList<bool>{true, false}));
}

TEST_F(KeyboardNavigationTest, ReportsWhenTheControlsGainAndLoseTheFocus) {
    walked(Direction::forwards, 3);
    EXPECT_EQ(reports, (QList<bool>{true}));
    EXPECT_TRUE(path.clearFocus());
    EXPECT_EQ(reports, (QList<bool>{true, false}));
    EXPECT_EQ(path.current(), nullptr);
    EXPECT_FALSE(path.clearFocus()) << "the focus had already left the controls";
    EXPECT_EQ(walked(Direction::forwards, 1), (QList<ViewerControl *>{&left}));
}

TEST_F(KeyboardNavigationTest, FocusesTheRequestedControl) {
    below.askForKeyboard();
    EXPECT_EQ(path.current(), &below);
    right.setEnabled(false);
    right.askForKeyboard();
    EXPECT_EQ(path.current(), &below) << "an unusable control does not take the focus";
}

TEST_F(KeyboardNavigationTest, DropsARequestWhenTheFocusMovesElsewhere) {
    QWindow first;
    QWindow second;
    const auto activate = [](QWindow &other) {
        other.show();
        other.requestActivate();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    };
    ASSERT_NO_FATAL_FAILURE(activate(first));
    window.hide();
    path.focusControl(right); // the window cannot become active
    ASSERT_NE(QGuiApplication::focusWindow(), &window);
    ASSERT_NO_FATAL_FAILURE(activate(second));
    ASSERT_NO_FATAL_FAILURE(activate(window));
    EXPECT_EQ(path.current(), nullptr);
}

TEST_F(KeyboardNavigationTest, HiddenOrDisabledControlDoesNotRegainTheFocus) {
    walked(Direction::forwards, 1);
    left.setEnabled(false);
    EXPECT_FALSE(path.isOnControls());
    left.setEnabled(true);
    left.setVisible(true);
    EXPECT_FALSE(path.isOnControls());
    EXPECT_FALSE(left.hasFocus());

    walked(Direction::forwards, 1);
    left.setVisible(false);
    left.setVisible(true);
    EXPECT_FALSE(path.isOnControls());
}

TEST_F(KeyboardNavigationTest, HeldSpaceReturnOrEnterClicksOnce) {
    int clicks = 0;
    left.setAction([&] { ++clicks; });
    walked(Direction::forwards, 1);
    for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter})
        QTest::keyClick(&window, key);
    EXPECT_EQ(clicks, 3);
    QKeyEvent held(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "), true);
    QCoreApplication::sendEvent(&window, &held);
    EXPECT_TRUE(held.isAccepted());
    QTest::keyClick(&window, Qt::Key_Return, Qt::ControlModifier);
    EXPECT_EQ(clicks, 3);
}

TEST_F(KeyboardNavigationTest, ClickDoesNotGiveFocus) {
    left.setVisible(true);
    QTest::mouseClick(&window, Qt::LeftButton, {}, QPoint(20, 20));
    EXPECT_EQ(path.current(), nullptr);
}

} // namespace
} // namespace lumvik
