#include "ControllerFixture.h"
#include "fakes/Named.h"

#include <QGuiApplication>
#include <QScreen>

namespace lumvik::test {
namespace {

class WindowTest : public ControllerFixture {
  protected:
    [[nodiscard]] QRect frame() { return {window().position(), window().size()}; }
    /// The window frame in the preferences file.
    [[nodiscard]] QString storedFrame() {
        home.userDefaults().synchronize();
        return home.userDefaults().string(frameKey);
    }
    void storePreference(const QString &key, const QVariant &value) {
        home.userDefaults().set(key, value);
        home.userDefaults().synchronize();
    }
};

TEST_F(WindowTest, IsBlackBorderlessAndHasItsTitle) {
    launch(threeCameras());
    EXPECT_EQ(window().title(), u"Lumvik"_s);
    EXPECT_EQ(window().color(), QColor(Qt::black));
    EXPECT_TRUE(window().flags().testFlag(Qt::FramelessWindowHint));
    EXPECT_EQ(window().minimumSize(), QSize(480, 270));
    EXPECT_EQ(window().contentAspectRatio(), (ContentAspectRatio{16, 9}));
}

TEST_F(WindowTest, IsCentredAtTheFirstLaunch) {
    launch(threeCameras());
    const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
    if (area.width() >= 1120 && area.height() >= 630) {
        EXPECT_EQ(frame().size(), QSize(1120, 630));
    }
    EXPECT_NEAR(frame().width() * 9, frame().height() * 16, 16);
    EXPECT_LE(std::abs(frame().center().x() - area.center().x()), 1);
    EXPECT_LE(std::abs(frame().center().y() - area.center().y()), 1);
}

TEST_F(WindowTest, RestoresItsSavedFrame) {
    storePreference(frameKey, u"31 17 640 360 0 0 800 800"_s);
    launch(threeCameras());
    EXPECT_EQ(frame(), QRect(31, 17, 640, 360));
}

TEST_F(WindowTest, IsMovedOnScreenButRemembersItsFrameIfItsScreenIsDisconnected) {
    const QString saved = u"500 300 640 360 0 0 1600 1000"_s;
    storePreference(frameKey, saved);
    launch(threeCameras());
    EXPECT_EQ(frame(), QRect(160, 300, 640, 360)) << "the screen has 800 by 800 points";
    QCoreApplication::processEvents();
    EXPECT_EQ(home.userDefaults().string(frameKey), saved);
}

TEST_F(WindowTest, StaysPartlyOffScreenWhereTheUserPutIt) {
    storePreference(frameKey, u"500 300 640 360 0 0 800 800"_s);
    launch(threeCameras());
    EXPECT_EQ(frame(), QRect(500, 300, 640, 360));
}

TEST_F(WindowTest, SavedFrameBelowTheMinimumSizeIsEnlargedOnScreen) {
    storePreference(frameKey, u"640 640 160 160 0 0 800 800"_s);
    launch(threeCameras());
    EXPECT_EQ(frame(), QRect(320, 530, 480, 270));
}

TEST_F(WindowTest, IsCentredWhenTheSavedFrameIsInvalid) {
    storePreference(frameKey, u"somewhere"_s);
    launch(threeCameras());
    const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
    EXPECT_LE(std::abs(frame().center().x() - area.center().x()), 1);
}

TEST_F(WindowTest, RemembersItsFrameAfterMovesAndResizes) {
    launch(threeCameras());
    window().setContentAspectRatio({});
    window().setGeometry(20, 30, 500, 300);
    ASSERT_TRUE(eventually([&] { return frame() == QRect(20, 30, 500, 300); }));
    EXPECT_TRUE(eventually([&] { return storedFrame().startsWith(u"20 30 500 300 "_s); }))
        << qPrintable(storedFrame());
    window().setPosition(50, 60);
    EXPECT_TRUE(eventually([&] { return storedFrame().startsWith(u"50 60 500 300 "_s); }))
        << qPrintable(storedFrame());
}

TEST_F(WindowTest, MoveJustBeforeMinimisingIsRemembered) {
    launch(threeCameras());
    window().setContentAspectRatio({});
    window().setGeometry(20, 30, 500, 300);
    ASSERT_TRUE(eventually([&] { return storedFrame().startsWith(u"20 30 500 300 "_s); }));
    queue.advance(10);
    window().setPosition(50, 60);
    ASSERT_TRUE(eventually([&] { return storedFrame().startsWith(u"50 60 500 300 "_s); }));
    window().setWindowState(Qt::WindowMinimized);
    queue.runPending();
    EXPECT_TRUE(storedFrame().startsWith(u"50 60 500 300 "_s)) << qPrintable(storedFrame());
}

TEST_F(WindowTest, TemporaryMaximumIsNotRemembered) {
    storePreference(frameKey, u"31 17 640 360 0 0 800 800"_s);
    launch(threeCameras());
    const QString before = storedFrame();
    delegate->toggleTemporaryMaximum();
    window().setContentAspectRatio({});
    resizeWindow({700, 500});
    delegate->windowDidMove();
    delegate->windowDidResize();
    EXPECT_EQ(storedFrame(), before);
    delegate->toggleTemporaryMaximum();
    queue.advance(0.35);
    EXPECT_NE(storedFrame(), before) << "the restored frame is stored again, in a different format";
}

TEST_F(WindowTest, IsAtTheNormalLevelUntilPinned) {
    launch(threeCameras());
    EXPECT_FALSE(stayOnTopButton()->isOn());
    EXPECT_EQ(window().level(), WindowLevel::normal);
    stayOnTopButton()->setOn(true);
    delegate->toggleStayOnTop();
    EXPECT_EQ(window().level(), WindowLevel::floating);
    EXPECT_TRUE(home.userDefaults().boolean(u"staysOnTop"_s));
    stayOnTopButton()->setOn(false);
    delegate->toggleStayOnTop();
    EXPECT_EQ(window().level(), WindowLevel::normal);
    EXPECT_FALSE(home.userDefaults().boolean(u"staysOnTop"_s));
}

TEST_F(WindowTest, IsPinnedAgainAtTheNextLaunch) {
    storePreference(u"staysOnTop"_s, true);
    launch(threeCameras());
    EXPECT_TRUE(stayOnTopButton()->isOn());
    EXPECT_EQ(window().level(), WindowLevel::floating);
}

TEST_F(WindowTest, ShowsTheRememberedCamera) {
    storePreference(u"selectedCameraIndex"_s, 2);
    launchAndPlay(threeCameras());
    EXPECT_EQ(cameraPicker()->indexOfSelectedItem(), 2);
    EXPECT_TRUE(playbackLog().contains(u"Loading camera index 2 for selection generation 0."_s));
}

class RememberedCameraOutsideTheList : public WindowTest,
                                       public testing::WithParamInterface<Named<int>> {};

TEST_P(RememberedCameraOutsideTheList, IsIgnored) {
    storePreference(u"selectedCameraIndex"_s, GetParam().value);
    launch(threeCameras());
    EXPECT_EQ(cameraPicker()->indexOfSelectedItem(), 0);
}

INSTANTIATE_TEST_SUITE_P(, RememberedCameraOutsideTheList,
                         testing::Values(Named<int>{-1, "BeforeTheFirst"},
                                         Named<int>{3, "AfterTheLast"},
                                         Named<int>{1000000, "FarAfterTheLast"}),
                         nameOfParameter);

// ---- Closing ----

TEST_F(WindowTest, ClosingStopsThePlayerAndAdvancesTheSelectionGeneration) {
    launchAndPlay(threeCameras());
    setPointerOverViewer(true);
    delegate->menuWillOpen();
    const std::int64_t selection = access().selectionGeneration();
    delegate->closeCameraViewer();
    EXPECT_FALSE(window().isVisible());
    EXPECT_EQ(access().selectionGeneration(), selection + 1);
    EXPECT_EQ(mpv.liveCores(), 0);
    EXPECT_EQ(mpv.liveCores(), 0);
    EXPECT_FALSE(access().pointerIsOverViewer());
    EXPECT_FALSE(access().cameraMenuIsOpen());
    EXPECT_EQ(terminations, 1);
}

TEST_F(WindowTest, ClosingCancelsEverythingThatCouldStartAPlayer) {
    launchAndPlay(threeCameras());
    delegate->toggleFocusArea();
    ASSERT_TRUE(interactionView()->isSelectingFocusArea());
    mpv.sendEndFile(MPV_END_FILE_REASON_ERROR, MPV_ERROR_LOADING_FAILED);
    ASSERT_TRUE(runUntil([this] { return access().playbackRetry() != nullptr; }));
    ASSERT_GE(queue.delays().size(), 2U)
        << "at least one delay of the watchdog and one of the recovery attempt";
    delegate->closeCameraViewer();
    EXPECT_FALSE(interactionView()->isSelectingFocusArea());
    EXPECT_TRUE(queue.delays().empty());
    EXPECT_EQ(access().playbackRetry(), nullptr);
    mpv.forgetCalls();
    queue.advance(120);
    EXPECT_EQ(mpv.position("mpv_create"), -1);
}

TEST_F(WindowTest, ClosingTwiceQuitsOnce) {
    launchAndPlay(threeCameras());
    delegate->closeCameraViewer();
    delegate->closeCameraViewer();
    window().close();
    EXPECT_EQ(access().selectionGeneration(), 1);
    EXPECT_EQ(terminations, 1);
}

TEST_F(WindowTest, GraphicsFailureIsShownOnceAndQuits) {
    launch(threeCameras());
    delegate->graphicsFailed(u"no context"_s);
    delegate->graphicsFailed(u"no context"_s);
    EXPECT_EQ(terminations, 0);
    queue.runPending();
    EXPECT_EQ(alerts.shown().size(), 1);
    EXPECT_EQ(terminations, 1);
}

TEST_F(WindowTest, GraphicsFailureRestartsTheProgramWithoutOpenGL) {
    canRestartWithSoftwareRenderer = true;
    launch(threeCameras());
    delegate->graphicsFailed(u"no context"_s);
    delegate->graphicsFailed(u"no context"_s);
    queue.runPending();
    EXPECT_EQ(rendererRestarts, 1);
    EXPECT_TRUE(alerts.shown().isEmpty());
}

} // namespace
} // namespace lumvik::test
