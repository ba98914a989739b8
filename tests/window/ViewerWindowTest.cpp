// Tests of the animation from one frame to another. The tests set the geometry themselves to
// simulate reports from the window manager.

#include "window/ViewerWindow.h"

#include <QMouseEvent>
#include <QTest>

#include <gtest/gtest.h>

namespace lumvik {
namespace {

// This variable keeps Qt's offscreen platform from offering the X11 interface. It must be set
// before the application object is created.
const bool avoidsX11 = qputenv("QT_QPA_OFFSCREEN_NO_GLX", "1");

constexpr QRect first{60, 60, 640, 360};
constexpr QRect second{40, 100, 500, 300};

class ViewerWindowTest : public testing::Test {
  protected:
    ViewerWindowTest() {
        static const bool drawsBySoftware = [] {
            QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
            return true;
        }();
        EXPECT_TRUE(avoidsX11 && drawsBySoftware);
        window.setGeometry(first);
        window.show();
        EXPECT_TRUE(eventually([this] { return window.geometry() == first; }));
    }
    [[nodiscard]] static bool eventually(const std::function<bool()> &predicate) {
        return QTest::qWaitFor(predicate, 10000);
    }
    [[nodiscard]] bool arrivesAt(const QRect &frame) {
        return eventually([&] { return window.geometry() == frame; });
    }
    void press(Qt::MouseButton button) {
        QMouseEvent event(QEvent::MouseButtonPress, QPointF(20, 20), QPointF(20, 20), button,
                          button, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &event);
    }

    int moves = 0;
    ViewerWindow window{{.didMove = [this] { ++moves; },
                         .didResize = nullptr,
                         .didChangeState = nullptr,
                         .willClose = nullptr,
                         .keyDown = nullptr,
                         .mouseDown = nullptr,
                         .graphicsFailed = nullptr}};
};

TEST_F(ViewerWindowTest, FrameIsTheTargetOfTheAnimation) {
    EXPECT_EQ(window.frame(), first);
    window.setFrame(second);
    EXPECT_EQ(window.frame(), second);
    EXPECT_EQ(window.rememberedFrame(), second);
    EXPECT_EQ(window.geometry(), first) << "the animation has just begun";
    EXPECT_TRUE(arrivesAt(second));
    EXPECT_EQ(window.frame(), second);
}

TEST_F(ViewerWindowTest, MousePressCompletesTheAnimationAtOnce) {
    for (const auto button : {Qt::LeftButton, Qt::RightButton}) {
        window.setFrame(second);
        press(button);
        EXPECT_EQ(window.geometry(), second);
        window.setFrame(first);
        press(button);
        EXPECT_EQ(window.geometry(), first);
    }
}

TEST_F(ViewerWindowTest, NextAnimationStartsAtTheTargetOfThePreviousOne) {
    window.setFrame(second);
    press(Qt::RightButton);
    window.setGeometry(QRect(50, 80, 570, 330)); // a late report from the animation
    window.setFrame(first);
    EXPECT_EQ(window.frame(), first);
    EXPECT_TRUE(arrivesAt(first));
}

TEST_F(ViewerWindowTest, LateReportFromTheAnimationIsIgnored) {
    window.setFrame(second);
    ASSERT_TRUE(arrivesAt(second));
    // A report may combine the size of one step with the position of another.
    window.setGeometry(QRect(58, 98, 510, 350));
    EXPECT_EQ(window.frame(), second);
    EXPECT_TRUE(arrivesAt(second)) << "the frame is requested again";
}

TEST_F(ViewerWindowTest, RefusedFrameIsRequestedAgainOnceAndThenGivenUp) {
    window.setFrame(second);
    ASSERT_TRUE(arrivesAt(second));
    window.setGeometry(first);
    ASSERT_TRUE(arrivesAt(second)) << "the frame is requested again";
    const int before = moves;
    window.setGeometry(first);
    EXPECT_TRUE(eventually([this] { return window.frame() == first; }));
    EXPECT_GT(moves, before) << "didMove reports that frame() has changed";
    EXPECT_EQ(window.geometry(), first);
}

TEST_F(ViewerWindowTest, FrameOutsideTheAnimationIsTheUsersChoice) {
    window.setFrame(second);
    ASSERT_TRUE(arrivesAt(second));
    const QRect chosen(200, 300, 480, 270);
    window.setGeometry(chosen);
    EXPECT_TRUE(eventually([&] { return window.frame() == chosen; }));
    EXPECT_EQ(window.geometry(), chosen);
}

TEST_F(ViewerWindowTest, SmallestSizeAppliesFromTheEndOfTheAnimation) {
    window.setSmallestSize({160, 160});
    window.setGeometry(QRect(60, 60, 200, 180));
    ASSERT_TRUE(arrivesAt({60, 60, 200, 180}));
    window.setFrame(first);
    window.setSmallestSize(ViewerWindow::minimumViewerSize);
    EXPECT_EQ(window.size(), QSize(200, 180)) << "the size must not jump at the start";
    EXPECT_TRUE(arrivesAt(first));
    EXPECT_TRUE(
        eventually([this] { return window.minimumSize() == ViewerWindow::minimumViewerSize; }));
}

TEST_F(ViewerWindowTest, AspectRatioSetDuringTheAnimationAppliesAtItsEnd) {
    window.setFrame({60, 60, 640, 480});
    window.setContentAspectRatio({16, 9});
    EXPECT_TRUE(eventually([this] {
        const QSize size = window.size();
        return size.height() < 480 && qAbs(size.width() * 9 - size.height() * 16) <= 16;
    }));
}

TEST_F(ViewerWindowTest, ShapesThatComeAndGoNeitherShrinkNorMoveTheWindow) {
    constexpr QRect chosen{10, 100, 780, 438}; // almost as wide as the screen
    window.setGeometry(chosen);
    for (int i = 0; i < 100; ++i) {
        for (const ContentAspectRatio shape :
             {ContentAspectRatio{1, 1}, ContentAspectRatio{9, 16}, ContentAspectRatio{4, 1}}) {
            window.setContentAspectRatio(shape);
            ASSERT_NE(window.geometry().size(), chosen.size());
            ASSERT_TRUE(window.visibleArea().contains(window.geometry()));
        }
    }
    window.setContentAspectRatio({780, 438});
    EXPECT_EQ(window.geometry(), chosen);
}

TEST_F(ViewerWindowTest, FrameSetInFullScreenIsUsedAfterwards) {
    window.showFullScreen();
    ASSERT_TRUE(eventually([this] { return !window.hasOrdinaryFrame(); }));
    window.setFrame(second);
    EXPECT_NE(window.geometry(), second);
    window.showNormal();
    EXPECT_TRUE(arrivesAt(second));
}

TEST_F(ViewerWindowTest, AnimationInterruptedByFullScreenReachesItsTargetAfterwards) {
    window.setFrame(second);
    window.showFullScreen();
    ASSERT_TRUE(eventually([this] { return !window.hasOrdinaryFrame(); }));
    window.showNormal();
    EXPECT_TRUE(arrivesAt(second));
}

TEST_F(ViewerWindowTest, FrameOutsideAllScreensIsMovedOntoOne) {
    window.setFrame({5000, 5000, 640, 360});
    const QRect screen = window.visibleArea();
    EXPECT_TRUE(screen.contains(window.frame()));
    EXPECT_EQ(window.frame().size(), QSize(640, 360));
}

TEST_F(ViewerWindowTest, FrameFromALargerScreenIsShownCompletelyAndRememberedUnchanged) {
    const WindowPlace earlier{{500, 300, 640, 360}, {0, 0, 1600, 1000}};
    window.restorePlace(earlier);
    EXPECT_EQ(window.frame(), QRect(160, 300, 640, 360)) << "the screen has 800 by 800 points";
    EXPECT_EQ(window.place(), earlier);
    EXPECT_EQ(window.savedFrame(), QStringLiteral("500 300 640 360 0 0 1600 1000"));
    window.restorePlace({earlier.frame, {0, 0, 800, 800}});
    EXPECT_EQ(window.frame(), earlier.frame) << "the user left the window partly beyond the edge";
    EXPECT_EQ(window.savedFrame(), QStringLiteral("500 300 640 360 0 0 800 800"));
}

} // namespace
} // namespace lumvik
