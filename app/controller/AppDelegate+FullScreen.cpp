// Full screen, and the scaling of the picture in a window that cannot take the camera's shape.

#include "app/controller/AppDelegate.h"
#include "viewer/AreaGeometry.h"
#include "window/MouseButtonState.h"

#include <QPointer>

#include <cmath>

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
    return focusCrop ? !restoreFrameBeforeFocus : pictureHasAnotherShape();
}

void AppDelegate::scalePicture() {
    pictureWasFitted = pictureIsFitted();
    // In an ordinary window, the whole picture has the shape of the window but for rounding, and an
    // area fills it. The engine magnifies only what keeps its shape.
    const bool isFilled = !pictureWasFitted && (!focusCrop || zoomController.isMagnified());
    setMPVProperty("keepaspect", pictureWasFitted || isFilled ? "yes" : "no");
    setMPVProperty("panscan", isFilled ? "1.0" : "0");
}

void AppDelegate::updatePictureScaling() {
    if (!isFullScreen())
        fillsFullScreen = false;
    if (pictureIsFitted() != pictureWasFitted)
        scalePicture();
    zoomController.sizesChanged();
}

void AppDelegate::toggleFilledPicture() {
    fillsFullScreen = !fillsFullScreen;
    scalePicture();
    zoomController.sizesChanged();
}

// ---- Magnification ----

ZoomController::Environment AppDelegate::zoomEnvironment() {
    return {.mainQueue = environment.mainQueue,
            .layout = [this]() -> std::optional<ZoomController::Layout> {
                if (isClosingViewer || !window || !sourceVideoGeometry ||
                    !videoHost->expectsPicture())
                    return std::nullopt;
                const bool showsArea = focusCrop && !isShowingFullCameraTemporarily;
                const double ratio =
                    showsArea ? displayedRatio(*focusCrop, sourceVideoGeometry)
                              : static_cast<double>(sourceVideoGeometry->displayedWidth()) /
                                    static_cast<double>(sourceVideoGeometry->displayedHeight());
                const QSizeF view = interactionView->size();
                return ZoomController::Layout{
                    view, QSizeF(ratio, 1).scaled(view, pictureIsFitted()
                                                            ? Qt::KeepAspectRatio
                                                            : Qt::KeepAspectRatioByExpanding)};
            },
            .apply = [this](const PictureZoom &) { applyZoom(); }};
}

void AppDelegate::applyZoom() {
    const PictureZoom &zoom = zoomController.zoom();
    if (focusCrop)
        scalePicture();
    const auto set = [this](const char *name, double value) {
        setMPVProperty(name, QByteArray::number(value, 'f', 6).constData());
    };
    set("video-zoom", std::log2(zoom.magnification()));
    const QPointF pan = videoHost->directionInFrame(zoom.pan());
    set("video-pan-x", pan.x());
    set("video-pan-y", pan.y());
}

} // namespace lumvik
