// The camera picker: what its menu does.

#include "app/AppDelegate.h"

namespace lumvik {

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
