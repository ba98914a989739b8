#include "ControllerFixture.h"

#include <QAccessible>
#include <QDialog>
#include <QtTest/QTest>

namespace lumvik::test {
namespace {

class AccessibilityTest : public ControllerFixture {
  protected:
    void SetUp() override {
        launch(threeCameras());
        QAccessible::setActive(true);
        access().pointerIsOverViewer() = true;
        delegate->updateViewerControls(false);
    }
    static QString name(QObject *control) {
        QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(control);
        return interface == nullptr ? u"no interface"_s : interface->text(QAccessible::Name);
    }
    static QAccessible::Role role(QObject *control) {
        QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(control);
        return interface == nullptr ? QAccessible::NoRole : interface->role();
    }
};

TEST_F(AccessibilityTest, ControlsHaveTheirNames) {
    EXPECT_EQ(name(access().cameraPicker()), u"Choose a camera"_s);
    EXPECT_EQ(name(access().stayOnTopButton()), u"Stay on Top"_s);
    EXPECT_EQ(name(access().focusViewerButton()), u"Focus on an Area"_s);
    EXPECT_EQ(name(access().closeViewerButton()), u"Close Camera"_s);
}

TEST_F(AccessibilityTest, ControlsHaveTheirRoles) {
    EXPECT_EQ(role(access().cameraPicker()), QAccessible::ComboBox);
    EXPECT_EQ(role(access().stayOnTopButton()), QAccessible::CheckBox);
    EXPECT_EQ(role(access().focusViewerButton()), QAccessible::Button);
    EXPECT_EQ(role(access().closeViewerButton()), QAccessible::Button);
}

TEST_F(AccessibilityTest, PinTellsWhetherItIsOn) {
    QAccessibleInterface *pin = QAccessible::queryAccessibleInterface(access().stayOnTopButton());
    ASSERT_NE(pin, nullptr);
    EXPECT_TRUE(pin->state().checkable);
    EXPECT_FALSE(pin->state().checked);
    access().stayOnTopButton()->setOn(true);
    EXPECT_TRUE(pin->state().checked);
}

TEST_F(AccessibilityTest, MenuStripIsAMenuBarThatCanBeOpened) {
    EXPECT_EQ(name(access().mainMenuStrip()), u"Main Menu"_s);
    EXPECT_EQ(role(access().mainMenuStrip()), QAccessible::MenuBar);
    QAccessibleInterface *strip = QAccessible::queryAccessibleInterface(access().mainMenuStrip());
    ASSERT_NE(strip->parent(), nullptr);
    EXPECT_GE(strip->parent()->indexOfChild(strip), 0);
    EXPECT_FALSE(access().mainMenuStrip()->menuIsOpen());
    strip->actionInterface()->doAction(QAccessibleActionInterface::showMenuAction());
    EXPECT_TRUE(access().mainMenuStrip()->menuIsOpen());
    access().mainMenu()->menus().first()->close();
}

TEST_F(AccessibilityTest, ControlsCanBePressed) {
    QAccessibleInterface *close =
        QAccessible::queryAccessibleInterface(access().closeViewerButton());
    ASSERT_NE(close, nullptr);
    ASSERT_NE(close->actionInterface(), nullptr);
    close->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(terminations, 0) << "whoever presses is not to wait for what follows";
    EXPECT_TRUE(QTest::qWaitFor([this] { return terminations == 1; }));
}

TEST_F(AccessibilityTest, PinCanBePressed) {
    QAccessibleInterface *pin = QAccessible::queryAccessibleInterface(access().stayOnTopButton());
    ASSERT_NE(pin, nullptr);
    ASSERT_NE(pin->actionInterface(), nullptr);
    pin->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_TRUE(QTest::qWaitFor([this] { return access().stayOnTopButton()->isOn(); }));
    EXPECT_EQ(access().window()->level(), WindowLevel::floating);
}

TEST_F(AccessibilityTest, AnAlertComesBeforeWhatIsPressed) {
    const auto press = [](QObject *object) {
        QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(object);
        interface->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QTest::qWait(0); // what is pressed acts in a later turn
    };
    QAction *quit = access().mainMenu()->menus().first()->actions().last();
    const auto expectNothingIsPressed = [&](const char *why) {
        SCOPED_TRACE(why);
        press(access().stayOnTopButton());
        press(access().mainMenuStrip());
        press(quit);
        EXPECT_FALSE(access().stayOnTopButton()->isOn());
        EXPECT_FALSE(access().mainMenuStrip()->menuIsOpen());
        EXPECT_EQ(terminations, 0);
    };
    const auto hangOn = [](QDialog &sheet, QWindow &window) {
        sheet.setWindowModality(Qt::WindowModal);
        sheet.winId(); // makes its window
        sheet.windowHandle()->setTransientParent(&window);
        sheet.show();
    };
    QDialog alert;
    alert.setModal(true);
    alert.show();
    expectNothingIsPressed("an alert for all of the program");
    QWindow other;
    QDialog sheetOfAnother;
    hangOn(sheetOfAnother, other);
    expectNothingIsPressed("under a later one that does not matter");
    alert.close();
    QDialog sheet;
    hangOn(sheet, *access().window());
    expectNothingIsPressed("one that hangs on the viewer");
    sheet.close();
    ASSERT_TRUE(sheetOfAnother.isVisible());
    press(access().stayOnTopButton());
    EXPECT_TRUE(access().stayOnTopButton()->isOn());
    press(quit);
    EXPECT_EQ(terminations, 1);
}

TEST_F(AccessibilityTest, ControlsAreFoundFromTheWindow) {
    QAccessibleInterface *window = QAccessible::queryAccessibleInterface(access().window().get());
    ASSERT_NE(window, nullptr);
    QStringList names;
    const std::function<void(QAccessibleInterface *)> walk = [&](QAccessibleInterface *node) {
        for (int child = 0; child < node->childCount(); ++child) {
            names.append(node->child(child)->text(QAccessible::Name));
            walk(node->child(child));
        }
    };
    walk(window);
    for (const QString &expected :
         {u"Choose a camera"_s, u"Stay on Top"_s, u"Focus on an Area"_s, u"Close Camera"_s})
        EXPECT_TRUE(names.contains(expected)) << qPrintable(names.join(u", "_s));
}

TEST_F(AccessibilityTest, StripHoldsItsTitlesAndTheyTheirMenus) {
    QAccessibleInterface *strip = QAccessible::queryAccessibleInterface(access().mainMenuStrip());
    ASSERT_EQ(strip->childCount(), 3);
    for (int index = 0; index < 3; ++index) {
        const QMenu *menu = access().mainMenu()->menus().at(index);
        QAccessibleInterface *title = strip->child(index);
        EXPECT_EQ(title->role(), QAccessible::MenuItem);
        EXPECT_EQ(title->text(QAccessible::Name), menu->title());
        EXPECT_EQ(title->parent(), strip);
        EXPECT_EQ(strip->indexOfChild(title), index);
        ASSERT_EQ(title->childCount(), 1);
        EXPECT_EQ(title->child(0)->role(), QAccessible::PopupMenu);
        EXPECT_EQ(title->child(0)->parent(), title);
        EXPECT_EQ(title->child(0)->childCount(), menu->actions().size());
    }
}

TEST_F(AccessibilityTest, PickerHoldsItsRowsOpenOrNot) {
    QAccessibleInterface *picker = QAccessible::queryAccessibleInterface(access().cameraPicker());
    ASSERT_EQ(picker->childCount(), 1);
    QAccessibleInterface *menu = picker->child(0);
    ASSERT_EQ(menu->childCount(), 3);
    QStringList names;
    for (int row = 0; row < 3; ++row) {
        QAccessibleInterface *item = menu->child(row);
        names.append(item->text(QAccessible::Name));
        EXPECT_EQ(item->role(), QAccessible::MenuItem);
        EXPECT_EQ(item->parent(), menu);
        EXPECT_EQ(menu->indexOfChild(item), row);
        EXPECT_TRUE(item->state().checkable);
        EXPECT_EQ(item->state().checked, row == 0);
        EXPECT_TRUE(item->state().invisible);
    }
    EXPECT_EQ(names, (QStringList{u"Front door"_s, u"Yard"_s, u"Garage"_s}));
    access().cameraPicker()->openMenu();
    EXPECT_FALSE(menu->child(1)->state().invisible);
    EXPECT_TRUE(menu->child(0)->state().focused);
    EXPECT_EQ(menu->focusChild(), menu->child(0));
    menu->child(1)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(eventually([&] { return access().cameraPicker()->indexOfSelectedItem() == 1; }));
    EXPECT_TRUE(menu->child(1)->state().invisible) << "the menu is still open";
    EXPECT_TRUE(menu->child(1)->state().checked);
}

TEST_F(AccessibilityTest, ControlIsFocusedWhileItHasTheKeyboard) {
    ASSERT_TRUE(eventually([this] { return access().window()->isActive(); }));
    QAccessibleInterface *pin = QAccessible::queryAccessibleInterface(access().stayOnTopButton());
    QAccessibleInterface *window = QAccessible::queryAccessibleInterface(access().window().get());
    EXPECT_TRUE(pin->state().focusable);
    EXPECT_FALSE(pin->state().focused);
    EXPECT_TRUE(window->state().focused);
    pin->actionInterface()->doAction(QAccessibleActionInterface::setFocusAction());
    EXPECT_TRUE(pin->state().focused);
    EXPECT_FALSE(window->state().focused);
    EXPECT_EQ(window->focusChild(), pin);
}

TEST_F(AccessibilityTest, HiddenControlComesWhenItIsAskedToTakeTheKeyboard) {
    ASSERT_TRUE(eventually([this] { return access().window()->isActive(); }));
    access().pointerIsOverViewer() = false;
    delegate->updateViewerControls(false);
    QAccessibleInterface *pin = QAccessible::queryAccessibleInterface(access().stayOnTopButton());
    ASSERT_TRUE(pin->state().invisible);
    pin->actionInterface()->doAction(QAccessibleActionInterface::setFocusAction());
    EXPECT_FALSE(pin->state().invisible);
    EXPECT_TRUE(pin->state().focused);
}

TEST_F(AccessibilityTest, PictureIsNamedAfterItsCamera) {
    EXPECT_EQ(role(access().interactionView()), QAccessible::Graphic);
    EXPECT_EQ(name(access().interactionView()), u"Picture of Front door"_s);
    delegate->selectCamera(2);
    EXPECT_EQ(name(access().interactionView()), u"Picture of Garage"_s);
}

TEST(Accessibility, AmpersandOfACamerasNameIsRead) {
    CameraPicker picker({}, nullptr);
    picker.setItems({u"Front & back"_s, u"&&"_s});
    QAccessibleInterface *menu = QAccessible::queryAccessibleInterface(&picker)->child(0);
    EXPECT_EQ(menu->child(0)->text(QAccessible::Name), u"Front & back"_s);
    EXPECT_EQ(menu->child(1)->text(QAccessible::Name), u"&&"_s);
}

} // namespace
} // namespace lumvik::test
