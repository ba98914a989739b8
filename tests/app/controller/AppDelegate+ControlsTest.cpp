#include "ControllerFixture.h"

#include <QGuiApplication>

namespace lumvik::test {
namespace {

class ControlsTest : public ControllerFixture {
  protected:
    [[nodiscard]] QList<QQuickItem *> controls() {
        return {cameraPicker(), stayOnTopButton(), focusViewerButton(), closeViewerButton()};
    }
    [[nodiscard]] QList<bool> enabled() {
        QList<bool> enabled;
        for (const QQuickItem *control : controls())
            enabled.append(control->isEnabled());
        return enabled;
    }
    [[nodiscard]] bool allAreShown() {
        return std::ranges::all_of(controls(), [](const QQuickItem *control) {
            return control->isVisible() && control->opacity() == 1;
        });
    }
    [[nodiscard]] bool allAreHidden() {
        return std::ranges::none_of(controls(), [](const QQuickItem *control) {
            return control->isVisible() || control->opacity() > 0;
        });
    }
    void show(bool visible, bool animated = false) {
        if (!animated) {
            setPointerOverViewer(visible);
            return;
        }
        // The controller ignores a pointer that enters while another application is active.
        ASSERT_TRUE(eventually(
            [] { return QGuiApplication::applicationState() == Qt::ApplicationActive; }));
        delegate->viewerHoverChanged(visible);
    }
};

TEST_F(ControlsTest, AreHiddenAndTransparentAtFirst) {
    launch(threeCameras());
    EXPECT_TRUE(allAreHidden());
}

TEST_F(ControlsTest, AreDisabledAtFirst) {
    launch(threeCameras());
    EXPECT_EQ(enabled(), (QList<bool>{false, false, false, false}));
}

TEST_F(ControlsTest, AreEnabledWhileShownIfThereAreCameras) {
    launch(threeCameras());
    show(true);
    EXPECT_TRUE(allAreShown());
    EXPECT_EQ(enabled(), (QList<bool>{true, true, true, true}));
    show(false);
    EXPECT_TRUE(allAreHidden());
    EXPECT_EQ(enabled(), (QList<bool>{false, false, false, false}));
}

TEST_F(ControlsTest, WithoutCamerasOnlyPinAndCloseAreEnabled) {
    launch(CameraList());
    show(true);
    EXPECT_TRUE(allAreShown());
    EXPECT_EQ(enabled(), (QList<bool>{false, true, false, true}));
}

TEST_F(ControlsTest, AreShownWhileThePointerIsOverTheViewerOrTheMenuIsOpen) {
    launch(threeCameras());
    struct Row {
        bool pointer;
        bool menu;
        bool visible;
    };
    for (const Row row : {Row{false, false, false}, Row{true, false, true}, Row{false, true, true},
                          Row{true, true, true}}) {
        setPointerOverViewer(row.pointer);
        if (row.menu)
            delegate->menuWillOpen();
        else
            delegate->menuDidClose();
        EXPECT_EQ(controlsAreWanted(), row.visible) << row.pointer << ' ' << row.menu;
    }
}

TEST_F(ControlsTest, AreShownWhileAnAreaIsSelected) {
    launch(threeCameras());
    delegate->toggleFocusArea();
    delegate->updateViewerControls(false);
    EXPECT_TRUE(allAreShown());
    setPointerOverViewer(true);
    setPointerOverViewer(false);
    EXPECT_TRUE(allAreShown()) << "the controls stay shown although the pointer has left";
    delegate->toggleFocusArea();
    delegate->updateViewerControls(false);
    EXPECT_TRUE(allAreHidden());
}

TEST_F(ControlsTest, RectsAreThoseOfTheVisibleControlsInOrder) {
    launch(threeCameras());
    EXPECT_TRUE(access().viewerControlRects().isEmpty());
    show(true);
    QList<QRectF> all;
    for (const QQuickItem *control : controls())
        all.append(QRectF(control->position(), control->size()));
    EXPECT_EQ(access().viewerControlRects(), all);
    focusViewerButton()->setVisible(false);
    all.removeAt(2);
    EXPECT_EQ(access().viewerControlRects(), all);
    show(false);
    EXPECT_TRUE(access().viewerControlRects().isEmpty());
}

TEST_F(ControlsTest, RectsExcludeControlsTooTransparentToBeSeen) {
    launch(threeCameras());
    show(true);
    cameraPicker()->setOpacity(0.01);
    stayOnTopButton()->setOpacity(0.011);
    focusViewerButton()->setOpacity(0);
    EXPECT_EQ(access().viewerControlRects().size(), 2);
    EXPECT_EQ(access().viewerControlRects().first().topLeft(), stayOnTopButton()->position());
}

TEST_F(ControlsTest, HiddenControlsLetTheSurfaceReceiveThePointer) {
    launch(threeCameras());
    show(true);
    const QPointF inside = closeViewerButton()->position() + QPointF(5, 5);
    EXPECT_FALSE(interactionView()->contains(inside));
    show(false);
    EXPECT_TRUE(interactionView()->contains(inside));
}

TEST_F(ControlsTest, AreShownWhileThePointerIsOverTheViewer) {
    launch(threeCameras());
    ASSERT_TRUE(
        eventually([] { return QGuiApplication::applicationState() == Qt::ApplicationActive; }));
    delegate->viewerHoverChanged(true);
    EXPECT_TRUE(controlsAreWanted());
    delegate->viewerHoverChanged(false);
    EXPECT_FALSE(controlsAreWanted());
}

TEST_F(ControlsTest, FadeFor200MillisecondsAndAreFaintOnlyBriefly) {
    launch(threeCameras());
    show(true, true);
    EXPECT_EQ(access().viewerControlFade().duration(), 200);
    // The fade-in starts fast and the fade-out ends fast, so the controls are faint only briefly.
    EXPECT_GT(access().viewerControlFade().easingCurve().valueForProgress(0.5), 0.5);
    ASSERT_TRUE(eventually([&] { return allAreShown(); }));
    show(false, true);
    EXPECT_EQ(access().viewerControlFade().duration(), 200);
    EXPECT_LT(access().viewerControlFade().easingCurve().valueForProgress(0.5), 0.5);
}

TEST_F(ControlsTest, FadeInAndOutAndAreHiddenOnlyAfterwards) {
    launch(threeCameras());
    show(true, true);
    EXPECT_TRUE(closeViewerButton()->isVisible())
        << "the button becomes visible before it fades in";
    EXPECT_LT(closeViewerButton()->opacity(), 1);
    EXPECT_TRUE(eventually([&] { return allAreShown(); }));
    show(false, true);
    EXPECT_TRUE(closeViewerButton()->isVisible())
        << "the button is hidden only after it has faded out";
    EXPECT_FALSE(closeViewerButton()->isEnabled()) << "the button is disabled at once";
    EXPECT_TRUE(eventually([&] { return allAreHidden(); }));
}

TEST_F(ControlsTest, StayShownWhenTheFadeOutIsReversed) {
    launch(threeCameras());
    show(true);
    show(false, true);
    ASSERT_TRUE(eventually([&] { return closeViewerButton()->opacity() < 1; }));
    show(true, true);
    EXPECT_TRUE(eventually([&] { return allAreShown(); }));
    EXPECT_TRUE(controlsAreWanted());
}

TEST_F(ControlsTest, LieAboveEverythingElse) {
    launch(threeCameras());
    videoHost()->setZ(0.5);
    show(true);
    for (const QQuickItem *control : controls()) {
        EXPECT_GT(control->z(), videoHost()->z());
        EXPECT_GT(control->z(), interactionView()->z());
    }
    EXPECT_LT(cameraPicker()->z(), stayOnTopButton()->z());
    EXPECT_LT(stayOnTopButton()->z(), focusViewerButton()->z());
    EXPECT_LT(focusViewerButton()->z(), closeViewerButton()->z());
}

TEST_F(ControlsTest, DoNotChangeWhileTheViewerCloses) {
    launch(threeCameras());
    delegate->closeCameraViewer();
    delegate->menuWillOpen();
    EXPECT_FALSE(controlsAreWanted());
    EXPECT_TRUE(allAreHidden());
}

TEST_F(ControlsTest, ClosingThePickersMenuOutsideHidesThem) {
    launch(threeCameras());
    delegate->menuWillOpen();
    EXPECT_TRUE(controlsAreWanted());
    delegate->menuDidClose();
    EXPECT_FALSE(controlsAreWanted());
}

TEST_F(ControlsTest, ClosingThePickersMenuUnderThePointerKeepsThem) {
    launch(threeCameras());
    setPointerOverViewer(true);
    delegate->menuWillOpen();
    delegate->menuDidClose();
    EXPECT_TRUE(controlsAreWanted());
}

TEST_F(ControlsTest, ChangeTheirArrangementAt290Points) {
    launch(threeCameras());
    window().setMinimumSize({100, 100});
    window().setContentAspectRatio({});
    for (int round = 0; round < 2; ++round) {
        resizeWindow({289, 400});
        EXPECT_GT(cameraPicker()->y(), closeViewerButton()->y());
        resizeWindow({290, 400});
        EXPECT_EQ(cameraPicker()->y(), closeViewerButton()->y());
    }
}

TEST_F(ControlsTest, PictureAndSurfaceFillTheWindow) {
    launch(threeCameras());
    window().setContentAspectRatio({});
    resizeWindow({800, 500});
    EXPECT_EQ(videoHost()->size(), QSizeF(800, 500));
    EXPECT_EQ(interactionView()->size(), QSizeF(800, 500));
    EXPECT_EQ(videoHost()->position(), QPointF());
    EXPECT_EQ(closeViewerButton()->x(), 800 - 12 - 28);
    EXPECT_GE(emptyStateLabel()->x(), 80);
    EXPECT_LE(emptyStateLabel()->x() + emptyStateLabel()->width(), 800 - 80);
}

TEST_F(ControlsTest, ActOnlyWhileEnabled) {
    launch(threeCameras());
    show(true);
    show(false);
    stayOnTopButton()->performClick();
    EXPECT_FALSE(stayOnTopButton()->isOn()) << "the pin is disabled while it is hidden";
    show(true);
    stayOnTopButton()->performClick();
    EXPECT_TRUE(stayOnTopButton()->isOn());
    EXPECT_EQ(window().level(), WindowLevel::floating);
    closeViewerButton()->performClick();
    EXPECT_EQ(terminations, 1);
}

} // namespace
} // namespace lumvik::test
