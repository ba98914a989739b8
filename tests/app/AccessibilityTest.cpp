#include "ControllerTest.h"

#include <QAccessible>

namespace lumvik::test {
namespace {

class AccessibilityTest : public ControllerTest {
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
    EXPECT_EQ(terminations, 1);
}

TEST_F(AccessibilityTest, PinCanBePressed) {
    QAccessibleInterface *pin = QAccessible::queryAccessibleInterface(access().stayOnTopButton());
    ASSERT_NE(pin, nullptr);
    ASSERT_NE(pin->actionInterface(), nullptr);
    pin->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_TRUE(access().stayOnTopButton()->isOn());
    EXPECT_EQ(access().window()->level(), WindowLevel::floating);
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

} // namespace
} // namespace lumvik::test
