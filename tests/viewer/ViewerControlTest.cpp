#include "viewer/ViewerControl.h"

#include "Painted.h"
#include "viewer/CameraPicker.h"
#include "viewer/ViewerButtons.h"
#include "window/PopUpMenu.h"

#include <QQuickWindow>
#include <QTest>

namespace lumvik {
namespace {

using namespace test;

/// Two controls in a window that receives real pointer events.
class ViewerControlTest : public testing::Test {
  protected:
    ViewerControlTest() {
        window.resize(400, 300);
        button.setPosition({100, 100});
        button.setSize({28, 24});
        button.setAction([this] { ++clicks; });
        picker.setItems({QStringLiteral("Front")});
        picker.setPosition({200, 100});
        picker.setSize({140, 24});
        window.show();
    }
    void SetUp() override { ASSERT_TRUE(QTest::qWaitForWindowExposed(&window)); }
    ~ViewerControlTest() override { closePopUpMenus(); }

    void moveTo(QPoint position) { QTest::mouseMove(&window, position); }
    void press() { QTest::mousePress(&window, Qt::LeftButton, {}, onButton); }
    void release(QPoint position) { QTest::mouseRelease(&window, Qt::LeftButton, {}, position); }

    /// Whether the button has the look `look` before a deadline.
    bool looks(ControlLook look) {
        return QTest::qWaitFor([&] { return button.look() == look; }, 5000);
    }

    static constexpr QPoint onButton{110, 110};
    static constexpr QPoint besideButton{50, 50};

    int clicks = 0;
    QQuickWindow window;
    CloseViewerButton button{window.contentItem()};
    CameraPicker picker{{}, window.contentItem()};
};

TEST_F(ViewerControlTest, LooksHoveredWhileThePointerIsOverIt) {
    moveTo(besideButton);
    EXPECT_EQ(button.look(), ControlLook::idle);
    moveTo(onButton);
    EXPECT_TRUE(looks(ControlLook::hovered));
    moveTo(besideButton);
    EXPECT_TRUE(looks(ControlLook::idle));
}

TEST_F(ViewerControlTest, LooksPressedWhileTheButtonIsHeldOverIt) {
    moveTo(onButton);
    press();
    EXPECT_EQ(button.look(), ControlLook::pressed);
    moveTo(besideButton);
    EXPECT_NE(button.look(), ControlLook::pressed) << "a release would do nothing here";
    moveTo(onButton);
    EXPECT_EQ(button.look(), ControlLook::pressed);
    release(onButton);
    EXPECT_TRUE(looks(ControlLook::hovered));
    EXPECT_EQ(clicks, 1);
}

TEST_F(ViewerControlTest, DoesNotStayPressedAfterAReleaseElsewhere) {
    moveTo(onButton);
    press();
    moveTo(besideButton);
    release(besideButton);
    EXPECT_TRUE(looks(ControlLook::idle));
    EXPECT_EQ(clicks, 0);
}

TEST_F(ViewerControlTest, DoesNotStayPressedWhenItIsHidden) {
    moveTo(onButton);
    press();
    button.setVisible(false);
    button.setVisible(true);
    EXPECT_NE(button.look(), ControlLook::pressed);
    release(onButton);
    EXPECT_EQ(clicks, 0);
}

TEST_F(ViewerControlTest, WithAMenuLooksPressedWhileTheMenuIsOpen) {
    EXPECT_EQ(picker.look(), ControlLook::idle);
    picker.openMenu();
    EXPECT_EQ(picker.look(), ControlLook::pressed);
    closePopUpMenus();
    EXPECT_EQ(picker.look(), ControlLook::idle);
}

TEST_F(ViewerControlTest, LooksDisabledAsSoonAsItIsShown) {
    button.setVisible(false);
    button.setEnabled(false);
    button.setVisible(true);
    EXPECT_EQ(button.look(), ControlLook::disabled);
    button.setEnabled(true);
    EXPECT_EQ(button.look(), ControlLook::idle);
}

TEST_F(ViewerControlTest, IsNotDimmedBeforeItFadesOut) {
    button.setEnabled(false);
    EXPECT_EQ(button.look(), ControlLook::idle) << "it may be about to fade";
    EXPECT_TRUE(looks(ControlLook::disabled)) << "it does not fade";
    button.setEnabled(true);
    button.setEnabled(false);
    button.setEnabled(true);
    EXPECT_FALSE(QTest::qWaitFor([&] { return button.look() == ControlLook::disabled; }, 400))
        << "an enabled control became dim";
}

/// Returns the brightness, from 0 to 255, of the brightest point that `control` draws in `area` on
/// a black picture.
int brightestPoint(ViewerControl &control, const QRect &area) {
    const QImage image = paintedItem(control, Qt::black).copy(area);
    int brightest = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            brightest = std::max(brightest, qGray(image.pixel(x, y)));
    }
    return brightest;
}

TEST_F(ViewerControlTest, SymbolAndNameAreDimWhenDisabled) {
    const QRect symbol(4, 4, 20, 16);
    const QRect name(8, 2, 110, 20);
    EXPECT_GT(brightestPoint(button, symbol), 200);
    EXPECT_GT(brightestPoint(picker, name), 200);
    for (ViewerControl *control : QList<ViewerControl *>{&button, &picker}) {
        control->setVisible(false);
        control->setEnabled(false);
        control->setVisible(true);
    }
    EXPECT_LT(brightestPoint(button, symbol), 110);
    EXPECT_LT(brightestPoint(picker, name), 110);
}

} // namespace
} // namespace lumvik
