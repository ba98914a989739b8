#include "ControllerFixture.h"

#include <QApplication>
#include <QMenu>
#include <QTest>

namespace lumvik::test {
namespace {

/// The viewer without a mouse: the pointer is never over it.
class KeyboardTest : public ControllerFixture {
  protected:
    void launchActive(const CameraList &cameras) {
        launch(cameras);
        ASSERT_TRUE(eventually([this] { return access().window()->isActive(); }));
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(access().window().get(), key, modifiers);
    }
    /// What the control with the keyboard is called.
    [[nodiscard]] QString current() {
        const ViewerControl *control = access().keyboardNavigation()->current();
        return control == nullptr ? QString() : control->label();
    }
    /// The controls that Tab leads to until it comes to the first one again.
    [[nodiscard]] QStringList wayAround() {
        QStringList way;
        for (press(Qt::Key_Tab); !way.contains(current()) && way.size() < 20; press(Qt::Key_Tab))
            way.append(current());
        EXPECT_EQ(current(), way.first());
        return way;
    }
    /// Walks to the control of this name.
    void walkTo(const QString &label) {
        for (int step = 0; step < 20 && current() != label; ++step)
            press(Qt::Key_Tab);
        ASSERT_EQ(current(), label);
    }
    [[nodiscard]] bool controlsAreWanted() { return access().viewerControlsAreVisible(); }
    static QMenu *openMenu() { return qobject_cast<QMenu *>(QApplication::activePopupWidget()); }
};

TEST_F(KeyboardTest, TabLeadsOverTheControlsFromLeftToRight) {
    launchActive(threeCameras());
    EXPECT_EQ(wayAround(),
              (QStringList{u"Lumvik"_s, u"Window"_s, u"Help"_s, u"Choose a camera"_s,
                           u"Stay on Top"_s, u"Focus on an Area"_s, u"Close Camera"_s}));
}

TEST_F(KeyboardTest, ShiftTabLeadsBack) {
    launchActive(threeCameras());
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(current(), u"Close Camera"_s);
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(current(), u"Focus on an Area"_s);
}

TEST_F(KeyboardTest, TabPassesOverWhatNeedsACamera) {
    launchActive(CameraList());
    EXPECT_EQ(wayAround(), (QStringList{u"Lumvik"_s, u"Window"_s, u"Help"_s, u"Stay on Top"_s,
                                        u"Close Camera"_s}));
}

TEST_F(KeyboardTest, TabLeadsOverTheButtonsAndThenThePickerWhereTheyStandInTwoRows) {
    launchActive(threeCameras());
    access().window()->setMinimumSize({100, 100});
    access().window()->setContentAspectRatio({});
    resizeWindow({280, 400});
    EXPECT_EQ(wayAround(), (QStringList{u"Stay on Top"_s, u"Focus on an Area"_s, u"Close Camera"_s,
                                        u"Choose a camera"_s}));
}

TEST_F(KeyboardTest, ControlsAreShownWhileOneHasTheKeyboard) {
    launchActive(threeCameras());
    EXPECT_FALSE(controlsAreWanted());
    press(Qt::Key_Tab);
    EXPECT_TRUE(controlsAreWanted());
    EXPECT_TRUE(access().closeViewerButton()->isVisible());
    EXPECT_TRUE(eventually([this] { return access().closeViewerButton()->opacity() == 1; }));
    delegate->viewerHoverChanged(true);
    delegate->viewerHoverChanged(false);
    EXPECT_TRUE(controlsAreWanted()) << "though the pointer came and went";
    press(Qt::Key_Escape);
    EXPECT_EQ(current(), QString());
    EXPECT_FALSE(controlsAreWanted());
    EXPECT_TRUE(eventually([this] { return !access().closeViewerButton()->isVisible(); }));
}

TEST_F(KeyboardTest, EscapeLeavesControlsUnderThePointerShown) {
    launchActive(threeCameras());
    delegate->viewerHoverChanged(true);
    press(Qt::Key_Tab);
    press(Qt::Key_Escape);
    EXPECT_EQ(current(), QString());
    EXPECT_TRUE(controlsAreWanted());
}

TEST_F(KeyboardTest, ControlsThatComeBackUnderThePointerHaveNoKeyboard) {
    launchActive(threeCameras());
    press(Qt::Key_Tab);
    press(Qt::Key_Escape);
    ASSERT_TRUE(eventually([this] { return !access().closeViewerButton()->isVisible(); }));
    delegate->viewerHoverChanged(true);
    EXPECT_EQ(current(), QString());
}

TEST_F(KeyboardTest, EscapeCancelsASelectionBeforeItLeavesTheControls) {
    launchActive(threeCameras());
    delegate->toggleFocusArea();
    ASSERT_TRUE(access().isSelectingFocusArea());
    walkTo(u"Cancel Area Selection"_s);
    press(Qt::Key_Escape);
    EXPECT_FALSE(access().isSelectingFocusArea());
    EXPECT_EQ(current(), u"Focus on an Area"_s);
    press(Qt::Key_Escape);
    EXPECT_EQ(current(), QString());
}

TEST_F(KeyboardTest, ReturnOnTheFocusButtonBeginsASelectionWithTheKeyboardOnThePicture) {
    launchActive(threeCameras());
    walkTo(u"Focus on an Area"_s);
    press(Qt::Key_Return);
    EXPECT_TRUE(access().isSelectingFocusArea());
    EXPECT_TRUE(access().interactionView()->hasActiveFocus());
    press(Qt::Key_Escape);
    EXPECT_FALSE(access().isSelectingFocusArea());
    EXPECT_FALSE(controlsAreWanted());
}

TEST_F(KeyboardTest, SpaceTogglesThePin) {
    launchActive(threeCameras());
    walkTo(u"Stay on Top"_s);
    press(Qt::Key_Space);
    EXPECT_TRUE(access().stayOnTopButton()->isOn());
    EXPECT_EQ(access().window()->level(), WindowLevel::floating);
    EXPECT_EQ(current(), u"Stay on Top"_s) << "the keyboard stays where it is";
    press(Qt::Key_Space);
    EXPECT_FALSE(access().stayOnTopButton()->isOn());
}

TEST_F(KeyboardTest, CameraIsChosenWithoutAMouse) {
    launchActive(threeCameras());
    walkTo(u"Choose a camera"_s);
    press(Qt::Key_Return);
    ASSERT_NE(openMenu(), nullptr);
    QTest::keyClick(openMenu(), Qt::Key_Down);
    QTest::keyClick(openMenu(), Qt::Key_Return);
    EXPECT_EQ(openMenu(), nullptr);
    EXPECT_EQ(access().cameraPicker()->indexOfSelectedItem(), 1);
    EXPECT_EQ(current(), u"Choose a camera"_s);
    EXPECT_TRUE(controlsAreWanted());
}

TEST_F(KeyboardTest, KeyboardGoesAlongFromMenuToMenu) {
    launchActive(threeCameras());
    walkTo(u"Lumvik"_s);
    press(Qt::Key_Down);
    ASSERT_EQ(openMenu(), access().mainMenu()->menus().at(0));
    QTest::keyClick(openMenu(), Qt::Key_Right);
    ASSERT_EQ(openMenu(), access().mainMenu()->menus().at(1));
    QTest::keyClick(openMenu(), Qt::Key_Escape);
    EXPECT_EQ(current(), u"Window"_s);
    press(Qt::Key_Right);
    EXPECT_EQ(current(), u"Help"_s);
    press(Qt::Key_Right);
    EXPECT_EQ(current(), u"Lumvik"_s);
    press(Qt::Key_Left);
    EXPECT_EQ(current(), u"Help"_s);
}

TEST_F(KeyboardTest, ClickTakesTheKeyboardAwayAndCountsAsThePointers) {
    launchActive(threeCameras());
    press(Qt::Key_Tab);
    QTest::mouseClick(access().window().get(), Qt::LeftButton, {},
                      access().closeViewerButton()->position().toPoint() - QPoint(0, -60));
    EXPECT_EQ(current(), QString());
    EXPECT_TRUE(controlsAreWanted());
}

TEST_F(KeyboardTest, ClickOnAControlActsAndTakesTheKeyboardAway) {
    launchActive(threeCameras());
    walkTo(u"Lumvik"_s);
    QTest::mouseClick(access().window().get(), Qt::LeftButton, {},
                      access().stayOnTopButton()->mapToScene(QPointF(14, 12)).toPoint());
    EXPECT_TRUE(access().stayOnTopButton()->isOn());
    EXPECT_EQ(current(), QString());
}

TEST_F(KeyboardTest, IsLeftWhenAnotherProgramIsUsed) {
    launchActive(threeCameras());
    press(Qt::Key_Tab);
    delegate->applicationDidResignActive();
    EXPECT_EQ(current(), QString());
    EXPECT_FALSE(controlsAreWanted());
}

TEST_F(KeyboardTest, MainMenuOpensWhereThereIsNoRoomForItsStrip) {
    launchActive(threeCameras());
    access().window()->setMinimumSize({100, 100});
    access().window()->setContentAspectRatio({});
    resizeWindow({280, 400});
    ASSERT_FALSE(access().mainMenuStrip()->isVisible());
    press(Qt::Key_F10);
    EXPECT_EQ(openMenu(), access().mainMenu()->menus().first());
    QTest::keyClick(openMenu(), Qt::Key_Escape);
    EXPECT_EQ(openMenu(), nullptr);
    EXPECT_FALSE(access().mainMenuStrip()->isVisible());
}

TEST_F(KeyboardTest, KeysOfTheMainMenuWorkOnEveryControl) {
    launchActive(threeCameras());
    walkTo(u"Stay on Top"_s);
    press(Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(terminations, 1);
}

} // namespace
} // namespace lumvik::test
