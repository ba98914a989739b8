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
        setPointerOverViewer(true);
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

TEST_F(AccessibilityTest, ControlsHaveAccessibleNames) {
    EXPECT_EQ(name(cameraPicker()), u"Choose a camera"_s);
    EXPECT_EQ(name(stayOnTopButton()), u"Stay on Top"_s);
    EXPECT_EQ(name(focusViewerButton()), u"Focus on an Area"_s);
    EXPECT_EQ(name(closeViewerButton()), u"Close Camera"_s);
}

TEST_F(AccessibilityTest, ControlsHaveAccessibleRoles) {
    EXPECT_EQ(role(cameraPicker()), QAccessible::ComboBox);
    EXPECT_EQ(role(stayOnTopButton()), QAccessible::CheckBox);
    EXPECT_EQ(role(focusViewerButton()), QAccessible::Button);
    EXPECT_EQ(role(closeViewerButton()), QAccessible::Button);
}

TEST_F(AccessibilityTest, PinReportsWhetherItIsOn) {
    QAccessibleInterface *pin = QAccessible::queryAccessibleInterface(stayOnTopButton());
    ASSERT_NE(pin, nullptr);
    EXPECT_TRUE(pin->state().checkable);
    EXPECT_FALSE(pin->state().checked);
    stayOnTopButton()->setOn(true);
    EXPECT_TRUE(pin->state().checked);
}

TEST_F(AccessibilityTest, MenuStripIsAMenuBarThatCanBeOpened) {
    EXPECT_EQ(name(mainMenuStrip()), u"Main Menu"_s);
    EXPECT_EQ(role(mainMenuStrip()), QAccessible::MenuBar);
    QAccessibleInterface *strip = QAccessible::queryAccessibleInterface(mainMenuStrip());
    ASSERT_NE(strip->parent(), nullptr);
    EXPECT_GE(strip->parent()->indexOfChild(strip), 0);
    EXPECT_FALSE(mainMenuStrip()->menuIsOpen());
    strip->actionInterface()->doAction(QAccessibleActionInterface::showMenuAction());
    EXPECT_TRUE(mainMenuStrip()->menuIsOpen());
    menus().first()->close();
}

TEST_F(AccessibilityTest, ControlsCanBePressed) {
    QAccessibleInterface *close = QAccessible::queryAccessibleInterface(closeViewerButton());
    ASSERT_NE(close, nullptr);
    ASSERT_NE(close->actionInterface(), nullptr);
    close->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(terminations, 0) << "the caller does not wait for the effect";
    EXPECT_TRUE(QTest::qWaitFor([this] { return terminations == 1; }));
}

TEST_F(AccessibilityTest, PinCanBePressed) {
    QAccessibleInterface *pin = QAccessible::queryAccessibleInterface(stayOnTopButton());
    ASSERT_NE(pin, nullptr);
    ASSERT_NE(pin->actionInterface(), nullptr);
    pin->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_TRUE(QTest::qWaitFor([this] { return stayOnTopButton()->isOn(); }));
    EXPECT_EQ(window().level(), WindowLevel::floating);
}

TEST_F(AccessibilityTest, ControlsCannotBePressedUnderAnAlert) {
    const auto press = [](QObject *object) {
        QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(object);
        interface->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QTest::qWait(0); // a pressed control acts in a later turn
    };
    QAction *quit = menus().first()->actions().last();
    const auto expectNothingIsPressed = [&](const char *why) {
        SCOPED_TRACE(why);
        press(stayOnTopButton());
        press(mainMenuStrip());
        press(quit);
        EXPECT_FALSE(stayOnTopButton()->isOn());
        EXPECT_FALSE(mainMenuStrip()->menuIsOpen());
        EXPECT_EQ(terminations, 0);
    };
    const auto attach = [](QDialog &sheet, QWindow &window) {
        sheet.setWindowModality(Qt::WindowModal);
        sheet.winId(); // creates the window
        sheet.windowHandle()->setTransientParent(&window);
        sheet.show();
    };
    QDialog alert;
    alert.setModal(true);
    alert.show();
    expectNothingIsPressed("an application-modal alert");
    QWindow other;
    QDialog sheetOfAnother;
    attach(sheetOfAnother, other);
    expectNothingIsPressed("an application-modal alert under a later, unrelated sheet");
    alert.close();
    QDialog sheet;
    attach(sheet, window());
    expectNothingIsPressed("a sheet attached to the viewer");
    sheet.close();
    ASSERT_TRUE(sheetOfAnother.isVisible());
    press(stayOnTopButton());
    EXPECT_TRUE(stayOnTopButton()->isOn());
    press(quit);
    EXPECT_EQ(terminations, 1);
}

TEST_F(AccessibilityTest, ControlsAreDescendantsOfTheWindow) {
    QAccessibleInterface *viewer = QAccessible::queryAccessibleInterface(&window());
    ASSERT_NE(viewer, nullptr);
    QStringList names;
    const std::function<void(QAccessibleInterface *)> walk = [&](QAccessibleInterface *node) {
        for (int child = 0; child < node->childCount(); ++child) {
            names.append(node->child(child)->text(QAccessible::Name));
            walk(node->child(child));
        }
    };
    walk(viewer);
    for (const QString &expected :
         {u"Choose a camera"_s, u"Stay on Top"_s, u"Focus on an Area"_s, u"Close Camera"_s})
        EXPECT_TRUE(names.contains(expected)) << qPrintable(names.join(u", "_s));
}

TEST_F(AccessibilityTest, MenuStripContainsTitlesThatContainMenus) {
    QAccessibleInterface *strip = QAccessible::queryAccessibleInterface(mainMenuStrip());
    ASSERT_EQ(strip->childCount(), 5);
    for (int index = 0; index < 5; ++index) {
        const QMenu *menu = menus().at(index);
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

TEST_F(AccessibilityTest, PickerContainsItsItemsWhetherOpenOrClosed) {
    QAccessibleInterface *picker = QAccessible::queryAccessibleInterface(cameraPicker());
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
    cameraPicker()->openMenu();
    EXPECT_FALSE(menu->child(1)->state().invisible);
    EXPECT_TRUE(menu->child(0)->state().focused);
    EXPECT_EQ(menu->focusChild(), menu->child(0));
    menu->child(1)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(eventually([&] { return cameraPicker()->indexOfSelectedItem() == 1; }));
    EXPECT_TRUE(menu->child(1)->state().invisible) << "the menu is closed";
    EXPECT_TRUE(menu->child(1)->state().checked);
}

TEST_F(AccessibilityTest, ControlReportsKeyboardFocus) {
    ASSERT_TRUE(eventually([this] { return window().isActive(); }));
    QAccessibleInterface *pin = QAccessible::queryAccessibleInterface(stayOnTopButton());
    QAccessibleInterface *viewer = QAccessible::queryAccessibleInterface(&window());
    EXPECT_TRUE(pin->state().focusable);
    EXPECT_FALSE(pin->state().focused);
    EXPECT_TRUE(viewer->state().focused);
    pin->actionInterface()->doAction(QAccessibleActionInterface::setFocusAction());
    EXPECT_TRUE(pin->state().focused);
    EXPECT_FALSE(viewer->state().focused);
    EXPECT_EQ(viewer->focusChild(), pin);
}

TEST_F(AccessibilityTest, HiddenControlIsShownWhenItIsGivenKeyboardFocus) {
    ASSERT_TRUE(eventually([this] { return window().isActive(); }));
    setPointerOverViewer(false);
    QAccessibleInterface *pin = QAccessible::queryAccessibleInterface(stayOnTopButton());
    ASSERT_TRUE(pin->state().invisible);
    pin->actionInterface()->doAction(QAccessibleActionInterface::setFocusAction());
    EXPECT_FALSE(pin->state().invisible);
    EXPECT_TRUE(pin->state().focused);
}

TEST_F(AccessibilityTest, PictureIsNamedAfterItsCamera) {
    EXPECT_EQ(role(interactionView()), QAccessible::Graphic);
    EXPECT_EQ(name(interactionView()), u"Picture of Front door"_s);
    delegate->selectCamera(2);
    EXPECT_EQ(name(interactionView()), u"Picture of Garage"_s);
}

TEST(Accessibility, AmpersandInACameraNameIsKept) {
    CameraPicker picker({}, nullptr);
    picker.setItems({u"Front & back"_s, u"&&"_s});
    QAccessibleInterface *menu = QAccessible::queryAccessibleInterface(&picker)->child(0);
    EXPECT_EQ(menu->child(0)->text(QAccessible::Name), u"Front & back"_s);
    EXPECT_EQ(menu->child(1)->text(QAccessible::Name), u"&&"_s);
}

} // namespace
} // namespace lumvik::test
