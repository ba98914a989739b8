// The camera picker: what its menu does.

#include "app/AppDelegate.h"

#include <utility>

namespace lumvik {

void AppDelegate::fillCameraPicker() {
    QStringList names;
    for (const Camera &camera : std::as_const(cameras))
        names.append(camera.name);
    cameraPicker->setItems(names);
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
