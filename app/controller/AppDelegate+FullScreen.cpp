// Full screen, and the scaling of the picture in a window that cannot take the camera's shape.

#include "app/controller/AppDelegate.h"
#include "window/MouseButtonState.h"

#include <QPointer>

namespace lumvik {

void AppDelegate::hidePointerWhenIdle() {
    const auto self = QPointer(this);
    idlePointer = std::make_unique<IdlePointer>(
        *window, environment.mainQueue,
        IdlePointer::Handlers{.mayHide =
                                  [self] {
                                      return self && !self->isClosingViewer &&
                                             !self->controlsAreInUse() && !mouseButtonIsDown();
                                  },
                              .didHide =
                                  [self] {
                                      if (self)
                                          self->viewerHoverChanged(false);
                                  }});
}

void AppDelegate::doubleClick() {
    if (!isClosingViewer)
        window->toggleFullScreen();
}

bool AppDelegate::isFullScreen() const {
    return window && window->windowStates().testFlag(Qt::WindowFullScreen);
}

bool AppDelegate::leaveFullScreen() {
    if (!isFullScreen())
        return false;
    window->toggleFullScreen();
    return true;
}

bool AppDelegate::pictureIsFitted() const {
    if (isFullScreen() && fillsFullScreen && !focusCrop)
        return false;
    if (isFullScreen() || (window && window->windowStates().testFlag(Qt::WindowMaximized)))
        return true;
    // An area that was chosen in full screen has not given the window its shape.
    return focusCrop && !restoreFrameBeforeFocus;
}

void AppDelegate::scalePicture() {
    pictureWasFitted = pictureIsFitted();
    // In an ordinary window, the whole picture has the shape of the window but for rounding, and an
    // area fills it.
    const bool isFilled = !pictureWasFitted && !focusCrop;
    setMPVProperty("keepaspect", pictureWasFitted || isFilled ? "yes" : "no");
    setMPVProperty("panscan", isFilled ? "1.0" : "0");
}

void AppDelegate::updatePictureScaling() {
    if (!isFullScreen())
        fillsFullScreen = false;
    if (pictureIsFitted() != pictureWasFitted)
        scalePicture();
}

void AppDelegate::toggleFilledPicture() {
    fillsFullScreen = !fillsFullScreen;
    scalePicture();
}

} // namespace lumvik
