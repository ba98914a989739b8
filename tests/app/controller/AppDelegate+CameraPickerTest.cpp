#include "ControllerFixture.h"
#include "window/PopUpMenu.h"

#include <QApplication>
#include <QTest>

namespace lumvik::test {
namespace {

const QString indexKey = u"selectedCameraIndex"_s;

class PickerTest : public ControllerFixture {
  protected:
    void SetUp() override { launchAndPlay(threeCameras()); }
    void TearDown() override { closePopUpMenus(); }

    [[nodiscard]] static QMenu *openMenu() {
        return qobject_cast<QMenu *>(QApplication::activePopupWidget());
    }
    void clickItem(int index) {
        cameraPicker()->openMenu();
        ASSERT_NE(openMenu(), nullptr);
        QTest::mouseClick(openMenu(), Qt::LeftButton, {},
                          openMenu()->actionGeometry(openMenu()->actions().at(index)).center());
    }
    [[nodiscard]] QList<bool> ticks() {
        QList<bool> ticks;
        for (int index = 0; index < cameraNames().size(); ++index)
            ticks.append(cameraPicker()->itemView(index).isSelected);
        return ticks;
    }
};

TEST_F(PickerTest, ListsTheCamerasByName) {
    EXPECT_EQ(cameraNames(), QStringList({u"Front door"_s, u"Yard"_s, u"Garage"_s}));
}

TEST_F(PickerTest, OpenMenuKeepsTheControlsShown) {
    cameraPicker()->openMenu();
    EXPECT_NE(openMenu(), nullptr);
    EXPECT_TRUE(controlsAreWanted());
    closePopUpMenus();
    EXPECT_FALSE(controlsAreWanted());
}

TEST_F(PickerTest, OtherMenusDoNotCountAsTheMenuOfThePicker) {
    QMenu *other = menus().first();
    popUpMenu(*other, window(), {20, 40});
    ASSERT_EQ(openMenu(), other);
    EXPECT_FALSE(access().cameraMenuIsOpen());
    delegate->menuWillOpen();
    closePopUpMenus();
    EXPECT_EQ(openMenu(), nullptr);
    EXPECT_TRUE(access().cameraMenuIsOpen());
    EXPECT_TRUE(controlsAreWanted());
}

TEST_F(PickerTest, LeavingTheMenuClearsTheHighlightOnlyAfterThePointerWasInside) {
    cameraPicker()->openMenu();
    QMenu *menu = openMenu();
    ASSERT_NE(menu, nullptr);
    const QAction *selected = menu->actions().at(0);
    ASSERT_EQ(menu->activeAction(), selected);
    const auto leave = [menu] {
        QEvent leaving(QEvent::Leave);
        QCoreApplication::sendEvent(menu, &leaving);
    };
    leave();
    EXPECT_EQ(menu->activeAction(), selected) << "the pointer has not been inside the menu";
    const QPointF inside = menu->actionGeometry(menu->actions().at(1)).center();
    QMouseEvent move(QEvent::MouseMove, inside, menu->mapToGlobal(inside), Qt::NoButton,
                     Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(menu, &move);
    leave();
    EXPECT_EQ(menu->activeAction(), nullptr);
}

TEST_F(PickerTest, ChosenCameraIsLoadedAndRemembered) {
    clickItem(2);
    EXPECT_EQ(cameraPicker()->indexOfSelectedItem(), 2);
    EXPECT_EQ(cameraPicker()->value(), u"Garage"_s);
    EXPECT_EQ(mpv.texts().back(),
              "mpv_command(core 1, loadfile, rtsp://camera.example/garage, replace)");
    EXPECT_EQ(home.userDefaults().integer(indexKey), 2);
    EXPECT_EQ(access().selectionGeneration(), 1);
    EXPECT_EQ(openMenu(), nullptr);
    EXPECT_FALSE(access().cameraMenuIsOpen());
}

TEST_F(PickerTest, ShownCameraIsTicked) {
    EXPECT_EQ(ticks(), (QList<bool>{true, false, false}));
    clickItem(1);
    EXPECT_EQ(ticks(), (QList<bool>{false, true, false}));
    delegate->selectCamera(2);
    cameraPicker()->openMenu();
    EXPECT_EQ(ticks(), (QList<bool>{false, false, true}));
}

TEST_F(PickerTest, ClosingTheMenuKeepsTheCamera) {
    const std::vector<std::string> calls = mpv.texts();
    cameraPicker()->openMenu();
    closePopUpMenus();
    EXPECT_EQ(mpv.texts(), calls);
    EXPECT_EQ(home.userDefaults().integer(indexKey), std::nullopt);
}

TEST_F(PickerTest, IndexOutsideTheListIsIgnored) {
    delegate->cameraMenuItemSelected(3);
    delegate->cameraMenuItemSelected(-1);
    EXPECT_EQ(cameraPicker()->indexOfSelectedItem(), 0);
    EXPECT_EQ(access().selectionGeneration(), 0);
    EXPECT_EQ(home.userDefaults().integer(indexKey), std::nullopt);
}

TEST_F(PickerTest, ActivatingAnotherApplicationClosesTheMenu) {
    cameraPicker()->openMenu();
    delegate->applicationDidResignActive();
    EXPECT_EQ(openMenu(), nullptr);
    EXPECT_FALSE(access().cameraMenuIsOpen());
    EXPECT_FALSE(controlsAreWanted());
}

TEST_F(PickerTest, ClosingTheViewerClosesTheMenu) {
    cameraPicker()->openMenu();
    delegate->closeCameraViewer();
    EXPECT_EQ(openMenu(), nullptr);
    EXPECT_FALSE(access().cameraMenuIsOpen());
}

class EmptyPickerTest : public ControllerFixture {};

TEST_F(EmptyPickerTest, OpensNoMenu) {
    launch(CameraList());
    setPointerOverViewer(true);
    EXPECT_FALSE(cameraPicker()->isEnabled());
    EXPECT_TRUE(cameraPicker()->menu().actions().isEmpty());
    cameraPicker()->performClick();
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    EXPECT_FALSE(access().cameraMenuIsOpen());
}

} // namespace
} // namespace lumvik::test
