// The viewer window: construction, saved state, level, closing and failures of its graphics.

#include "app/controller/AppDelegate.h"
#include "app/controller/EmptyStateText.h"
#include "platform/LumvikLog.h"
#include "platform/PreferenceKeysAndDefaults.h"
#include "window/PopUpMenu.h"
#include "window/WindowFrame.h"

#include <QPointer>

#include <utility>

namespace lumvik {

namespace {

/// The window's aspect ratio while no video determines it.
constexpr ContentAspectRatio ratioWithoutVideo{16, 9};

} // namespace

void AppDelegate::createWindow() {
    window = std::make_unique<ViewerWindow>(windowHandlers());
    if (!ViewerWindow::isPlacedByProgram()) {
        LumvikLog::lifecycle().log(QStringLiteral("This session is Wayland's: it lets no program "
                                                  "place its windows or keep them on top."));
    }
    window->setContentAspectRatio(ratioWithoutVideo);
    createViews();
    restoreWindowState();
    updateViewerControlLayout();
    if (environment.startsAtLogin)
        return window->showWithoutActivating();
    window->show();
    window->requestActivate();
}

ViewerWindowDelegate AppDelegate::windowHandlers() {
    const auto self = QPointer(this);
    return {
        .didMove =
            [self] {
                if (self)
                    self->windowDidMove();
            },
        .didResize =
            [self] {
                if (self)
                    self->windowDidResize();
            },
        .didChangeState =
            [self] {
                if (self)
                    self->windowDidChangeState();
            },
        .willClose =
            [self] {
                if (self)
                    self->windowWillClose();
            },
        .keyDown = [self](QKeyEvent &event) { return self && self->keyDown(event); },
        .mouseDown =
            [self] {
                if (self)
                    self->mouseDown();
            },
        .graphicsFailed =
            [self](const QString &details) {
                if (self)
                    self->graphicsFailed(details);
            },
    };
}

void AppDelegate::createViews() {
    createVideoViews();
    createControls();
    setUpKeyboardNavigation();
    hideControls();
    connectControlFade();
}

void AppDelegate::createVideoViews() {
    const auto self = QPointer(this);
    QQuickItem *content = window->contentItem();

    videoHost = new MPVOpenGLView(environment.mainQueue, content);
    videoHost->setGraphicsHandlers(
        [self] {
            if (self)
                self->graphicsWereLost();
        },
        [self] {
            if (self)
                self->graphicsWereRestored();
        });
    pictureSupervisor.createCover(*videoHost, content);
    emptyStateLabel = new EmptyStateLabel(content);
    emptyStateLabel->addLink(QStringLiteral("Camera Addresses…"), [self] {
        if (self)
            self->showCameraSettings();
    });
    emptyStateLabel->addLink(QStringLiteral("Find Cameras…"), [self] {
        if (self)
            self->findCameras();
    });
    interactionView = new DraggableContentView(environment.mainQueue, content);
    connectInteractionView();
    hidePointerWhenIdle();
}

void AppDelegate::createControls() {
    const auto self = QPointer(this);
    QQuickItem *content = window->contentItem();

    zoomController.createMap(content);
    streamDetailsController.createPanel(content);
    mainMenuStrip = new MainMenuStrip(mainMenu->menus(), content);
    mainMenuStrip->setMenuOpenChanged([self](bool isOpen) {
        if (self) {
            self->mainMenuIsOpen = isOpen;
            self->updateViewerControls(true);
        }
    });
    cameraPicker = new CameraPicker({.menuWillOpen =
                                         [self] {
                                             if (self)
                                                 self->menuWillOpen();
                                         },
                                     .menuDidClose =
                                         [self] {
                                             if (self)
                                                 self->menuDidClose();
                                         },
                                     .cameraChosen =
                                         [self](int index) {
                                             if (self)
                                                 self->cameraMenuItemSelected(index);
                                         },
                                     .wheelTurned =
                                         [self](int step) {
                                             if (self)
                                                 self->stepCamera(step);
                                         }},
                                    content);
    stayOnTopButton = new PinToggleButton(content);
    if (!ViewerWindow::isPlacedByProgram())
        stayOnTopButton->setUnavailableOnWayland();
    stayOnTopButton->setAction([self] {
        if (self)
            self->toggleStayOnTop();
    });
    focusViewerButton = new FocusViewerButton(content);
    focusViewerButton->setAction([self] {
        if (self)
            self->toggleFocusArea();
    });
    closeViewerButton = new CloseViewerButton(content);
    closeViewerButton->setAction([self] {
        if (self)
            self->closeCameraViewer();
    });
}

void AppDelegate::hideControls() {
    setControlsEnabled(false);
    setControlsOpacity(0);
    setControlsVisible(false);
}

void AppDelegate::connectControlFade() {
    connect(&viewerControlFade, &QVariantAnimation::valueChanged, this,
            [this](const QVariant &opacity) {
                // A stopped animation also reports a value when its end values are set.
                if (viewerControlFade.state() == QAbstractAnimation::Running)
                    setControlsOpacity(opacity.toReal());
            });
    connect(&viewerControlFade, &QVariantAnimation::finished, this, [this] {
        if (!viewerControlsAreVisible)
            setControlsVisible(false);
    });
}

void AppDelegate::restoreWindowState() {
    fillCameraPicker();
    cameraPicker->selectItem(environment.userDefaults.integer(PreferenceKeys::selectedCameraIndex)
                                 .value_or(PreferenceKeys::defaultCameraIndex));
    emptyStateLabel->setText(
        emptyStateText(cameraListKeeper.condition(), environment.store.appSupportDirectory()));
    emptyStateLabel->setVisible(cameras.isEmpty());
    updatePictureDescription();

    const bool staysOnTop = environment.userDefaults.boolean(PreferenceKeys::staysOnTop,
                                                             PreferenceKeys::staysOnTopByDefault);
    stayOnTopButton->setOn(staysOnTop);
    window->setLevel(staysOnTop ? WindowLevel::floating : WindowLevel::normal);

    if (!window->setFrameFromString(
            environment.userDefaults.string(PreferenceKeys::mainWindowFrame)))
        window->centre();
    // Without a camera, no video would ever correct the aspect ratio of the restored frame.
    if (cameras.isEmpty())
        window->setContentAspectRatio(ratioWithoutVideo);
}

void AppDelegate::saveWindowFrame() {
    if (!window || isTemporarilyMaximized || !window->hasOrdinaryFrame())
        return;
    const QString frame = window->savedFrame();
    windowFrameMemory.note(frame, environment.mainQueue.now());
    // The stored text of an unchanged frame is left alone, whichever form it has.
    const QString remembered = environment.userDefaults.string(PreferenceKeys::mainWindowFrame);
    if (frameFromString(remembered) != frameFromString(frame))
        environment.userDefaults.set(PreferenceKeys::mainWindowFrame, frame);
}

void AppDelegate::windowDidChangeState() {
    if (isClosingViewer)
        return;
    mainMenu->setIsFullScreen(isFullScreen());
    updatePictureScaling();
    desktopSupervisor.update();
    // The frame of the new state may have been reported before the state, and stored as if the user
    // had chosen it. Minimising does not change the frame.
    if ((window->windowStates() & (Qt::WindowFullScreen | Qt::WindowMaximized)) == 0 ||
        isTemporarilyMaximized)
        return;
    if (const auto frame = windowFrameMemory.frameBeforeChange(environment.mainQueue.now()))
        environment.userDefaults.set(PreferenceKeys::mainWindowFrame, *frame);
}

void AppDelegate::windowDidMove() {
    saveWindowFrame();
}

void AppDelegate::windowDidResize() {
    updateViewerControlLayout();
    saveWindowFrame();
}

void AppDelegate::toggleStayOnTop() {
    const bool staysOnTop = stayOnTopButton->isOn();
    window->setLevel(staysOnTop ? WindowLevel::floating : WindowLevel::normal);
    if (settingsController)
        settingsController->setStaysOnTop(staysOnTop);
    stayOnTopButton->update();
    environment.userDefaults.set(PreferenceKeys::staysOnTop, staysOnTop);
}

void AppDelegate::closeCameraViewer() {
    if (window)
        window->performClose();
}

void AppDelegate::windowWillClose() {
    environment.limitTimeToExit();
    isClosingViewer = true;
    environment.userDefaults.synchronize(); // first, in case the time to exit runs out
    interactionView->cancelFocusSelection(CancellationNotice::keepSilent);
    playbackWatchdog.reset();
    advanceSelectionGeneration();
    cancelPlaybackRetry();
    cancelLocalNetworkProbe();
    sleepDelayHolder.release();
    pictureSupervisor.stop();
    streamDetailsController.setShown(false);
    desktopSupervisor.stop();
    stopPlayerEngine();
    closePopUpMenus();
    cameraMenuIsOpen = false;
    pointerIsOverViewer = false;
    if (applicationShouldTerminateAfterLastWindowClosed())
        environment.terminate();
}

// ---- Failures of the graphics ----

void AppDelegate::graphicsFailed(const QString &details) {
    LumvikLog::lifecycle().error(
        QStringLiteral("The window's graphics could not be set up: %1").arg(details));
    if (std::exchange(graphicsFailureIsShown, true) || environment.restartWithSoftwareRenderer())
        return;
    environment.mainQueue.async([self = QPointer(this)] {
        if (!self || self->isClosingViewer)
            return;
        self->environment.alerts.runModal(
            {.style = Alert::Style::warning,
             .messageText = QStringLiteral("Lumvik"),
             .informativeText = QStringLiteral(
                 "Lumvik cannot draw in its window. Restart the desktop session, then open Lumvik "
                 "again."),
             .buttons = {QStringLiteral("Quit")}});
        // The controller may have been destroyed during the alert's nested event loop.
        if (self && !self->isClosingViewer)
            self->environment.terminate();
    });
}

void AppDelegate::graphicsWereLost() {
    if (isClosingViewer)
        return;
    LumvikLog::playback().error(
        QStringLiteral("The window's graphics were lost; the video engine is stopped."));
    playbackAwaitsWindow = true; // no player can be attached without graphics
    cancelPlaybackRetry();
    cancelLocalNetworkProbe();
    stopPlayerEngine();
}

void AppDelegate::graphicsWereRestored() {
    if (isClosingViewer)
        return;
    LumvikLog::playback().log(QStringLiteral("The window's graphics were restored."));
    playbackAwaitsWindow = false;
    schedulePlaybackRecovery({.reason = QStringLiteral("window graphics restored"),
                              .urgency = RecoveryUrgency::immediate,
                              .recreation = PlayerRecreation::forced});
}

} // namespace lumvik
