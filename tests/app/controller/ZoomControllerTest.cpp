#include "app/controller/ZoomController.h"

#include "AreaFixture.h"

#include <QNativeGestureEvent>
#include <QPointingDevice>
#include <QTest>
#include <QWheelEvent>

namespace lumvik::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The picture of 1920 by 1080 pixels fills the window of 640 by 360 points.
class ZoomTest : public AreaFixture {
  protected:
    static void turnWheel(double notches, QPointF at = {320, 180}) {
        QWheelEvent event(at, window().mapToGlobal(at), {}, {0, static_cast<int>(notches * 120)},
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&window(), &event);
    }
    static void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(&window(), static_cast<Qt::Key>(key), modifiers);
    }
    /// Magnifies by 2 around the centre.
    void magnifyTwice() {
        QNativeGestureEvent event(Qt::ZoomNativeGesture, QPointingDevice::primaryPointingDevice(),
                                  2, {320, 180}, {320, 180},
                                  window().mapToGlobal(QPointF(320, 180)), 1, {});
        QCoreApplication::sendEvent(interactionView(), &event);
        newSettings();
    }
    static ZoomMap &map() {
        for (QQuickItem *item : window().contentItem()->childItems()) {
            if (auto *found = qobject_cast<ZoomMap *>(item))
                return *found;
        }
        qFatal("There is no map.");
    }

    const std::vector<std::string> whole{"video-zoom=0.000000", "video-pan-x=0.000000",
                                         "video-pan-y=0.000000"};
};

TEST_F(ZoomTest, WheelMagnifiesAtThePointer) {
    turnWheel(1, {160, 90});
    EXPECT_THAT(newSettings(),
                ElementsAre("video-zoom=0.321928", "video-pan-x=0.050000", "video-pan-y=0.050000"));
    turnWheel(-1, {160, 90});
    EXPECT_EQ(newSettings(), whole);
    turnWheel(-1);
    EXPECT_THAT(newSettings(), IsEmpty()) << "it cannot be smaller than the window";
}

TEST_F(ZoomTest, KeysMagnifyAndMove) {
    press(Qt::Key_Left);
    EXPECT_THAT(newSettings(), IsEmpty());
    press(Qt::Key_Plus, Qt::ControlModifier | Qt::ShiftModifier);
    press(Qt::Key_Equal, Qt::ControlModifier);
    press(Qt::Key_Minus, Qt::ControlModifier);
    EXPECT_EQ(newSettings().at(6), "video-zoom=0.321928");
    press(Qt::Key_Right); // 64 of 800 points
    press(Qt::Key_Down);  // 36 of 450 points
    const auto settings = newSettings();
    EXPECT_EQ(settings.at(4), "video-pan-x=-0.080000");
    EXPECT_EQ(settings.at(5), "video-pan-y=-0.080000");
    press(Qt::Key_0, Qt::ControlModifier);
    EXPECT_EQ(newSettings(), whole);
}

TEST_F(ZoomTest, EscapeShowsTheWholePictureBeforeItLeavesFullScreen) {
    magnifyTwice();
    window().setWindowState(Qt::WindowFullScreen);
    press(Qt::Key_Escape);
    EXPECT_TRUE(window().windowStates().testFlag(Qt::WindowFullScreen));
    EXPECT_FALSE(map().isVisible());
    press(Qt::Key_Escape);
    EXPECT_FALSE(window().windowStates().testFlag(Qt::WindowFullScreen));
}

TEST_F(ZoomTest, DragsOfTheMiddleButtonAndWithCtrlMoveThePicture) {
    const auto dragFrom = [this](Qt::MouseButton button, Qt::KeyboardModifiers modifiers) {
        const auto sendDrag = [&](QEvent::Type type, QPointF at, Qt::MouseButtons buttons) {
            QMouseEvent event(type, at, window().mapToGlobal(at),
                              type == QEvent::MouseMove ? Qt::NoButton : button, buttons,
                              modifiers);
            QCoreApplication::sendEvent(&window(), &event);
        };
        sendDrag(QEvent::MouseButtonPress, {300, 200}, button);
        sendDrag(QEvent::MouseMove, {364, 200}, button);
        sendDrag(QEvent::MouseButtonRelease, {364, 200}, {});
        sendDrag(QEvent::MouseMove, {500, 200}, {});
    };
    dragFrom(Qt::MiddleButton, {});
    EXPECT_THAT(newSettings(), IsEmpty()) << "the whole picture is shown";
    magnifyTwice();
    dragFrom(Qt::MiddleButton, {});
    EXPECT_THAT(newSettings(),
                ElementsAre("video-zoom=1.000000", "video-pan-x=0.050000", "video-pan-y=0.000000"));
    dragFrom(Qt::LeftButton, Qt::ControlModifier);
    EXPECT_THAT(newSettings(),
                ElementsAre("video-zoom=1.000000", "video-pan-x=0.100000", "video-pan-y=0.000000"));
    EXPECT_EQ(window().frame(), originalFrame);
}

TEST_F(ZoomTest, AreaOfAMagnifiedPictureIsTheOneUnderTheRectangle) {
    magnifyTwice();
    choose({100, 150, 200, 100});
    const auto settings = newSettings();
    ASSERT_GE(settings.size(), 4U);
    EXPECT_EQ(settings.at(0), "video-crop=300x150+630+495");
    EXPECT_THAT(settings, testing::Contains("video-zoom=0.000000")) << "the area fills the window";
}

TEST_F(ZoomTest, AreaIsMagnifiedInItsOwnShape) {
    choose(area);
    settle();
    newSettings();
    turnWheel(2);
    const auto settings = newSettings();
    EXPECT_THAT(std::vector(settings.begin(), settings.begin() + 3),
                ElementsAre("keepaspect=yes", "panscan=1.0", "video-zoom=0.643856"));
    press(Qt::Key_0, Qt::ControlModifier);
    EXPECT_EQ(newSettings().at(0), "keepaspect=no");
    EXPECT_TRUE(isFocused()) << "the area stays";
}

TEST_F(ZoomTest, PictureLeavesNoBarWhenTheWindowChangesItsShape) {
    magnifyTwice();
    for (int step = 0; step < 10; ++step)
        press(Qt::Key_Down);
    newSettings();
    window().setWindowState(Qt::WindowFullScreen); // on a square screen
    ASSERT_TRUE(eventually([&] { return interactionView()->size() == QSizeF(800, 800); }));
    EXPECT_THAT(newSettings(),
                ElementsAre("keepaspect=yes", "panscan=0", "video-zoom=1.000000",
                            "video-pan-x=0.000000", testing::StartsWith("video-pan-y=-0.0555")));
}

TEST_F(ZoomTest, MapIsShownForAMoment) {
    turnWheel(3);
    EXPECT_TRUE(map().isVisible());
    EXPECT_EQ(map().spokenText(), u"Magnified 2.0 times"_s);
    EXPECT_NEAR(map().part().width(), 0.512, 0.001);
    queue.advance(0.9);
    turnWheel(1);
    queue.advance(0.9);
    EXPECT_TRUE(map().isVisible()) << "the last change was a moment ago";
    queue.advance(0.2);
    EXPECT_FALSE(map().isVisible());
}

TEST_F(ZoomTest, AnotherCameraIsShownWhole) {
    magnifyTwice();
    delegate->cameraMenuItemSelected(1);
    const auto settings = newSettings();
    EXPECT_EQ(std::vector(settings.begin(), settings.begin() + 3), whole);
    EXPECT_FALSE(map().isVisible());
}

TEST_F(ZoomTest, NewPlayerOfTheSameCameraShowsTheSamePart) {
    magnifyTwice();
    delegate->stopPlayerEngine();
    newSettings();
    delegate->startPlayer();
    EXPECT_THAT(newSettings(), testing::Contains("video-zoom=1.000000"));
}

TEST_F(ZoomTest, WheelDoesNothingWhileAnAreaIsSelected) {
    delegate->toggleFocusArea();
    turnWheel(1);
    EXPECT_THAT(newSettings(), IsEmpty());
}

TEST_F(ZoomTest, WheelDoesNothingWithoutAPicture) {
    delegate->cameraMenuItemSelected(1);
    newSettings();
    turnWheel(1);
    EXPECT_THAT(newSettings(), IsEmpty());
}

} // namespace
} // namespace lumvik::test
