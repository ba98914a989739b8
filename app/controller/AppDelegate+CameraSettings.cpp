// The camera address editor: opening and closing it, and applying the list that it saves.

#include "app/controller/AppDelegate.h"
#include "platform/LumvikLog.h"
#include "platform/PreferenceKeysAndDefaults.h"
#include "updates/WebsiteUrl.h"

#include <QKeyEvent>
#include <QPointer>
#include <QThread>

namespace lumvik {

void AppDelegate::showCameraSettings() {
    if (isClosingViewer)
        return;
    if (settingsController) {
        settingsController->bringToFront();
        return;
    }
    if (!window || cameraPicker == nullptr)
        qFatal("The editor needs the viewer and its picker.");
    settingsEventLoopLevel = QThread::currentThread()->loopLevel();
    const auto self = QPointer(this);
    settingsController = std::make_unique<CameraSettingsController>(
        cameras,
        CameraSettingsEnvironment{
            .store = environment.store,
            .fileManager = FileManager::standard(),
            .alerts = environment.alerts,
            .filePanels = environment.filePanels,
            .webSite = websiteUrl(environment.webHost, QStringLiteral("/")).toString(),
            .openUrl =
                [self](const QUrl &address) {
                    if (self)
                        self->openUrl(address);
                },
            .mainQueue = environment.mainQueue,
            .makeSearch = environment.makeCameraSearch,
            .logins = finderLogins()},
        CameraSettingsHandlers{
            .save = [self](const CameraList &saved,
                           ChangedList changed) -> tl::expected<void, StoreError> {
                return self ? self->applySavedCameras(saved, changed)
                            : tl::expected<void, StoreError>();
            },
            .reload = [self]() -> tl::expected<CameraList, StoreError> {
                return self ? self->reloadCameras() : tl::expected<CameraList, StoreError>();
            },
            .close =
                [self] {
                    if (self)
                        self->cameraSettingsDidClose();
                },
            .keyDown =
                [self](QKeyEvent &event) { return self && self->cameraSettingsKeyDown(event); },
        });
    settingsController->show(cameraPicker->indexOfSelectedItem(),
                             window->level() == WindowLevel::floating, window->screen());
}

CameraFinderController::Logins AppDelegate::finderLogins() {
    const auto self = QPointer(this);
    return {.mayLock =
                [self](const QString &url) { return self && self->loginSupervisor.mayLock(url); },
            .isSent =
                [self](const QString &url) {
                    if (self)
                        self->loginSupervisor.loginIsSent(url);
                },
            .wasAnswered =
                [self](bool isAccepted) {
                    if (self)
                        self->loginSupervisor.loginWasAnswered(isAccepted);
                }};
}

void AppDelegate::findCameras() {
    showCameraSettings();
    if (settingsController)
        settingsController->findCameras();
}

void AppDelegate::cameraSettingsDidClose() {
    // The editor calls this function itself. If the program is being terminated, the editor may be
    // inside the nested event loop of an alert, a file panel or a drag, which returns to its code.
    // It is therefore deleted only once no such loop is running.
    closedSettingsController = std::move(settingsController);
    environment.mainQueue.async([self = QPointer(this)] {
        if (self && QThread::currentThread()->loopLevel() <= self->settingsEventLoopLevel)
            self->closedSettingsController.reset();
    });
}

bool AppDelegate::cameraSettingsKeyDown(const QKeyEvent &event) {
    if (!settingsController)
        return false; // a late key event for a window that has closed
    // In the main menu, these two keys act on the viewer. In the editor, the user means the
    // editor's window.
    if (event.key() == Qt::Key_W && event.modifiers() == Qt::ControlModifier) {
        settingsController->close();
        return true;
    }
    const bool isFullScreen =
        event.key() == Qt::Key_F11 ||
        (event.key() == Qt::Key_F && event.modifiers().testFlag(Qt::MetaModifier));
    return !isFullScreen && mainMenu->performKeyEquivalent(event, MainMenu::Scope::programMenus);
}

tl::expected<void, StoreError> AppDelegate::applySavedCameras(const CameraList &saved,
                                                              ChangedList changed) {
    protectAddressesOf(saved); // first, so that errors with the new list cannot log its addresses
    if (auto stored = cameraListKeeper.save(saved, changed); !stored)
        return stored;
    applyCameras(saved);
    return {};
}

tl::expected<CameraList, StoreError> AppDelegate::reloadCameras() {
    auto loaded = cameraListKeeper.load();
    if (loaded && loaded->isEmpty())
        return tl::unexpected(StoreError(CameraConfigurationError::noCameras));
    if (loaded) {
        protectAddressesOf(*loaded);
        applyCameras(*loaded);
    }
    return loaded;
}

void AppDelegate::applyCameras(const CameraList &list) {
    const int selection = selectionAfterSaving(cameraPicker->indexOfSelectedItem(), cameras, list);
    cameras = list;
    fillCameraPicker();
    cameraPicker->selectItem(selection);
    updatePictureDescription();
    emptyStateLabel->setVisible(false);
    refreshViewerControls();
    environment.userDefaults.set(PreferenceKeys::selectedCameraIndex, selection);
    beginPlaybackSelection(selection);
}

} // namespace lumvik
