// The camera picker: its contents, its menu and the description of the picture.

#include "app/controller/AppDelegate.h"

#include <utility>

namespace lumvik {

void AppDelegate::fillCameraPicker() {
    QStringList names;
    for (const Camera &camera : std::as_const(cameras))
        names.append(camera.name);
    cameraPicker->setItems(names);
    mainMenu->setCameras(cameraPicker->items());
}

void AppDelegate::updatePictureDescription() {
    // The description contains only the name, because the address may contain a password.
    const QString camera = cameraPicker->value();
    PictureText text;
    if (!cameras.isEmpty()) {
        text = {.name = QStringLiteral("Picture of %1").arg(camera),
                .description = spokenPictureState(pictureSupervisor.condition())};
    }
    interactionView->setPictureText(text);
    mainMenu->markShownCamera();
}

void AppDelegate::cameraMenuItemSelected(int index) {
    selectCamera(index);
}

void AppDelegate::stepCamera(int step) {
    const auto count = static_cast<int>(cameras.size());
    const int shown = cameraPicker->indexOfSelectedItem();
    if (count > 1)
        selectCamera(((shown + step) % count + count) % count);
}

void AppDelegate::menuWillOpen() {
    cameraMenuIsOpen = true;
    updateViewerControls(true);
}

void AppDelegate::menuDidClose() {
    cameraMenuIsOpen = false;
    updateViewerControls(true);
}

} // namespace lumvik
