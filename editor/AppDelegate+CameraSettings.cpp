// The camera address editor: opening it, and applying the list that it saves.

#include "app/AppDelegate.h"
#include "app/PreferenceKeys.h"
#include "platform/LumvikLog.h"

#include <QKeyEvent>
#include <QPointer>

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
    const auto self = QPointer(this);
    settingsController = std::make_unique<CameraSettingsController>(
        cameras,
        CameraSettingsEnvironment{.store = environment.store,
                                  .fileManager = FileManager::standard(),
                                  .alerts = environment.alerts,
                                  .filePanels = environment.filePanels,
                                  .webSite = environment.webSite},
        CameraSettingsHandlers{
            .save = [self](const CameraList &saved) -> tl::expected<void, StoreError> {
                return self ? self->applySavedCameras(saved) : tl::expected<void, StoreError>();
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
                             window->level() == WindowLevel::floating);
}

void AppDelegate::cameraSettingsDidClose() {
    // In a later turn: it is the editor itself that says so, perhaps out of an alert of its own.
    settingsController.release()->deleteLater();
}

bool AppDelegate::cameraSettingsKeyDown(const QKeyEvent &event) {
    // These two are the viewer's elsewhere; here they are meant for this window.
    if (event.key() == Qt::Key_W && event.modifiers() == Qt::ControlModifier) {
        settingsController->close();
        return true;
    }
    return event.key() != Qt::Key_F11 && mainMenu->performKeyEquivalent(event);
}

tl::expected<void, StoreError> AppDelegate::applySavedCameras(const CameraList &saved) {
    const int selection = selectionAfterSaving(cameraPicker->indexOfSelectedItem(), cameras, saved);
    protectAddressesOf(saved); // before anything can go wrong with them
    if (auto stored = environment.store.save(saved); !stored)
        return stored;
    cameras = saved;
    fillCameraPicker();
    cameraPicker->selectItem(selection);
    emptyStateLabel->setVisible(false);
    refreshViewerControls();
    environment.userDefaults.set(PreferenceKeys::selectedCameraIndex, selection);
    beginPlaybackSelection(selection);
    return {};
}

} // namespace lumvik
