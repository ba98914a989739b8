// The application's life cycle: launch, deactivation and termination.

#include "app/controller/AppDelegate.h"
#include "platform/LumvikLog.h"
#include "window/PopUpMenu.h"

#include <QPointer>

namespace lumvik {

AppDelegate::AppDelegate(AppEnvironment withEnvironment)
    : environment(std::move(withEnvironment))
    , cameraListKeeper(environment.store, environment.userDefaults)
    , localNetworkProbeQueue(QLatin1String(LumvikLog::subsystem) + QStringLiteral(".local-network"))
    , networkPathQueue(QLatin1String(LumvikLog::subsystem) + QStringLiteral(".network-path"))
    , networkPathMonitor(environment.makeNetworkPathMonitor())
    , sleepDelayHolder(environment.mainQueue)
    , updateService(environment.makeUpdateService())
    , loginSupervisor(environment.userDefaults, environment.currentDate,
                      static_cast<bool>(environment.openCameraLink))
    , cameraDetails(environment.store.appSupportDirectory())
    , areaMemory(environment.userDefaults, cameraDetails)
    , decodingSupervisor(cameraDetails, environment.decodingMachine)
    , pictureSupervisor(pictureEnvironment())
    , desktopSupervisor(desktopEnvironment())
    , streamDetailsController(detailsEnvironment())
    , zoomController(zoomEnvironment())
    , pictureExporter(exportEnvironment()) {}

AppDelegate::~AppDelegate() {
    // Callbacks of the window must find a closing viewer while the members are being destroyed.
    isClosingViewer = true;
    stopEverything();
}

void AppDelegate::applicationDidFinishLaunching() {
    LumvikLog::lifecycle().log(QStringLiteral("Lumvik is launching."));
    buildMainMenu();
    startSystemRecoveryMonitoring();
    loadCameras();
    createWindow();
    if (!cameras.isEmpty())
        startPlaybackOnceDrawn();
    checkForUpdatesIfNeeded();
}

void AppDelegate::startPlaybackOnceDrawn() {
    // The render context needs the window's OpenGL context, which exists once the window has been
    // drawn. The user also sees the window sooner this way.
    playbackAwaitsWindow = true;
    environment.mainQueue.async([self = QPointer(this)] {
        if (!self || self->isClosingViewer)
            return;
        if (!self->window)
            qFatal("Playback cannot start without a window.");
        self->window->whenFirstDrawn([self] {
            if (!self || self->isClosingViewer)
                return;
            self->playbackAwaitsWindow = false;
            self->requestLocalNetworkAccessAndStart();
        });
    });
}

void AppDelegate::buildMainMenu() {
    MainMenuActions actions;
    actions.showCameraSettings = [this] { showCameraSettings(); };
    actions.checkForUpdates = [this] { checkForUpdates(); };
    actions.openLumvikHelp = [this] { openLumvikHelp(); };
    actions.showQuickHelp = [this] { showQuickHelp(); };
    actions.sendFeedback = [this] { sendFeedback(); };
    actions.showAbout = [this] { showAbout(); };
    actions.terminate = [this] { environment.terminate(); };
    actions.chooseCamera = [this](int index) { selectCamera(index); };
    actions.shownCamera = [this] {
        return cameraPicker == nullptr ? -1 : cameraPicker->indexOfSelectedItem();
    };
    actions.stepCamera = [this](int step) { stepCamera(step); };
    actions.findCameras = [this] { findCameras(); };
    if (environment.autostart.isAvailable()) {
        actions.startsAtLogin = {[this] { return environment.autostart.isOn(); },
                                 [this](bool on) { setStartsAtLogin(on); }};
    }
    actions.toggleFocusArea = [this] {
        // Like the focus button, which is disabled without a camera.
        if (!cameras.isEmpty())
            toggleFocusArea();
    };
    actions.focusAreaTitle = [this] { return focusViewerButton->label(); };
    actions.remembersArea = {[this] { return areaMemory.isOn(); },
                             [this](bool on) {
                                 areaMemory.setOn(on, cameras);
                                 areaMemory.note(selectedAddress(), focusCrop, cameras);
                             }};
    actions.zoom = [this](bool isLarger) { zoomController.step(isLarger); };
    actions.showWholePicture = [this] { zoomController.reset(); };
    actions.savePicture = [this] { pictureExporter.save(); };
    actions.copyPicture = [this] { pictureExporter.copy(); };
    actions.showsDetails = {[this] { return streamDetailsController.isShown(); },
                            [this](bool on) { streamDetailsController.setShown(on); }};
    actions.copyDiagnosis = [this] { streamDetailsController.copyDiagnosis(); };
    if (ViewerWindow::isPlacedByProgram()) {
        actions.staysOnTop = {
            [this] { return stayOnTopButton != nullptr && stayOnTopButton->isOn(); },
            [this](bool on) {
                stayOnTopButton->setOn(on);
                toggleStayOnTop();
            }};
    }
    actions.keepsScreenOn = {[this] { return desktopSupervisor.keepsScreenOn(); },
                             [this](bool on) { desktopSupervisor.setKeepsScreenOn(on); }};
    actions.notifiesOfLoss = {[this] { return desktopSupervisor.notifiesOfLoss(); },
                              [this](bool on) { desktopSupervisor.setNotifiesOfLoss(on); }};
    actions.performClose = [this] { closeCameraViewer(); };
    actions.toggleFullScreen = [this] {
        if (window)
            window->toggleFullScreen();
    };
    mainMenu = std::make_unique<MainMenu>(actions);
}

void AppDelegate::loadCameras() {
    if (auto loaded = cameraListKeeper.load()) {
        cameras = *std::move(loaded);
    } else {
        LumvikLog::configuration().error(
            QStringLiteral("No usable camera configuration could be loaded."));
        cameras.clear();
    }
    protectAddressesOf(cameras);
}

void AppDelegate::protectAddressesOf(const CameraList &list) {
    QStringList addresses;
    for (const Camera &camera : list)
        addresses.append(camera.url);
    LumvikLog::protectAddresses(addresses);
}

void AppDelegate::applicationDidResignActive() {
    if (isClosingViewer)
        return;
    closePopUpMenus();
    if (interactionView != nullptr)
        interactionView->cancelFocusSelection(CancellationNotice::notify);
    if (keyboardNavigation)
        keyboardNavigation->clearFocus();
    pointerIsOverViewer = false;
    cameraMenuIsOpen = false;
    updateViewerControls(true);
}

void AppDelegate::applicationWillTerminate() {
    environment.limitTimeToExit();
    LumvikLog::lifecycle().log(QStringLiteral("Lumvik is terminating."));
    isClosingViewer = true;
    environment.userDefaults.synchronize(); // first, in case the time to exit runs out
    stopEverything();
}

void AppDelegate::stopEverything() {
    // Everything that could start a player is stopped before the player.
    environment.sleepMonitor.stop();
    networkPathMonitor->cancel();
    playbackWatchdog.reset();
    cancelPlaybackRetry();
    cancelLocalNetworkProbe();
    pictureSupervisor.stop();
    streamDetailsController.setShown(false);
    desktopSupervisor.stop();
    if (updateCheckTask)
        updateCheckTask->cancel();
    sleepDelayHolder.release();
    stopPlayerEngine();
}

} // namespace lumvik
