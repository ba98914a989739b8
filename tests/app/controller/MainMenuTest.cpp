#include "app/controller/MainMenu.h"

#include "ControllerFixture.h"

#include <QKeyEvent>
#include <QTest>

namespace lumvik::test {
namespace {

/// The titles of a menu's items from top to bottom, with "---" for a separator.
QStringList titles(const QMenu &menu) {
    QStringList titles;
    for (const QAction *item : menu.actions())
        titles.append(item->isSeparator() ? u"---"_s : item->text());
    return titles;
}

bool press(const MainMenu &menu, Qt::Key key, Qt::KeyboardModifiers modifiers) {
    return menu.performKeyEquivalent(QKeyEvent(QEvent::KeyPress, key, modifiers));
}

/// A main menu whose items record their names in `ran`.
class MainMenuTest : public testing::Test {
  protected:
    std::function<void()> note(const QString &name) {
        return [this, name] { ran.append(name); };
    }
    MainMenuSetting setting(bool &isOn) {
        return {.isOn = [&isOn] { return isOn; }, .set = [&isOn](bool on) { isOn = on; }};
    }
    [[nodiscard]] QAction *viewItem(const QString &title) const {
        for (QAction *item : menu.menus().at(2)->actions()) {
            if (item->text() == title)
                return item;
        }
        return nullptr;
    }
    QStringList ran;
    int shownCamera = 0;
    QString areaTitle = u"Focus on an Area"_s;
    bool staysOnTop = false;
    bool remembersArea = false;
    bool startsAtLogin = false;
    bool keepsScreenOn = true;
    bool notifiesOfLoss = false;
    bool showsDetails = false;
    MainMenu menu{{.showCameraSettings = note(u"settings"_s),
                   .checkForUpdates = note(u"updates"_s),
                   .terminate = note(u"quit"_s),
                   .chooseCamera = [this](int index) { ran.append(u"camera %1"_s.arg(index)); },
                   .shownCamera = [this] { return shownCamera; },
                   .stepCamera = [this](int step) { ran.append(u"step %1"_s.arg(step)); },
                   .findCameras = note(u"find"_s),
                   .startsAtLogin = setting(startsAtLogin),
                   .toggleFocusArea = note(u"area"_s),
                   .focusAreaTitle = [this] { return areaTitle; },
                   .remembersArea = setting(remembersArea),
                   .zoom = [this](bool isLarger) { ran.append(isLarger ? u"in"_s : u"out"_s); },
                   .showWholePicture = note(u"whole"_s),
                   .savePicture = note(u"save"_s),
                   .copyPicture = note(u"copy"_s),
                   .showsDetails = setting(showsDetails),
                   .copyDiagnosis = note(u"diagnosis"_s),
                   .staysOnTop = setting(staysOnTop),
                   .keepsScreenOn = setting(keepsScreenOn),
                   .notifiesOfLoss = setting(notifiesOfLoss),
                   .performClose = note(u"close"_s),
                   .toggleFullScreen = note(u"full screen"_s),
                   .openLumvikHelp = note(u"help"_s),
                   .showQuickHelp = note(u"quick help"_s),
                   .sendFeedback = note(u"feedback"_s),
                   .showAbout = note(u"about"_s)}};
};

TEST_F(MainMenuTest, MenusAndItemsAreInOrder) {
    const QList<QMenu *> menus = menu.menus();
    ASSERT_EQ(menus.size(), 5);
    EXPECT_EQ(menus.at(0)->title(), u"Lumvik"_s);
    EXPECT_EQ(menus.at(1)->title(), u"Camera"_s);
    EXPECT_EQ(menus.at(2)->title(), u"View"_s);
    EXPECT_EQ(menus.at(3)->title(), u"Window"_s);
    EXPECT_EQ(menus.at(4)->title(), u"Help"_s);
    EXPECT_EQ(titles(*menus.at(0)),
              (QStringList{u"Camera Addresses\u2026"_s, u"---"_s, u"Check for Updates\u2026"_s,
                           u"---"_s, u"Quit Lumvik"_s}));
    EXPECT_EQ(titles(*menus.at(1)),
              (QStringList{u"---"_s, u"Next Camera"_s, u"Previous Camera"_s, u"---"_s,
                           u"Find Cameras\u2026"_s, u"---"_s, u"Start at Login"_s}));
    EXPECT_EQ(titles(*menus.at(2)),
              (QStringList{u"Focus on an Area"_s, u"Remember the Area"_s, u"---"_s, u"Zoom In"_s,
                           u"Zoom Out"_s, u"Whole Picture"_s, u"---"_s, u"Save Picture"_s,
                           u"Copy Picture"_s, u"---"_s, u"Stream Details"_s, u"Copy Diagnosis"_s,
                           u"---"_s, u"Stay on Top"_s, u"Keep Screen On"_s,
                           u"Notify When the Picture Is Lost"_s}));
    EXPECT_EQ(titles(*menus.at(3)), (QStringList{u"Close"_s, u"Enter Full Screen"_s}));
    EXPECT_EQ(titles(*menus.at(4)),
              (QStringList{u"Lumvik Help"_s, u"Quick Help in Lumvik"_s, u"---"_s,
                           u"Send Feedback\u2026"_s, u"About Lumvik"_s}));
}

TEST_F(MainMenuTest, RunsTheActionOfEachItem) {
    for (QMenu *each : menu.menus()) {
        for (QAction *item : each->actions())
            item->trigger();
    }
    EXPECT_EQ(ran, (QStringList{u"settings"_s, u"updates"_s, u"quit"_s, u"find"_s, u"area"_s,
                                u"in"_s, u"out"_s, u"whole"_s, u"save"_s, u"copy"_s, u"diagnosis"_s,
                                u"close"_s, u"full screen"_s, u"help"_s, u"quick help"_s,
                                u"feedback"_s, u"about"_s}));
}

TEST_F(MainMenuTest, RunsActionsByTheirKeys) {
    EXPECT_TRUE(press(menu, Qt::Key_Comma, Qt::ControlModifier));
    EXPECT_TRUE(press(menu, Qt::Key_Q, Qt::ControlModifier));
    EXPECT_TRUE(press(menu, Qt::Key_W, Qt::ControlModifier));
    EXPECT_TRUE(press(menu, Qt::Key_F, Qt::ControlModifier | Qt::MetaModifier));
    EXPECT_TRUE(press(menu, Qt::Key_F11, Qt::NoModifier));
    EXPECT_TRUE(press(menu, Qt::Key_Question, Qt::ControlModifier | Qt::ShiftModifier));
    EXPECT_TRUE(press(menu, Qt::Key_F1, Qt::NoModifier));
    EXPECT_EQ(ran, (QStringList{u"settings"_s, u"quit"_s, u"close"_s, u"full screen"_s,
                                u"full screen"_s, u"help"_s, u"help"_s}));
}

TEST_F(MainMenuTest, KeysOfTheViewActOnlyInTheViewer) {
    const QKeyEvent key(QEvent::KeyPress, Qt::Key_I, Qt::ControlModifier);
    EXPECT_FALSE(menu.performKeyEquivalent(key, MainMenu::Scope::programMenus));
    EXPECT_FALSE(showsDetails);
    EXPECT_TRUE(menu.performKeyEquivalent(key));
    EXPECT_TRUE(showsDetails);
}

TEST_F(MainMenuTest, CamerasAreListedAndHaveKeys) {
    QStringList names;
    for (int number = 1; number <= 10; ++number)
        names.append(u"Door & Yard %1"_s.arg(number));
    menu.setCameras(names);
    QMenu &camera = *menu.menus().at(1);
    ASSERT_EQ(camera.actions().size(), 17);
    EXPECT_EQ(camera.actions().at(9)->text(), u"Door && Yard 10"_s);
    shownCamera = 2;
    Q_EMIT camera.aboutToShow();
    for (int index = 0; index < 10; ++index)
        EXPECT_EQ(camera.actions().at(index)->isChecked(), index == 2);
    EXPECT_TRUE(press(menu, Qt::Key_9, Qt::NoModifier));
    EXPECT_TRUE(press(menu, Qt::Key_1, Qt::KeypadModifier));
    EXPECT_TRUE(press(menu, Qt::Key_PageDown, Qt::NoModifier));
    EXPECT_TRUE(press(menu, Qt::Key_PageUp, Qt::NoModifier));
    camera.actions().at(9)->trigger();
    EXPECT_EQ(
        ran, (QStringList{u"camera 8"_s, u"camera 0"_s, u"step 1"_s, u"step -1"_s, u"camera 9"_s}));
    EXPECT_FALSE(menu.performKeyEquivalent(QKeyEvent(QEvent::KeyPress, Qt::Key_1, Qt::NoModifier),
                                           MainMenu::Scope::programMenus))
        << "a number that is typed in the editor";

    menu.setCameras({u"Only"_s});
    EXPECT_EQ(titles(camera).first(), u"Only"_s);
    EXPECT_FALSE(press(menu, Qt::Key_2, Qt::NoModifier));
    EXPECT_FALSE(press(menu, Qt::Key_PageDown, Qt::NoModifier)) << "there is no other camera";
}

TEST_F(MainMenuTest, AreaItemIsNamedLikeTheButton) {
    areaTitle = u"Show Original View"_s;
    Q_EMIT menu.menus().at(2)->aboutToShow();
    EXPECT_EQ(titles(*menu.menus().at(2)).first(), areaTitle);
    EXPECT_TRUE(press(menu, Qt::Key_E, Qt::ControlModifier));
    EXPECT_EQ(ran, QStringList(u"area"_s));
}

TEST_F(MainMenuTest, IgnoresOtherKeys) {
    EXPECT_FALSE(press(menu, Qt::Key_Q, Qt::NoModifier));
    EXPECT_FALSE(press(menu, Qt::Key_Q, Qt::ControlModifier | Qt::ShiftModifier));
    EXPECT_FALSE(press(menu, Qt::Key_Q, Qt::ControlModifier | Qt::AltModifier));
    EXPECT_FALSE(press(menu, Qt::Key_F, Qt::ControlModifier));
    EXPECT_FALSE(press(menu, Qt::Key_X, Qt::ControlModifier));
    EXPECT_TRUE(ran.isEmpty());
}

TEST_F(MainMenuTest, FullScreenItemIsNamedAfterItsAction) {
    menu.setIsFullScreen(true);
    EXPECT_EQ(titles(*menu.menus().at(3)).last(), u"Exit Full Screen"_s);
    menu.setIsFullScreen(false);
    EXPECT_EQ(titles(*menu.menus().at(3)).last(), u"Enter Full Screen"_s);
}

TEST_F(MainMenuTest, SettingsAreTickedWhileTheyAreOn) {
    EXPECT_FALSE(viewItem(u"Stay on Top"_s)->isChecked());
    EXPECT_TRUE(viewItem(u"Keep Screen On"_s)->isChecked());
    viewItem(u"Keep Screen On"_s)->trigger();
    EXPECT_FALSE(keepsScreenOn);
    EXPECT_FALSE(viewItem(u"Keep Screen On"_s)->isChecked());
    viewItem(u"Keep Screen On"_s)->trigger();
    EXPECT_TRUE(keepsScreenOn);
    EXPECT_TRUE(viewItem(u"Keep Screen On"_s)->isChecked());

    staysOnTop = true; // by the pin
    Q_EMIT menu.menus().at(2)->aboutToShow();
    EXPECT_TRUE(viewItem(u"Stay on Top"_s)->isChecked());
    viewItem(u"Stay on Top"_s)->trigger();
    EXPECT_FALSE(staysOnTop);
}

TEST(MainMenu, DisablesItemsThatHaveNoActionAndTheirKeys) {
    bool closed = false;
    MainMenuActions actions;
    actions.performClose = [&] { closed = true; };
    const MainMenu menu(std::move(actions));
    for (const QMenu *each : menu.menus()) {
        for (const QAction *item : each->actions()) {
            if (item->isSeparator())
                continue;
            EXPECT_EQ(item->isEnabled(), item->text() == u"Close"_s) << qPrintable(item->text());
        }
    }
    EXPECT_FALSE(press(menu, Qt::Key_Q, Qt::ControlModifier));
    EXPECT_TRUE(press(menu, Qt::Key_W, Qt::ControlModifier));
    EXPECT_TRUE(closed);
}

class ControllersMenuTest : public ControllerFixture {};

TEST_F(ControllersMenuTest, QuitsAndCloses) {
    launchAndPlay(threeCameras());
    QTest::keyClick(&window(), Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(terminations, 1);
    QTest::keyClick(&window(), Qt::Key_W, Qt::ControlModifier);
    EXPECT_EQ(terminations, 2);
    EXPECT_FALSE(window().isVisible());
}

TEST_F(ControllersMenuTest, HandlesKeysThatTheWindowIgnores) {
    launch(threeCameras());
    ASSERT_TRUE(eventually([&] { return window().isActive(); }));
    QKeyEvent quit(QEvent::KeyPress, Qt::Key_Q, Qt::ControlModifier);
    QCoreApplication::sendEvent(&window(), &quit);
    EXPECT_EQ(terminations, 1);
}

TEST_F(ControllersMenuTest, StaysOnTopLikeThePin) {
    launch(threeCameras());
    QAction *item = menuItem(u"Stay on Top"_s);
    ASSERT_NE(item, nullptr);
    item->trigger();
    EXPECT_TRUE(stayOnTopButton()->isOn());
    EXPECT_TRUE(home.userDefaults().boolean(u"staysOnTop"_s));
    EXPECT_TRUE(item->isChecked());
    item->trigger();
    EXPECT_FALSE(stayOnTopButton()->isOn());
    EXPECT_FALSE(home.userDefaults().boolean(u"staysOnTop"_s));
}

TEST_F(ControllersMenuTest, KeysChooseCameras) {
    launchAndPlay(threeCameras());
    ASSERT_TRUE(eventually([&] { return window().isActive(); }));
    QTest::keyClick(&window(), Qt::Key_3);
    EXPECT_EQ(cameraPicker()->indexOfSelectedItem(), 2);
    QTest::keyClick(&window(), Qt::Key_PageDown);
    EXPECT_EQ(cameraPicker()->indexOfSelectedItem(), 0);
    QTest::keyClick(&window(), Qt::Key_PageUp);
    EXPECT_EQ(cameraPicker()->indexOfSelectedItem(), 2);
    QTest::keyClick(&window(), Qt::Key_4);
    EXPECT_EQ(cameraPicker()->indexOfSelectedItem(), 2) << "there is no fourth camera";
    ASSERT_NE(menuItem(threeCameras().at(2).name), nullptr);
    EXPECT_TRUE(menuItem(threeCameras().at(2).name)->isChecked());
    delegate->cameraMenuItemSelected(0);
    EXPECT_FALSE(menuItem(threeCameras().at(2).name)->isChecked());
}

TEST_F(ControllersMenuTest, SwitchesFullScreen) {
    launch(threeCameras());
    ASSERT_TRUE(eventually([&] { return window().isActive(); }));
    QTest::keyClick(&window(), Qt::Key_F11);
    EXPECT_TRUE(window().windowStates().testFlag(Qt::WindowFullScreen));
    QTest::keyClick(&window(), Qt::Key_F11);
    EXPECT_FALSE(window().windowStates().testFlag(Qt::WindowFullScreen));
}

} // namespace
} // namespace lumvik::test
