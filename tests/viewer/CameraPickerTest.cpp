#include "viewer/CameraPicker.h"

#include "window/PopUpMenu.h"

#include <QAccessible>
#include <QApplication>
#include <QMenu>
#include <QMouseEvent>
#include <QQuickWindow>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <optional>

namespace lumvik {
namespace {

class CameraPickerTest : public testing::Test {
  protected:
    CameraPickerTest() {
        window.resize(400, 300);
        window.show();
        picker.setItems({QStringLiteral("Front"), QStringLiteral("Yard")});
        picker.setSize({140, 24});
    }
    static QMenu *openMenu() { return qobject_cast<QMenu *>(QApplication::activePopupWidget()); }

    QQuickWindow window;
    QList<bool> reports;
    QList<int> chosen;
    QList<int> turns;
    std::optional<bool> menuWasOpen; // at the time when a camera was chosen
    CameraPicker picker{{.menuWillOpen = [this] { reports.append(true); },
                         .menuDidClose = [this] { reports.append(false); },
                         .cameraChosen =
                             [this](int index) {
                                 chosen.append(index);
                                 menuWasOpen = openMenu() != nullptr;
                             },
                         .wheelTurned = [this](int notches) { turns.append(notches); }},
                        window.contentItem()};
};

TEST_F(CameraPickerTest, TicksExactlyTheSelectedItemAtEachOpening) {
    for (int selected = 0; selected < 2; ++selected) {
        picker.selectItem(selected);
        for (QAction *item : picker.menu().actions())
            item->toggle(); // as a click does before the choice is reported
        picker.openMenu();
        ASSERT_NE(openMenu(), nullptr);
        QList<bool> ticks;
        for (const QAction *item : openMenu()->actions())
            ticks.append(item->isChecked());
        EXPECT_EQ(ticks, (QList<bool>{selected == 0, selected == 1}));
        closePopUpMenus();
    }
}

TEST_F(CameraPickerTest, WheelIsReportedInWholeNotches) {
    const auto turn = [this](int angle, Qt::ScrollPhase phase = Qt::NoScrollPhase) {
        QWheelEvent event({70, 12}, window.mapToGlobal(QPointF(70, 12)), {}, {0, angle},
                          Qt::NoButton, Qt::NoModifier, phase, false);
        QCoreApplication::sendEvent(&picker, &event);
        EXPECT_TRUE(event.isAccepted());
    };
    turn(-120);
    EXPECT_EQ(turns, QList<int>{1});
    turn(240);
    EXPECT_EQ(turns, (QList<int>{1, -2}));
    for (int part = 0; part < 4; ++part) // a touchpad
        turn(-40);
    EXPECT_EQ(turns, (QList<int>{1, -2, 1}));
    turn(-1200, Qt::ScrollMomentum);
    EXPECT_EQ(turns, (QList<int>{1, -2, 1})) << "the fingers have left the touchpad";
}

TEST_F(CameraPickerTest, OpeningAndClosingItsMenuLeaksNoObjects) {
    const auto objects = [&] {
        picker.openMenu();
        const auto count = openMenu()->findChildren<QObject *>().size();
        closePopUpMenus();
        return count;
    };
    objects();
    const auto first = objects();
    for (int round = 0; round < 5; ++round)
        EXPECT_EQ(objects(), first);
}

TEST_F(CameraPickerTest, ReportsWhenItsMenuIsClosedFromOutside) {
    picker.openMenu();
    ASSERT_NE(openMenu(), nullptr);
    closePopUpMenus();
    EXPECT_EQ(openMenu(), nullptr);
    EXPECT_EQ(reports, (QList<bool>{true, false}));
}

TEST_F(CameraPickerTest, ReportsTheSelectedCameraToAssistiveTechnology) {
    QAccessible::setActive(true);
    QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(&picker);
    ASSERT_NE(interface, nullptr);
    EXPECT_EQ(interface->text(QAccessible::Value), QStringLiteral("Front"));
    picker.selectItem(1);
    EXPECT_EQ(interface->text(QAccessible::Value), QStringLiteral("Yard"));
    picker.setItems({});
    EXPECT_EQ(interface->text(QAccessible::Value), QString());
}

TEST(ViewerCameraPickerCell, LeavesRoomForTheArrowBesideTheTitle) {
    EXPECT_EQ(ViewerCameraPickerCell::titleRect({10, 4, 140, 24}, 12), QRectF(10, 10, 128, 12));
    EXPECT_EQ(ViewerCameraPickerCell::titleRect({0, 0, 200, 24}, 13), QRectF(0, 5.5, 188, 13));
}

// ---- Items ----

TEST_F(CameraPickerTest, ItemsHaveTheIndexesOfTheCameras) {
    ASSERT_EQ(picker.menu().actions().size(), 2);
    for (int index = 0; index < 2; ++index) {
        EXPECT_EQ(picker.menu().actions().at(index)->data().toInt(), index);
        EXPECT_EQ(picker.itemView(index).menuItem, picker.menu().actions().at(index));
    }
}

TEST_F(CameraPickerTest, ShowsTheCamerasOfANewList) {
    picker.selectItem(1);
    picker.setItems({QStringLiteral("One"), QStringLiteral("Two"), QStringLiteral("Three")});
    EXPECT_EQ(picker.indexOfSelectedItem(), 0);
    QStringList texts;
    for (const QAction *item : picker.menu().actions())
        texts.append(item->text());
    EXPECT_EQ(texts,
              QStringList({QStringLiteral("One"), QStringLiteral("Two"), QStringLiteral("Three")}));
    EXPECT_TRUE(picker.itemView(0).isSelected);
    EXPECT_FALSE(picker.itemView(1).isSelected);
    picker.itemView(2).activate();
    EXPECT_EQ(chosen, QList<int>{2});
}

TEST_F(CameraPickerTest, ClosesItsMenuWhenTheListIsReplaced) {
    picker.openMenu();
    ASSERT_NE(openMenu(), nullptr);
    picker.setItems({QStringLiteral("One")});
    EXPECT_EQ(openMenu(), nullptr);
    EXPECT_EQ(reports, (QList<bool>{true, false}));
}

TEST_F(CameraPickerTest, MovesTheTickInTheOpenMenu) {
    picker.openMenu();
    ASSERT_NE(openMenu(), nullptr);
    picker.selectItem(1);
    EXPECT_FALSE(picker.itemView(0).isSelected);
    EXPECT_TRUE(picker.itemView(1).isSelected);
    EXPECT_TRUE(openMenu()->actions().at(1)->isChecked());
    EXPECT_FALSE(openMenu()->actions().at(0)->isChecked());
    closePopUpMenus();
}

TEST_F(CameraPickerTest, IgnoresAnIndexOutsideTheItems) {
    picker.selectItem(1);
    for (const int outside : {-1, 2, 1000})
        picker.selectItem(outside);
    EXPECT_EQ(picker.indexOfSelectedItem(), 1);
    EXPECT_TRUE(picker.itemView(1).isSelected);
}

TEST_F(CameraPickerTest, ShowsAmpersandsUnchanged) {
    picker.setItems({QStringLiteral("Front & back")});
    EXPECT_EQ(picker.value(), QStringLiteral("Front & back"));
    EXPECT_EQ(picker.menu().actions().first()->text(), QStringLiteral("Front && back"))
        << "a single ampersand would underline the next letter";
}

TEST_F(CameraPickerTest, OpensNothingWithoutItems) {
    picker.setItems({});
    EXPECT_TRUE(picker.menu().actions().isEmpty());
    EXPECT_EQ(picker.indexOfSelectedItem(), -1);
    picker.openMenu();
    picker.performClick();
    EXPECT_EQ(openMenu(), nullptr);
    EXPECT_TRUE(reports.isEmpty());
    picker.selectItem(0);
    EXPECT_EQ(picker.indexOfSelectedItem(), -1);
}

// ---- Choosing ----

TEST_F(CameraPickerTest, ClosesItsMenuBeforeTheCameraIsChosen) {
    picker.openMenu();
    ASSERT_NE(openMenu(), nullptr);
    QTest::mouseClick(openMenu(), Qt::LeftButton, {},
                      openMenu()->actionGeometry(openMenu()->actions().at(1)).center());
    EXPECT_EQ(chosen, QList<int>{1});
    EXPECT_EQ(menuWasOpen, false);
    EXPECT_EQ(reports, (QList<bool>{true, false}));
    EXPECT_EQ(picker.indexOfSelectedItem(), 0) << "the picker leaves the selection to its owner";
}

TEST_F(CameraPickerTest, ActivatedRowClosesTheMenu) {
    picker.openMenu();
    ASSERT_NE(openMenu(), nullptr);
    picker.itemView(1).activate();
    EXPECT_EQ(chosen, QList<int>{1});
    EXPECT_EQ(menuWasOpen, false);
}

TEST_F(CameraPickerTest, CanBeUsedWithTheKeyboardAlone) {
    picker.openMenu();
    ASSERT_NE(openMenu(), nullptr);
    QTest::keyClick(openMenu(), Qt::Key_Down);
    QTest::keyClick(openMenu(), Qt::Key_Return);
    EXPECT_EQ(chosen, QList<int>{1});
    EXPECT_EQ(menuWasOpen, false);
}

TEST_F(CameraPickerTest, ChoosesNothingWhenEscapeClosesTheMenu) {
    picker.openMenu();
    ASSERT_NE(openMenu(), nullptr);
    QTest::keyClick(openMenu(), Qt::Key_Escape);
    EXPECT_EQ(openMenu(), nullptr);
    EXPECT_TRUE(chosen.isEmpty());
}

} // namespace
} // namespace lumvik
