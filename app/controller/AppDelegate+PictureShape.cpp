// The shape of the camera's picture, which the window takes on.

#include "app/controller/AppDelegate.h"
#include "engine/PlayerProperties.h"

#include <QPointer>

namespace lumvik {

namespace {

/// How many seconds a camera must keep another shape before the window takes it on. The first shape
/// of a load is taken on at once. Some cameras send several shapes in turn, and a window that
/// followed each of them would not hold still.
constexpr double shapeProof = 1;

} // namespace

void AppDelegate::updateWindowAspectRatio(mpv_handle *handle) {
    videoHost->videoParametersChanged();
    const auto width = integerProperty(handle, "video-params/w");
    const auto height = integerProperty(handle, "video-params/h");
    const auto rotation = integerProperty(handle, videoHost->rotationProperty());
    const auto geometry =
        videoSourceGeometry(width.value_or(0), height.value_or(0), rotation.value_or(0),
                            numberProperty(handle, "video-params/par").value_or(1));
    if (!geometry)
        return;
    const bool isRepeated = sourceVideoGeometry == geometry;
    sourceVideoGeometry = geometry;
    zoomController.sizesChanged();
    if (focusCrop) {
        // The window has the shape of the area. In a video of a different size, the area shows
        // something else or lies outside the picture.
        const QSizeF sourceSize(static_cast<qreal>(geometry->width),
                                static_cast<qreal>(geometry->height));
        if (focusCrop->sourceSize != sourceSize)
            restoreOriginalCameraView();
        return;
    }
    if (bringBackArea())
        return;
    if (isRepeated && pictureShapeChange)
        return; // its time is running
    cancelPictureShapeChange();
    if (!appliedVideoAspectRatio)
        takeOnPictureShape();
    else if (pictureHasAnotherShape())
        pictureShapeChange = environment.mainQueue.after(shapeProof, [self = QPointer(this)] {
            if (self)
                self->takeOnPictureShape();
        });
    updatePictureScaling();
}

void AppDelegate::takeOnPictureShape() {
    pictureShapeChange.reset();
    if (focusCrop || !sourceVideoGeometry || isClosingViewer)
        return;
    if (const auto ratio = aspectRatioToApply(*sourceVideoGeometry, appliedVideoAspectRatio)) {
        if (!window)
            qFatal("There is no window for the video's aspect ratio.");
        window->setContentAspectRatio({static_cast<int>(sourceVideoGeometry->displayedWidth()),
                                       static_cast<int>(sourceVideoGeometry->displayedHeight())});
        appliedVideoAspectRatio = ratio;
    }
    updatePictureScaling();
}

bool AppDelegate::pictureHasAnotherShape() const {
    return sourceVideoGeometry && appliedVideoAspectRatio &&
           aspectRatioToApply(*sourceVideoGeometry, appliedVideoAspectRatio);
}

void AppDelegate::forgetPictureShape() {
    cancelPictureShapeChange();
    appliedVideoAspectRatio.reset();
}

void AppDelegate::cancelPictureShapeChange() {
    if (pictureShapeChange)
        pictureShapeChange->cancel();
    pictureShapeChange.reset();
}

} // namespace lumvik
