#include "viewer/CameraPicker.h"

#include "viewer/PopUpMenu.h"

#include <QAccessible>
#include <QApplication>
#include <QMenu>
#include <QMouseEvent>
#include <QQuickWindow>

#include <gtest/gtest.h>

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
    CameraPicker picker{{.menuWillOpen = [this] { reports.append(true); },
                         .menuDidClose = [this] { reports.append(false); },
                         .cameraChosen = [](int) {}},
                        window.contentItem()};
};

TEST_F(CameraPickerTest, TicksExactlyTheSelectedItemAtEachOpening) {
    for (int selected = 0; selected < 2; ++selected) {
        picker.selectItem(selected);
        picker.openMenu();
        ASSERT_NE(openMenu(), nullptr);
        QList<bool> ticks;
        for (const QAction *item : openMenu()->actions())
            ticks.append(item->isChecked());
        EXPECT_EQ(ticks, (QList<bool>{selected == 0, selected == 1}));
        closePopUpMenus();
    }
}

TEST_F(CameraPickerTest, LeavesNothingBehindWhenItsMenuCloses) {
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

TEST_F(CameraPickerTest, TellsWhenItsMenuIsClosedFromOutside) {
    picker.openMenu();
    ASSERT_NE(openMenu(), nullptr);
    closePopUpMenus();
    EXPECT_EQ(openMenu(), nullptr);
    EXPECT_EQ(reports, (QList<bool>{true, false}));
}

TEST_F(CameraPickerTest, TellsAssistiveTechnologyWhichCameraIsSelected) {
    QAccessible::setActive(true);
    QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(&picker);
    ASSERT_NE(interface, nullptr);
    EXPECT_EQ(interface->text(QAccessible::Value), QStringLiteral("Front"));
    picker.selectItem(1);
    EXPECT_EQ(interface->text(QAccessible::Value), QStringLiteral("Yard"));
    picker.setItems({});
    EXPECT_EQ(interface->text(QAccessible::Value), QString());
}

} // namespace
} // namespace lumvik
