#include "ControllerFixture.h"

#include <QAccessible>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QEventLoop>
#include <QGuiApplication>
#include <QMenu>
#include <QPointer>
#include <QTimer>

namespace lumvik::test {
namespace {

class LaunchTest : public ControllerFixture {
  protected:
    [[nodiscard]] static QString accessibleName(QObject *item) {
        QAccessible::setActive(true);
        QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(item);
        return interface == nullptr ? QString() : interface->text(QAccessible::Name);
    }
};

TEST_F(LaunchTest, LaunchLoadsCamerasAndShowsTheWindowBeforeCreatingAPlayer) {
    launch(threeCameras());
    EXPECT_EQ(log.lines(u"lifecycle"_s).value(0),
              (LoggedLine{LogLevel::standard, u"lifecycle"_s, u"Lumvik is launching."_s}));
    EXPECT_EQ(cameraNames(), (QStringList{u"Front door"_s, u"Yard"_s, u"Garage"_s}));
    ASSERT_NE(findWindow(), nullptr);
    EXPECT_TRUE(window().isVisible());
    EXPECT_EQ(menus().size(), 5);
    EXPECT_TRUE(mpv.calls().empty()) << "playback waits until the window is first drawn";
    queue.runPending();
    EXPECT_TRUE(mpv.calls().empty()) << "the window has not been drawn in this turn";
    startPlaying();
    EXPECT_EQ(mpv.liveCores(), 1);
}

TEST_F(LaunchTest, FirstLogLineReportsTheLaunch) {
    launch(threeCameras());
    ASSERT_FALSE(log.lines().isEmpty());
    qsizetype first = 0; // skips the log lines that this test caused by saving a list
    while (log.lines().at(first).text.startsWith(u"Saved"_s))
        ++first;
    EXPECT_EQ(log.lines().at(first).text, u"Lumvik is launching."_s);
    EXPECT_EQ(log.lines().at(first + 1).text, u"Loaded 3 cameras."_s);
}

TEST_F(LaunchTest, WithoutAListTheEmptyStateIsShownAndNoPlayerIsCreated) {
    launch();
    queue.runPending();
    EXPECT_TRUE(eventually([&] { return window().isExposed(); }));
    queue.runPending();
    EXPECT_TRUE(emptyStateLabel()->isVisible());
    EXPECT_EQ(queue.submittedCount(), 0U);
    EXPECT_TRUE(mpv.calls().empty());
    EXPECT_TRUE(errors().isEmpty());
}

TEST_F(LaunchTest, WithCamerasTheEmptyStateIsHidden) {
    launch(threeCameras());
    EXPECT_FALSE(emptyStateLabel()->isVisible());
}

TEST_F(LaunchTest, UnreadableListCountsAsNoCameras) {
    home.damageCameras();
    launch();
    EXPECT_TRUE(errors().contains(u"No usable camera configuration could be loaded."_s));
    EXPECT_EQ(errors().count(u"No usable camera configuration could be loaded."_s), 1);
    EXPECT_TRUE(cameraNames().isEmpty());
    EXPECT_TRUE(emptyStateLabel()->isVisible());
    EXPECT_TRUE(alerts.shown().isEmpty());
}

TEST_F(LaunchTest, WindowSaysThatTheListCouldNotBeReadAndWhere) {
    home.damageCameras();
    launch();
    ASSERT_TRUE(emptyStateLabel()->isVisible());
    EXPECT_TRUE(emptyStateLabel()->text().contains(u"could not be read"_s));
    EXPECT_TRUE(emptyStateLabel()->text().contains(home.storeFolder()));
    EXPECT_EQ(accessibleName(emptyStateLabel()), emptyStateLabel()->text());
    EXPECT_GE(emptyStateLabel()->height(),
              emptyStateLabel()->heightForWidth(emptyStateLabel()->width()));
}

TEST_F(LaunchTest, WindowSaysThatTheListIsMissingOnceItsFolderIsGone) {
    launch(threeCameras());
    delegate.reset();
    ASSERT_TRUE(QDir(home.storeFolder()).removeRecursively());
    launch();
    ASSERT_TRUE(emptyStateLabel()->isVisible());
    EXPECT_TRUE(emptyStateLabel()->text().contains(u"is missing"_s));
    EXPECT_TRUE(emptyStateLabel()->text().contains(home.storeFolder()));
    EXPECT_EQ(accessibleName(emptyStateLabel()), emptyStateLabel()->text());
}

TEST_F(LaunchTest, WindowOffersTheEditorIfThereHasNeverBeenAList) {
    launch();
    EXPECT_TRUE(emptyStateLabel()->text().startsWith(u"No cameras are configured."_s));
    EXPECT_EQ(accessibleName(emptyStateLabel()), emptyStateLabel()->text());
}

TEST_F(LaunchTest, SaveKeepsTheListThatCouldNotBeReadAtLaunch) {
    home.damageCameras();
    launch();
    ASSERT_TRUE(delegate->applySavedCameras(threeCameras()));
    EXPECT_EQ(QDir(home.storeFolder()).entryList({u"cameras.unreadable-*.json"_s}).size(), 1);
    EXPECT_FALSE(emptyStateLabel()->isVisible());
}

TEST_F(LaunchTest, ClosingBeforeTheFirstDrawingPreventsPlayback) {
    launch(threeCameras());
    window().performClose();
    queue.runPending();
    QCoreApplication::processEvents();
    EXPECT_TRUE(mpv.calls().empty());
    EXPECT_EQ(playerGeneration(), 0);
}

TEST_F(LaunchTest, DestroyedControllerIsNotCalledBack) {
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
    EXPECT_EQ(mpv.liveCores(), 0);
    EXPECT_EQ(mpv.liveCores(), 0);
    EXPECT_EQ(access().playbackState(), PlaybackSupervisorState::stopped);
}

TEST_F(LaunchTest, TerminationBeforeTheFirstDrawingPreventsPlayback) {
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

TEST_F(LaunchTest, ClosingTheLastWindowQuitsTheApplication) {
    launchAndPlay(threeCameras());
    EXPECT_TRUE(delegate->applicationShouldTerminateAfterLastWindowClosed());
    delegate->closeCameraViewer();
    EXPECT_EQ(terminations, 1);
}

// ---- Resigning active ----

TEST_F(LaunchTest, StartAtLoginWritesTheDesktopsEntry) {
    launch(threeCameras());
    QAction *item = menuItem(u"Start at Login"_s);
    ASSERT_NE(item, nullptr);
    const AutostartEntry entry(autostartFolder, u"/usr/bin/lumvik"_s);
    EXPECT_FALSE(item->isChecked());
    item->trigger();
    EXPECT_TRUE(entry.isOn());
    EXPECT_TRUE(item->isChecked());
    item->trigger();
    EXPECT_FALSE(entry.isOn());
    EXPECT_TRUE(alerts.shown().isEmpty());
}

TEST_F(LaunchTest, StartAtLoginThatCannotBeChangedIsReported) {
    autostartFolder = u"/proc/autostart"_s;
    launch(threeCameras());
    QAction *item = menuItem(u"Start at Login"_s);
    item->trigger();
    EXPECT_FALSE(item->isChecked());
    ASSERT_EQ(alerts.shown().size(), 1);
    EXPECT_EQ(alerts.shown().constFirst().messageText, u"Start at Login could not be changed."_s);
}

TEST_F(LaunchTest, StartAtLoginWhileTheProgramRunsChangesNothing) {
    launch(threeCameras());
    EXPECT_TRUE(delegate->handleLaunchRequest(
        LaunchRequest::with(LaunchRequest::Action::startAtLogin, {})));
    queue.runPending();
    EXPECT_TRUE(alerts.shown().isEmpty());
}

TEST_F(LaunchTest, ResigningActiveHidesTheControls) {
    launch(threeCameras());
    setPointerOverViewer(true);
    delegate->menuWillOpen();
    ASSERT_TRUE(controlsAreWanted());
    delegate->applicationDidResignActive();
    EXPECT_FALSE(access().pointerIsOverViewer());
    EXPECT_FALSE(access().cameraMenuIsOpen());
    EXPECT_FALSE(controlsAreWanted());
}

TEST_F(LaunchTest, ResigningActiveClosesTheMainMenu) {
    launch(threeCameras());
    mainMenuStrip()->openMenu(1);
    ASSERT_TRUE(mainMenuStrip()->menuIsOpen());
    delegate->applicationDidResignActive();
    EXPECT_FALSE(mainMenuStrip()->menuIsOpen());
}

TEST_F(LaunchTest, ResigningActiveDoesNothingWhileTheViewerCloses) {
    launch(threeCameras());
    delegate->closeCameraViewer();
    QMenu menu;
    menu.addAction(u"Item"_s);
    menu.popup(QPoint());
    ASSERT_EQ(QApplication::activePopupWidget(), &menu);
    delegate->applicationDidResignActive();
    EXPECT_EQ(QApplication::activePopupWidget(), &menu)
        << "otherwise the menu would have been closed";
    menu.close();
}

TEST_F(LaunchTest, AnotherInstanceCanOpenTheCameraList) {
    launch(threeCameras());
    EXPECT_TRUE(
        delegate->handleLaunchRequest({LaunchRequest::Action::showCameraAddresses, "token"}));
    EXPECT_EQ(access().settingsController(), nullptr) << "the request is answered first";
    queue.runPending();
    EXPECT_NE(access().settingsController(), nullptr);
}

TEST_F(LaunchTest, EditorOpenedAtLaunchIsDestroyedWhenItCloses) {
    launch(threeCameras());
    delegate->performSoon(LaunchRequest::Action::showCameraAddresses);
    EXPECT_EQ(access().settingsController(), nullptr) << "there is no event loop yet";
    QPointer<CameraSettingsController> editor;
    bool wasOpen = false;
    QEventLoop eventLoop;
    QTimer::singleShot(0, &eventLoop, [&] {
        queue.runPending();
        editor = access().settingsController().get();
        wasOpen = !editor.isNull();
        if (wasOpen)
            editor->close();
        queue.runPending();
        eventLoop.quit();
    });
    eventLoop.exec();
    EXPECT_TRUE(wasOpen);
    EXPECT_FALSE(editor) << "a living editor would keep addresses and passwords in memory";
}

TEST_F(LaunchTest, AnotherInstanceBringsAnOpenAlertToTheFront) {
    launch(threeCameras());
    QDialog alert;
    alert.setModal(true);
    alert.show();
    window().requestActivate();
    ASSERT_TRUE(eventually([this] { return QGuiApplication::focusWindow() == &window(); }));
    EXPECT_TRUE(delegate->handleLaunchRequest({LaunchRequest::Action::showCameraAddresses, {}}));
    EXPECT_TRUE(eventually([&] { return QGuiApplication::focusWindow() == alert.windowHandle(); }));
    queue.runPending();
    EXPECT_EQ(access().settingsController(), nullptr) << "no editor opens while an alert is open";
}

TEST_F(LaunchTest, AnotherInstanceIsRefusedDuringTermination) {
    launch(threeCameras());
    delegate->applicationWillTerminate();
    EXPECT_FALSE(delegate->handleLaunchRequest({LaunchRequest::Action::showCameraAddresses, {}}));
    queue.runPending();
    EXPECT_EQ(access().settingsController(), nullptr);
}

} // namespace
} // namespace lumvik::test
