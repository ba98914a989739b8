#include "ControllerFixture.h"

#include <QDialog>
#include <QEventLoop>
#include <QGuiApplication>
#include <QPointer>
#include <QTimer>

namespace lumvik::test {
namespace {

class LaunchTest : public ControllerFixture {};

TEST_F(LaunchTest, LogsLoadsAndShowsTheWindowBeforeAnyPlayer) {
    launch(threeCameras());
    EXPECT_EQ(log.lines(u"lifecycle"_s).value(0),
              (LoggedLine{LogLevel::standard, u"lifecycle"_s, u"Lumvik is launching."_s}));
    EXPECT_EQ(access().cameras(), threeCameras());
    ASSERT_NE(access().window(), nullptr);
    EXPECT_TRUE(access().window()->isVisible());
    EXPECT_NE(access().mainMenu(), nullptr);
    EXPECT_TRUE(mpv.calls().empty()) << "playback waits for the window's first drawing";
    queue.runPending();
    EXPECT_TRUE(mpv.calls().empty()) << "which has not happened in this turn";
    startPlaying();
    EXPECT_NE(access().mpv(), nullptr);
}

TEST_F(LaunchTest, LoggingStartsWithTheLaunch) {
    launch(threeCameras());
    ASSERT_FALSE(log.lines().isEmpty());
    qsizetype first = 0; // the saving of the list by this test comes before
    while (log.lines().at(first).text.startsWith(u"Saved"_s))
        ++first;
    EXPECT_EQ(log.lines().at(first).text, u"Lumvik is launching."_s);
    EXPECT_EQ(log.lines().at(first + 1).text, u"Loaded 3 cameras."_s);
}

TEST_F(LaunchTest, WithoutAListShowsTheEmptyStateAndMakesNoPlayer) {
    launch();
    queue.runPending();
    EXPECT_TRUE(eventually([&] { return access().window()->isExposed(); }));
    queue.runPending();
    EXPECT_TRUE(access().emptyStateLabel()->isVisible());
    EXPECT_EQ(queue.submittedCount(), 0U);
    EXPECT_TRUE(mpv.calls().empty());
    EXPECT_TRUE(errors().isEmpty());
}

TEST_F(LaunchTest, WithCamerasHidesTheEmptyState) {
    launch(threeCameras());
    EXPECT_FALSE(access().emptyStateLabel()->isVisible());
}

TEST_F(LaunchTest, WithAnUnreadableListGoesOnWithoutCameras) {
    home.damageCameras();
    launch();
    EXPECT_TRUE(errors().contains(u"No usable camera configuration could be loaded."_s));
    EXPECT_EQ(errors().count(u"No usable camera configuration could be loaded."_s), 1);
    EXPECT_TRUE(access().cameras().isEmpty());
    EXPECT_TRUE(access().emptyStateLabel()->isVisible());
    EXPECT_TRUE(alerts.shown().isEmpty());
}

TEST_F(LaunchTest, ClosingBeforeTheFirstDrawingKeepsPlaybackFromStarting) {
    launch(threeCameras());
    access().window()->performClose();
    queue.runPending();
    QCoreApplication::processEvents();
    EXPECT_TRUE(mpv.calls().empty());
    EXPECT_EQ(access().playerGeneration(), 0);
}

TEST_F(LaunchTest, ControllerThatIsGoneIsNotCalledBack) {
    launch(threeCameras());
    delegate.reset();
    queue.runPending();
    EXPECT_TRUE(mpv.calls().empty());
}

// ---- Termination ----

TEST_F(LaunchTest, TerminationLogsAndStopsThePlayer) {
    launchAndPlay(threeCameras());
    delegate->applicationWillTerminate();
    EXPECT_EQ(log.lines(u"lifecycle"_s).last(),
              (LoggedLine{LogLevel::standard, u"lifecycle"_s, u"Lumvik is terminating."_s}));
    EXPECT_EQ(access().mpv(), nullptr);
    EXPECT_EQ(mpv.liveCores(), 0);
    EXPECT_EQ(access().playbackState(), PlaybackSupervisorState::stopped);
}

TEST_F(LaunchTest, TerminationBeforeAnythingWasDrawnStartsNoPlayerAfterwards) {
    launch(threeCameras());
    delegate->applicationWillTerminate();
    queue.runPending();
    QCoreApplication::processEvents();
    EXPECT_TRUE(mpv.calls().empty());
}

TEST_F(LaunchTest, TerminationTwiceIsHarmless) {
    launchAndPlay(threeCameras());
    delegate->applicationWillTerminate();
    const std::vector<std::string> calls = mpv.texts();
    delegate->applicationWillTerminate();
    EXPECT_EQ(mpv.texts(), calls);
}

TEST_F(LaunchTest, ClosingTheLastWindowEndsTheApplication) {
    launchAndPlay(threeCameras());
    EXPECT_TRUE(delegate->applicationShouldTerminateAfterLastWindowClosed());
    delegate->closeCameraViewer();
    EXPECT_EQ(terminations, 1);
}

// ---- Resigning active ----

TEST_F(LaunchTest, ResigningActiveHidesTheControls) {
    launch(threeCameras());
    access().pointerIsOverViewer() = true;
    access().cameraMenuIsOpen() = true;
    delegate->updateViewerControls(false);
    ASSERT_TRUE(access().viewerControlsAreVisible());
    delegate->applicationDidResignActive();
    EXPECT_FALSE(access().pointerIsOverViewer());
    EXPECT_FALSE(access().cameraMenuIsOpen());
    EXPECT_FALSE(access().viewerControlsAreVisible());
}

TEST_F(LaunchTest, ResigningActiveClosesTheMainMenu) {
    launch(threeCameras());
    access().mainMenuStrip()->openMenu(1);
    ASSERT_TRUE(access().mainMenuStrip()->menuIsOpen());
    delegate->applicationDidResignActive();
    EXPECT_FALSE(access().mainMenuStrip()->menuIsOpen());
}

TEST_F(LaunchTest, ResigningActiveDoesNothingWhileTheViewerCloses) {
    launch(threeCameras());
    access().pointerIsOverViewer() = true;
    access().isClosingViewer() = true;
    delegate->applicationDidResignActive();
    EXPECT_TRUE(access().pointerIsOverViewer());
}

TEST_F(LaunchTest, AnotherStartAsksForTheListOfCameras) {
    launch(threeCameras());
    EXPECT_TRUE(
        delegate->handleLaunchRequest({LaunchRequest::Action::showCameraAddresses, "token"}));
    EXPECT_EQ(access().settingsController(), nullptr) << "who asks is answered first";
    queue.runPending();
    EXPECT_NE(access().settingsController(), nullptr);
}

TEST_F(LaunchTest, WhatTheProgramsOwnStartOpensIsFreedWhenItCloses) {
    launch(threeCameras());
    delegate->performSoon(LaunchRequest::Action::showCameraAddresses);
    EXPECT_EQ(access().settingsController(), nullptr) << "there is no event loop yet";
    QPointer<CameraSettingsController> editor;
    bool wasOpen = false;
    QEventLoop program;
    QTimer::singleShot(0, &program, [&] {
        queue.runPending();
        editor = access().settingsController().get();
        wasOpen = !editor.isNull();
        if (wasOpen)
            editor->close();
        queue.runPending();
        program.quit();
    });
    program.exec();
    EXPECT_TRUE(wasOpen);
    EXPECT_FALSE(editor) << "with it, its addresses and passwords stay in memory";
}

TEST_F(LaunchTest, AnotherStartBringsTheOpenAlertToTheFront) {
    launch(threeCameras());
    QDialog alert;
    alert.setModal(true);
    alert.show();
    access().window()->requestActivate();
    ASSERT_TRUE(
        eventually([this] { return QGuiApplication::focusWindow() == access().window().get(); }));
    EXPECT_TRUE(delegate->handleLaunchRequest({LaunchRequest::Action::showCameraAddresses, {}}));
    EXPECT_TRUE(eventually([&] { return QGuiApplication::focusWindow() == alert.windowHandle(); }));
    queue.runPending();
    EXPECT_EQ(access().settingsController(), nullptr) << "the alert comes first";
}

TEST_F(LaunchTest, AnotherStartIsNotServedWhileTheProgramEnds) {
    launch(threeCameras());
    delegate->applicationWillTerminate();
    EXPECT_FALSE(delegate->handleLaunchRequest({LaunchRequest::Action::showCameraAddresses, {}}));
    queue.runPending();
    EXPECT_EQ(access().settingsController(), nullptr);
}

} // namespace
} // namespace lumvik::test
