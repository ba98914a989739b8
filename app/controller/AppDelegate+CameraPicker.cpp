// The camera picker: what its menu does.

#include "app/controller/AppDelegate.h"

#include <utility>

namespace lumvik {

void AppDelegate::fillCameraPicker() {
    QStringList names;
    for (const Camera &camera : std::as_const(cameras))
        names.append(camera.name);
    cameraPicker->setItems(names);
}

void AppDelegate::describePicture() {
    // By the camera's name alone: its address may hold a password.
    const QString camera = cameraPicker->value();
    PictureText text;
    if (!cameras.isEmpty()) {
        text = {.name = QStringLiteral("Picture of %1").arg(camera),
                .description = videoHost->showsPicture() ? QStringLiteral("Live")
                                                         : QStringLiteral("No picture yet")};
    }
    interactionView->setPictureText(text);
}

void AppDelegate::cameraMenuItemSelected(int index) {
    selectCamera(index);
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
