// The viewer window: building it, its remembered state, its level, its closing.

#include "app/AppDelegate.h"
#include "platform/LumvikLog.h"

#include <QPointer>

#include <utility>

namespace lumvik {

namespace {

const QString frameKey = QStringLiteral("mainWindowFrame");
const QString staysOnTopKey = QStringLiteral("staysOnTop");
const QString selectedCameraKey = QStringLiteral("selectedCameraIndex");

} // namespace

void AppDelegate::createWindow() {
    const auto self = QPointer(this);
    window = std::make_unique<ViewerWindow>(ViewerWindowDelegate{
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
        .willClose =
            [self] {
                if (self)
                    self->windowWillClose();
            },
        .keyDown = [self](QKeyEvent &event) { return self && self->keyDown(event); },
        .graphicsFailed =
            [self](const QString &details) {
                if (self)
                    self->graphicsFailed(details);
            },
    });
    window->setContentAspectRatio({16, 9});
    createViews();
    restoreWindowState();
    updateViewerControlLayout();
    window->show();
    window->requestActivate();
}

void AppDelegate::createViews() {
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
                self->graphicsAreBack();
        });
    emptyStateLabel = new EmptyStateLabel(content);
    interactionView = new DraggableContentView(content);
    interactionView->setHoverChanged([self](bool isOver) {
        if (self)
            self->viewerHoverChanged(isOver);
    });

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
                                                 self->selectCamera(index);
                                         }},
                                    content);
    stayOnTopButton = new PinToggleButton(content);
    stayOnTopButton->setAction([self] {
        if (self)
            self->toggleStayOnTop();
    });
    focusViewerButton = new FocusViewerButton(content);
    closeViewerButton = new CloseViewerButton(content);
    closeViewerButton->setAction([self] {
        if (self)
            self->closeCameraViewer();
    });

    setControlsOpacity(0);
    setControlsVisible(false);
    connect(&viewerControlFade, &QVariantAnimation::valueChanged, this,
            [this](const QVariant &opacity) { setControlsOpacity(opacity.toReal()); });
    connect(&viewerControlFade, &QVariantAnimation::finished, this, [this] {
        if (!viewerControlsAreVisible)
            setControlsVisible(false);
    });
}

void AppDelegate::restoreWindowState() {
    QStringList names;
    for (const Camera &camera : std::as_const(cameras))
        names.append(camera.name);
    cameraPicker->setItems(names);
    cameraPicker->selectItem(environment.userDefaults.integer(selectedCameraKey).value_or(0));
    emptyStateLabel->setVisible(cameras.isEmpty());

    const bool staysOnTop = environment.userDefaults.boolean(staysOnTopKey);
    stayOnTopButton->setOn(staysOnTop);
    window->setLevel(staysOnTop ? WindowLevel::floating : WindowLevel::normal);

    if (!window->setFrameFromString(environment.userDefaults.string(frameKey)))
        window->centre();
}

void AppDelegate::saveWindowFrame() {
    if (window && !isTemporarilyMaximized && window->hasOrdinaryFrame())
        environment.userDefaults.set(frameKey, window->savedFrame());
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
    stayOnTopButton->update();
    environment.userDefaults.set(staysOnTopKey, staysOnTop);
}

void AppDelegate::closeCameraViewer() {
    if (window)
        window->performClose();
}

void AppDelegate::windowWillClose() {
    isClosingViewer = true;
    // Late results of the selection until now find another generation and do nothing.
    if (__builtin_add_overflow(playbackSelectionGeneration, 1, &playbackSelectionGeneration))
        qFatal("The selection generations are used up.");
    stopPlayerEngine();
    cameraMenuIsOpen = false;
    pointerIsOverViewer = false;
    if (applicationShouldTerminateAfterLastWindowClosed())
        environment.terminate();
}

bool AppDelegate::keyDown(QKeyEvent &event) {
    if (isClosingViewer)
        return false;
    if (event.key() == Qt::Key_F10 || event.key() == Qt::Key_Menu) {
        mainMenuStrip->openMenu(0);
        return true;
    }
    return mainMenu->performKeyEquivalent(event);
}

// ---- Graphics that fail ----

void AppDelegate::graphicsFailed(const QString &details) {
    LumvikLog::lifecycle().error(
        QStringLiteral("The window's graphics could not be set up: %1").arg(details));
    if (std::exchange(graphicsFailureIsShown, true))
        return;
    environment.mainQueue.async([self = QPointer(this)] {
        if (!self)
            return;
        self->environment.alerts.runModal(
            {.style = Alert::Style::warning,
             .messageText = QStringLiteral("Lumvik"),
             .informativeText = QStringLiteral(
                 "Lumvik needs OpenGL 3.2 to show video, and this system offers none. Install or "
                 "enable a graphics driver, then open Lumvik again."),
             .buttons = {QStringLiteral("Quit")}});
        self->environment.terminate();
    });
}

void AppDelegate::graphicsWereLost() {
    if (isClosingViewer)
        return;
    LumvikLog::playback().error(
        QStringLiteral("The window's graphics were lost; the video engine is stopped."));
    stopPlayerEngine();
}

void AppDelegate::graphicsAreBack() {
    if (isClosingViewer)
        return;
    LumvikLog::playback().log(QStringLiteral("The window's graphics are back."));
    startPlayer();
}

} // namespace lumvik
