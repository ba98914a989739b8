#include "ControllerFixture.h"

#include <QGuiApplication>

namespace lumvik::test {
namespace {

class ControlsTest : public ControllerFixture {
  protected:
    [[nodiscard]] QList<QQuickItem *> controls() {
        return {access().cameraPicker(), access().stayOnTopButton(), access().focusViewerButton(),
                access().closeViewerButton()};
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
        access().pointerIsOverViewer() = visible;
        delegate->updateViewerControls(animated);
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

TEST_F(ControlsTest, AreAllEnabledWhileShownWithCameras) {
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
        access().pointerIsOverViewer() = row.pointer;
        access().cameraMenuIsOpen() = row.menu;
        delegate->updateViewerControls(false);
        EXPECT_EQ(access().viewerControlsAreVisible(), row.visible)
            << row.pointer << ' ' << row.menu;
    }
}

TEST_F(ControlsTest, AreShownWhileAnAreaIsChosen) {
    launch(threeCameras());
    access().isSelectingFocusArea() = true;
    delegate->updateViewerControls(false);
    EXPECT_TRUE(allAreShown());
    access().pointerIsOverViewer() = true;
    delegate->updateViewerControls(false);
    access().pointerIsOverViewer() = false;
    delegate->updateViewerControls(false);
    EXPECT_TRUE(allAreShown()) << "though the pointer has left";
    access().isSelectingFocusArea() = false;
    delegate->updateViewerControls(false);
    EXPECT_TRUE(allAreHidden());
}

TEST_F(ControlsTest, RectsAreThoseOfTheVisibleOnesInTheirOrder) {
    launch(threeCameras());
    EXPECT_TRUE(access().viewerControlRects().isEmpty());
    show(true);
    QList<QRectF> all;
    for (const QQuickItem *control : controls())
        all.append(QRectF(control->position(), control->size()));
    EXPECT_EQ(access().viewerControlRects(), all);
    access().focusViewerButton()->setVisible(false);
    all.removeAt(2);
    EXPECT_EQ(access().viewerControlRects(), all);
    show(false);
    EXPECT_TRUE(access().viewerControlRects().isEmpty());
}

TEST_F(ControlsTest, RectsBeginWhereOneCanBeSeen) {
    launch(threeCameras());
    show(true);
    access().cameraPicker()->setOpacity(0.01);
    access().stayOnTopButton()->setOpacity(0.011);
    access().focusViewerButton()->setOpacity(0);
    EXPECT_EQ(access().viewerControlRects().size(), 2);
    EXPECT_EQ(access().viewerControlRects().first().topLeft(),
              access().stayOnTopButton()->position());
}

TEST_F(ControlsTest, ThatFadedOutLeaveTheirPlaceToTheSurface) {
    launch(threeCameras());
    show(true);
    const QPointF inside = access().closeViewerButton()->position() + QPointF(5, 5);
    EXPECT_FALSE(access().interactionView()->contains(inside));
    show(false);
    EXPECT_TRUE(access().interactionView()->contains(inside));
}

TEST_F(ControlsTest, FollowThePointer) {
    launch(threeCameras());
    ASSERT_TRUE(
        eventually([] { return QGuiApplication::applicationState() == Qt::ApplicationActive; }));
    delegate->viewerHoverChanged(true);
    EXPECT_TRUE(access().viewerControlsAreVisible());
    delegate->viewerHoverChanged(false);
    EXPECT_FALSE(access().viewerControlsAreVisible());
}

TEST_F(ControlsTest, FadeForAFifthOfASecondFastAtTheEndOutOfSight) {
    launch(threeCameras());
    show(true, true);
    EXPECT_EQ(access().viewerControlFade().duration(), 200);
    // It eases out on the way in, and in on the way out: the controls are faint only shortly.
    EXPECT_GT(access().viewerControlFade().easingCurve().valueForProgress(0.5), 0.5);
    ASSERT_TRUE(eventually([&] { return allAreShown(); }));
    show(false, true);
    EXPECT_EQ(access().viewerControlFade().duration(), 200);
    EXPECT_LT(access().viewerControlFade().easingCurve().valueForProgress(0.5), 0.5);
}

TEST_F(ControlsTest, FadeInAndOutAndAreHiddenOnlyAfterwards) {
    launch(threeCameras());
    show(true, true);
    EXPECT_TRUE(access().closeViewerButton()->isVisible()) << "unhidden before the fade";
    EXPECT_LT(access().closeViewerButton()->opacity(), 1);
    EXPECT_TRUE(eventually([&] { return allAreShown(); }));
    show(false, true);
    EXPECT_TRUE(access().closeViewerButton()->isVisible()) << "hidden only after the fade";
    EXPECT_FALSE(access().closeViewerButton()->isEnabled()) << "disabled at once";
    EXPECT_TRUE(eventually([&] { return allAreHidden(); }));
}

TEST_F(ControlsTest, ShownAgainBeforeTheFadeOutEndedStayShown) {
    launch(threeCameras());
    show(true);
    show(false, true);
    ASSERT_TRUE(eventually([&] { return access().closeViewerButton()->opacity() < 1; }));
    show(true, true);
    EXPECT_TRUE(eventually([&] { return allAreShown(); }));
    EXPECT_TRUE(access().viewerControlsAreVisible());
}

TEST_F(ControlsTest, LieAboveEverythingElse) {
    launch(threeCameras());
    access().videoHost()->setZ(0.5);
    show(true);
    for (const QQuickItem *control : controls()) {
        EXPECT_GT(control->z(), access().videoHost()->z());
        EXPECT_GT(control->z(), access().interactionView()->z());
    }
    EXPECT_LT(access().cameraPicker()->z(), access().stayOnTopButton()->z());
    EXPECT_LT(access().stayOnTopButton()->z(), access().focusViewerButton()->z());
    EXPECT_LT(access().focusViewerButton()->z(), access().closeViewerButton()->z());
}

TEST_F(ControlsTest, DoNotChangeWhileTheViewerCloses) {
    launch(threeCameras());
    access().isClosingViewer() = true;
    show(true);
    EXPECT_FALSE(access().viewerControlsAreVisible());
    EXPECT_TRUE(allAreHidden());
}

TEST_F(ControlsTest, ClosingThePickersMenuOutsideHidesThem) {
    launch(threeCameras());
    delegate->menuWillOpen();
    EXPECT_TRUE(access().cameraMenuIsOpen());
    EXPECT_TRUE(access().viewerControlsAreVisible());
    delegate->menuDidClose();
    EXPECT_FALSE(access().cameraMenuIsOpen());
    EXPECT_FALSE(access().viewerControlsAreVisible());
}

TEST_F(ControlsTest, ClosingThePickersMenuUnderThePointerKeepsThem) {
    launch(threeCameras());
    access().pointerIsOverViewer() = true;
    delegate->menuWillOpen();
    delegate->menuDidClose();
    EXPECT_TRUE(access().viewerControlsAreVisible());
}

TEST_F(ControlsTest, SwapTheirArrangementAt290Points) {
    launch(threeCameras());
    access().window()->setMinimumSize({100, 100});
    access().window()->setContentAspectRatio({});
    for (int round = 0; round < 2; ++round) {
        resizeWindow({289, 400});
        EXPECT_TRUE(access().usesCompactViewerControls());
        EXPECT_GT(access().cameraPicker()->y(), access().closeViewerButton()->y());
        resizeWindow({290, 400});
        EXPECT_FALSE(access().usesCompactViewerControls());
        EXPECT_EQ(access().cameraPicker()->y(), access().closeViewerButton()->y());
    }
}

TEST_F(ControlsTest, FillTheWindowWithPictureAndSurface) {
    launch(threeCameras());
    access().window()->setContentAspectRatio({});
    resizeWindow({800, 500});
    EXPECT_EQ(access().videoHost()->size(), QSizeF(800, 500));
    EXPECT_EQ(access().interactionView()->size(), QSizeF(800, 500));
    EXPECT_EQ(access().videoHost()->position(), QPointF());
    EXPECT_EQ(access().closeViewerButton()->x(), 800 - 12 - 28);
    EXPECT_GE(access().emptyStateLabel()->x(), 80);
    EXPECT_LE(access().emptyStateLabel()->x() + access().emptyStateLabel()->width(), 800 - 80);
}

TEST_F(ControlsTest, RunTheirActionsOnlyWhileEnabled) {
    launch(threeCameras());
    show(true);
    show(false);
    access().stayOnTopButton()->performClick();
    EXPECT_FALSE(access().stayOnTopButton()->isOn()) << "disabled while hidden";
    show(true);
    access().stayOnTopButton()->performClick();
    EXPECT_TRUE(access().stayOnTopButton()->isOn());
    EXPECT_EQ(access().window()->level(), WindowLevel::floating);
    access().closeViewerButton()->performClick();
    EXPECT_EQ(terminations, 1);
}

} // namespace
} // namespace lumvik::test
