#include "ControllerFixture.h"

#include <QGuiApplication>
#include <QScreen>

namespace lumvik::test {
namespace {

const QString frameKey = u"mainWindowFrame"_s;

class WindowTest : public ControllerFixture {
  protected:
    [[nodiscard]] QRect frame() {
        return {access().window()->position(), access().window()->size()};
    }
    /// What the preferences will hold after the program has ended.
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
    EXPECT_EQ(access().window()->title(), u"Lumvik"_s);
    EXPECT_EQ(access().window()->color(), QColor(Qt::black));
    EXPECT_TRUE(access().window()->flags().testFlag(Qt::FramelessWindowHint));
    EXPECT_EQ(access().window()->minimumSize(), QSize(480, 270));
    EXPECT_EQ(access().window()->contentAspectRatio(), (ContentAspectRatio{16, 9}));
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

TEST_F(WindowTest, TakesItsSavedFrame) {
    storePreference(frameKey, u"31 17 640 360 0 0 800 800"_s);
    launch(threeCameras());
    EXPECT_EQ(frame(), QRect(31, 17, 640, 360));
}

TEST_F(WindowTest, IsWholeAndItsPlaceRememberedWhenTheScreenOfItsSavedFrameHasGone) {
    const QString saved = u"500 300 640 360 0 0 1600 1000"_s;
    storePreference(frameKey, saved);
    launch(threeCameras());
    EXPECT_EQ(frame(), QRect(160, 300, 640, 360)) << "on 800 by 800 points";
    QCoreApplication::processEvents();
    EXPECT_EQ(home.userDefaults().string(frameKey), saved);
}

TEST_F(WindowTest, IsPartlyOutOfTheScreenWhereTheUserPutItSo) {
    storePreference(frameKey, u"500 300 640 360 0 0 800 800"_s);
    launch(threeCameras());
    EXPECT_EQ(frame(), QRect(500, 300, 640, 360));
}

TEST_F(WindowTest, IsWholeInItsSmallestSizeIfItWas) {
    storePreference(frameKey, u"640 640 160 160 0 0 800 800"_s);
    launch(threeCameras());
    EXPECT_EQ(frame(), QRect(320, 530, 480, 270));
}

TEST_F(WindowTest, IsCentredWhenTheSavedFrameIsNone) {
    storePreference(frameKey, u"somewhere"_s);
    launch(threeCameras());
    const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
    EXPECT_LE(std::abs(frame().center().x() - area.center().x()), 1);
}

TEST_F(WindowTest, RemembersItsFrameAfterMovesAndResizes) {
    launch(threeCameras());
    access().window()->setContentAspectRatio({});
    access().window()->setGeometry(20, 30, 500, 300);
    ASSERT_TRUE(eventually([&] { return frame() == QRect(20, 30, 500, 300); }));
    EXPECT_TRUE(eventually([&] { return storedFrame().startsWith(u"20 30 500 300 "_s); }))
        << qPrintable(storedFrame());
    access().window()->setPosition(50, 60);
    EXPECT_TRUE(eventually([&] { return storedFrame().startsWith(u"50 60 500 300 "_s); }))
        << qPrintable(storedFrame());
}

TEST_F(WindowTest, MoveJustBeforeMinimisingIsRemembered) {
    launch(threeCameras());
    access().window()->setContentAspectRatio({});
    access().window()->setGeometry(20, 30, 500, 300);
    ASSERT_TRUE(eventually([&] { return storedFrame().startsWith(u"20 30 500 300 "_s); }));
    queue.advance(10);
    access().window()->setPosition(50, 60);
    ASSERT_TRUE(eventually([&] { return storedFrame().startsWith(u"50 60 500 300 "_s); }));
    access().window()->setWindowState(Qt::WindowMinimized);
    queue.runPending();
    EXPECT_TRUE(storedFrame().startsWith(u"50 60 500 300 "_s)) << qPrintable(storedFrame());
}

TEST_F(WindowTest, TemporaryMaximumIsNotRemembered) {
    storePreference(frameKey, u"31 17 640 360 0 0 800 800"_s);
    launch(threeCameras());
    const QString before = storedFrame();
    access().isTemporarilyMaximized() = true;
    access().window()->setContentAspectRatio({});
    resizeWindow({700, 500});
    delegate->windowDidMove();
    delegate->windowDidResize();
    EXPECT_EQ(storedFrame(), before);
    access().isTemporarilyMaximized() = false;
    delegate->windowDidMove();
    EXPECT_NE(storedFrame(), before);
}

TEST_F(WindowTest, StandsAmongOthersUntilPinned) {
    launch(threeCameras());
    EXPECT_FALSE(access().stayOnTopButton()->isOn());
    EXPECT_EQ(access().window()->level(), WindowLevel::normal);
    access().stayOnTopButton()->setOn(true);
    delegate->toggleStayOnTop();
    EXPECT_EQ(access().window()->level(), WindowLevel::floating);
    EXPECT_TRUE(home.userDefaults().boolean(u"staysOnTop"_s));
    access().stayOnTopButton()->setOn(false);
    delegate->toggleStayOnTop();
    EXPECT_EQ(access().window()->level(), WindowLevel::normal);
    EXPECT_FALSE(home.userDefaults().boolean(u"staysOnTop"_s));
}

TEST_F(WindowTest, IsPinnedAgainAtTheNextLaunch) {
    storePreference(u"staysOnTop"_s, true);
    launch(threeCameras());
    EXPECT_TRUE(access().stayOnTopButton()->isOn());
    EXPECT_EQ(access().window()->level(), WindowLevel::floating);
}

TEST_F(WindowTest, ShowsTheRememberedCamera) {
    storePreference(u"selectedCameraIndex"_s, 2);
    launchAndPlay(threeCameras());
    EXPECT_EQ(access().cameraPicker()->indexOfSelectedItem(), 2);
    EXPECT_TRUE(playbackLog().contains(u"Loading camera index 2 for selection generation 0."_s));
}

class RememberedCameraOutsideTheList : public WindowTest,
                                       public testing::WithParamInterface<int> {};

TEST_P(RememberedCameraOutsideTheList, IsNotApplied) {
    storePreference(u"selectedCameraIndex"_s, GetParam());
    launch(threeCameras());
    EXPECT_EQ(access().cameraPicker()->indexOfSelectedItem(), 0);
}

INSTANTIATE_TEST_SUITE_P(, RememberedCameraOutsideTheList, testing::Values(-1, 3, 1000000),
                         [](const auto &row) { return "Row" + std::to_string(row.index); });

// ---- Closing ----

TEST_F(WindowTest, ClosingStopsThePlayerAndEndsTheSelection) {
    launchAndPlay(threeCameras());
    access().pointerIsOverViewer() = true;
    access().cameraMenuIsOpen() = true;
    access().playbackSelectionGeneration() = 4;
    delegate->closeCameraViewer();
    EXPECT_TRUE(access().isClosingViewer());
    EXPECT_EQ(access().playbackSelectionGeneration(), 5);
    EXPECT_EQ(access().mpv(), nullptr);
    EXPECT_EQ(mpv.liveCores(), 0);
    EXPECT_FALSE(access().pointerIsOverViewer());
    EXPECT_FALSE(access().cameraMenuIsOpen());
    EXPECT_EQ(terminations, 1);
}

TEST_F(WindowTest, ClosingLeavesNothingThatCouldStartAPlayer) {
    launchAndPlay(threeCameras());
    delegate->toggleFocusArea();
    ASSERT_TRUE(access().interactionView()->isSelectingFocusArea());
    mpv.sendEndFile(MPV_END_FILE_REASON_ERROR, MPV_ERROR_LOADING_FAILED);
    ASSERT_TRUE(runUntil([this] { return access().playbackRetry() != nullptr; }));
    ASSERT_NE(access().playbackWatchdog(), nullptr);
    delegate->closeCameraViewer();
    EXPECT_FALSE(access().interactionView()->isSelectingFocusArea());
    EXPECT_EQ(access().playbackWatchdog(), nullptr);
    EXPECT_EQ(access().playbackRetry(), nullptr);
    mpv.forgetCalls();
    queue.advance(120);
    EXPECT_EQ(mpv.position("mpv_create"), -1);
}

TEST_F(WindowTest, ClosingTwiceCountsOnce) {
    launchAndPlay(threeCameras());
    delegate->closeCameraViewer();
    delegate->closeCameraViewer();
    access().window()->close();
    EXPECT_EQ(access().playbackSelectionGeneration(), 1);
    EXPECT_EQ(terminations, 1);
}

TEST_F(WindowTest, GraphicsThatFailAreShownOnceAndEndTheProgram) {
    launch(threeCameras());
    delegate->graphicsFailed(u"no context"_s);
    delegate->graphicsFailed(u"no context"_s);
    EXPECT_EQ(terminations, 0);
    queue.runPending();
    EXPECT_EQ(alerts.shown().size(), 1);
    EXPECT_EQ(terminations, 1);
}

} // namespace
} // namespace lumvik::test
