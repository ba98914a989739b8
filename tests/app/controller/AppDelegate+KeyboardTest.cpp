#include "ControllerFixture.h"

#include <QApplication>
#include <QMenu>
#include <QTest>

namespace lumvik::test {
namespace {

/// Tests how the viewer is used without a mouse. The pointer is never over the viewer unless a test
/// puts it there.
class KeyboardTest : public ControllerFixture {
  protected:
    void launchActive(const CameraList &cameras) {
        launch(cameras);
        ASSERT_TRUE(eventually([this] { return window().isActive(); }));
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(&window(), key, modifiers);
    }
    /// The label of the control with the keyboard focus; empty without one.
    [[nodiscard]] QString current() {
        // While a menu is open, it receives the keys, but the control keeps the window's focus.
        const auto *control =
            dynamic_cast<ViewerControl *>(window().contentItem()->scopedFocusItem());
        return control == nullptr ? QString() : control->label();
    }
    /// The labels of the controls that Tab visits until the first control has the focus again.
    [[nodiscard]] QStringList tabOrder() {
        QStringList labels;
        for (press(Qt::Key_Tab); !labels.contains(current()) && labels.size() < 20;
             press(Qt::Key_Tab))
            labels.append(current());
        EXPECT_EQ(current(), labels.first());
        return labels;
    }
    /// Presses Tab until the control with this label has the keyboard focus.
    void tabTo(const QString &label) {
        for (int step = 0; step < 20 && current() != label; ++step)
            press(Qt::Key_Tab);
        ASSERT_EQ(current(), label);
    }
    static QMenu *openMenu() { return qobject_cast<QMenu *>(QApplication::activePopupWidget()); }
};

TEST_F(KeyboardTest, TabVisitsTheControlsFromLeftToRight) {
    launchActive(threeCameras());
    EXPECT_EQ(tabOrder(), (QStringList{u"Lumvik"_s, u"Camera"_s, u"View"_s, u"Window"_s, u"Help"_s,
                                       u"Choose a camera"_s, u"Stay on Top"_s,
                                       u"Focus on an Area"_s, u"Close Camera"_s}));
}

TEST_F(KeyboardTest, ShiftTabVisitsTheControlsFromRightToLeft) {
    launchActive(threeCameras());
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(current(), u"Close Camera"_s);
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(current(), u"Focus on an Area"_s);
}

TEST_F(KeyboardTest, TabSkipsControlsThatNeedACamera) {
    launchActive(CameraList());
    EXPECT_EQ(tabOrder(), (QStringList{u"Lumvik"_s, u"Camera"_s, u"View"_s, u"Window"_s, u"Help"_s,
                                       u"Stay on Top"_s, u"Close Camera"_s, u"Camera Addresses…"_s,
                                       u"Find Cameras…"_s}));
    ASSERT_NO_FATAL_FAILURE(tabTo(u"Camera Addresses…"_s));
    press(Qt::Key_Return);
    EXPECT_NE(access().settingsController(), nullptr) << "the editor opens";
}

TEST_F(KeyboardTest, TabVisitsTheButtonsBeforeThePickerInTwoRows) {
    launchActive(threeCameras());
    window().setMinimumSize({100, 100});
    window().setContentAspectRatio({});
    resizeWindow({280, 400});
    EXPECT_EQ(tabOrder(), (QStringList{u"Stay on Top"_s, u"Focus on an Area"_s, u"Close Camera"_s,
                                       u"Choose a camera"_s}));
}

TEST_F(KeyboardTest, ControlsAreShownWhileOneHasKeyboardFocus) {
    launchActive(threeCameras());
    EXPECT_FALSE(controlsAreWanted());
    press(Qt::Key_Tab);
    EXPECT_TRUE(controlsAreWanted());
    EXPECT_TRUE(closeViewerButton()->isVisible());
    EXPECT_TRUE(eventually([this] { return closeViewerButton()->opacity() == 1; }));
    delegate->viewerHoverChanged(true);
    delegate->viewerHoverChanged(false);
    EXPECT_TRUE(controlsAreWanted())
        << "the controls stay shown although the pointer has entered and left";
    press(Qt::Key_Escape);
    EXPECT_EQ(current(), QString());
    EXPECT_FALSE(controlsAreWanted());
    EXPECT_TRUE(eventually([this] { return !closeViewerButton()->isVisible(); }));
}

TEST_F(KeyboardTest, EscapeLeavesControlsUnderThePointerShown) {
    launchActive(threeCameras());
    delegate->viewerHoverChanged(true);
    press(Qt::Key_Tab);
    press(Qt::Key_Escape);
    EXPECT_EQ(current(), QString());
    EXPECT_TRUE(controlsAreWanted());
}

TEST_F(KeyboardTest, ControlsShownAgainUnderThePointerHaveNoKeyboardFocus) {
    launchActive(threeCameras());
    press(Qt::Key_Tab);
    press(Qt::Key_Escape);
    ASSERT_TRUE(eventually([this] { return !closeViewerButton()->isVisible(); }));
    delegate->viewerHoverChanged(true);
    EXPECT_EQ(current(), QString());
}

TEST_F(KeyboardTest, EscapeCancelsTheSelectionBeforeItLeavesTheControls) {
    launchActive(threeCameras());
    delegate->toggleFocusArea();
    ASSERT_TRUE(interactionView()->isSelectingFocusArea());
    tabTo(u"Cancel Area Selection"_s);
    press(Qt::Key_Escape);
    EXPECT_FALSE(interactionView()->isSelectingFocusArea());
    EXPECT_EQ(current(), u"Focus on an Area"_s);
    press(Qt::Key_Escape);
    EXPECT_EQ(current(), QString());
}

TEST_F(KeyboardTest, ReturnOnTheFocusButtonBeginsASelectionAndFocusesThePicture) {
    launchActive(threeCameras());
    tabTo(u"Focus on an Area"_s);
    press(Qt::Key_Return);
    EXPECT_TRUE(interactionView()->isSelectingFocusArea());
    EXPECT_TRUE(interactionView()->hasActiveFocus());
    press(Qt::Key_Escape);
    EXPECT_FALSE(interactionView()->isSelectingFocusArea());
    EXPECT_FALSE(controlsAreWanted());
}

TEST_F(KeyboardTest, SpaceTogglesThePin) {
    launchActive(threeCameras());
    tabTo(u"Stay on Top"_s);
    press(Qt::Key_Space);
    EXPECT_TRUE(stayOnTopButton()->isOn());
    EXPECT_EQ(window().level(), WindowLevel::floating);
    EXPECT_EQ(current(), u"Stay on Top"_s) << "the focus stays where it is";
    press(Qt::Key_Space);
    EXPECT_FALSE(stayOnTopButton()->isOn());
}

TEST_F(KeyboardTest, CameraIsChosenWithTheKeyboard) {
    launchActive(threeCameras());
    tabTo(u"Choose a camera"_s);
    press(Qt::Key_Return);
    ASSERT_NE(openMenu(), nullptr);
    QTest::keyClick(openMenu(), Qt::Key_Down);
    QTest::keyClick(openMenu(), Qt::Key_Return);
    EXPECT_EQ(openMenu(), nullptr);
    EXPECT_EQ(cameraPicker()->indexOfSelectedItem(), 1);
    EXPECT_EQ(current(), u"Choose a camera"_s);
    EXPECT_TRUE(controlsAreWanted());
}

TEST_F(KeyboardTest, ArrowKeysMoveFromMenuToMenu) {
    launchActive(threeCameras());
    tabTo(u"Lumvik"_s);
    press(Qt::Key_Down);
    ASSERT_EQ(openMenu(), menus().at(0));
    QTest::keyClick(openMenu(), Qt::Key_Right);
    ASSERT_EQ(openMenu(), menus().at(1));
    QTest::keyClick(openMenu(), Qt::Key_Escape);
    EXPECT_EQ(current(), u"Camera"_s);
    press(Qt::Key_Right);
    EXPECT_EQ(current(), u"View"_s);
    press(Qt::Key_Right);
    EXPECT_EQ(current(), u"Window"_s);
    press(Qt::Key_Right);
    EXPECT_EQ(current(), u"Help"_s);
    press(Qt::Key_Right);
    EXPECT_EQ(current(), u"Lumvik"_s);
    press(Qt::Key_Left);
    EXPECT_EQ(current(), u"Help"_s);
}

TEST_F(KeyboardTest, ClickRemovesKeyboardFocusAndKeepsTheControlsShown) {
    launchActive(threeCameras());
    press(Qt::Key_Tab);
    QTest::mouseClick(&window(), Qt::LeftButton, {},
                      closeViewerButton()->position().toPoint() - QPoint(0, -60));
    EXPECT_EQ(current(), QString());
    EXPECT_TRUE(controlsAreWanted());
}

TEST_F(KeyboardTest, ClickOnAControlActsAndRemovesKeyboardFocus) {
    launchActive(threeCameras());
    tabTo(u"Lumvik"_s);
    QTest::mouseClick(&window(), Qt::LeftButton, {},
                      stayOnTopButton()->mapToScene(QPointF(14, 12)).toPoint());
    EXPECT_TRUE(stayOnTopButton()->isOn());
    EXPECT_EQ(current(), QString());
}

TEST_F(KeyboardTest, ActivatingAnotherApplicationRemovesKeyboardFocus) {
    launchActive(threeCameras());
    press(Qt::Key_Tab);
    delegate->applicationDidResignActive();
    EXPECT_EQ(current(), QString());
    EXPECT_FALSE(controlsAreWanted());
}

TEST_F(KeyboardTest, MainMenuOpensWithoutRoomForItsStrip) {
    launchActive(threeCameras());
    window().setMinimumSize({100, 100});
    window().setContentAspectRatio({});
    resizeWindow({280, 400});
    ASSERT_FALSE(mainMenuStrip()->isVisible());
    press(Qt::Key_F10);
    EXPECT_EQ(openMenu(), menus().first());
    QTest::keyClick(openMenu(), Qt::Key_Escape);
    EXPECT_EQ(openMenu(), nullptr);
    EXPECT_FALSE(mainMenuStrip()->isVisible());
}

TEST_F(KeyboardTest, MainMenuKeysWorkWhileAControlHasFocus) {
    launchActive(threeCameras());
    tabTo(u"Stay on Top"_s);
    press(Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(terminations, 1);
}

} // namespace
} // namespace lumvik::test
