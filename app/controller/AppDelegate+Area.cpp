// The focus area: selecting it, showing it and returning to the whole picture.

#include "app/controller/AppDelegate.h"
#include "viewer/AreaGeometry.h"

#include <QPointer>

#include <utility>

namespace lumvik {

void AppDelegate::connectInteractionView() {
    const auto self = QPointer(this);
    interactionView->setHoverChanged([self](bool isOver) {
        if (self)
            self->viewerHoverChanged(isOver);
    });
    interactionView->setSecondaryClick([self] {
        if (self)
            self->secondaryClick();
    });
    interactionView->setDoubleClick([self] {
        if (self)
            self->doubleClick();
    });
    interactionView->setMagnificationHandlers({
        .magnify =
            [self](double factor, const QPointF &position) {
                if (self)
                    self->zoomController.magnify(factor, position);
            },
        .move =
            [self](const QPointF &distance) {
                if (self)
                    self->zoomController.move(distance);
            },
        .isMagnified = [self] { return self && self->zoomController.isMagnified(); },
    });
    interactionView->setFocusSelectionCompleted([self](const QRectF &area) {
        if (self)
            self->focusSelectionCompleted(area);
    });
    interactionView->setFocusSelectionCancelled([self] {
        if (self)
            self->focusSelectionCancelled();
    });
    interactionView->setViewerControlRects(
        [self] { return self ? self->viewerControlRects() : QList<QRectF>(); });
}

void AppDelegate::toggleFocusArea() {
    if (isClosingViewer)
        return;
    if (focusCrop) {
        restoreOriginalCameraView();
        areaMemory.note(selectedAddress(), std::nullopt, cameras);
    } else if (isSelectingFocusArea) {
        interactionView->cancelFocusSelection(CancellationNotice::notify);
    } else {
        isSelectingFocusArea = true;
        updateFocusButton();
        interactionView->beginFocusSelection();
        updateViewerControls(true);
    }
}

void AppDelegate::focusSelectionCancelled() {
    if (isClosingViewer || !isSelectingFocusArea)
        return;
    endFocusSelection();
}

void AppDelegate::endFocusSelection() {
    isSelectingFocusArea = false;
    updateFocusButton();
    updateViewerControls(true);
}

void AppDelegate::focusSelectionCompleted(const QRectF &area) {
    if (isClosingViewer)
        return;
    if (mpv == nullptr) {
        endFocusSelection();
        return;
    }
    // Between two streams, the engine may still describe the old video or already describe the new
    // one. Neither description matches the screen.
    const bool hasPicture = videoHost->expectsPicture();
    if (hasPicture)
        updateWindowAspectRatio(mpv);
    const QRectF shown =
        zoomController.isMagnified() ? zoomController.zoom().unmagnified(area) : area;
    const auto crop =
        hasPicture && sourceVideoGeometry
            ? videoFocusCrop(shown, interactionView->size(), *sourceVideoGeometry,
                             pictureIsFitted() ? PictureScaling::fit : PictureScaling::fill)
            : std::nullopt;
    if (!crop) {
        endFocusSelection();
        showPlaybackError(
            QStringLiteral("Wait for the camera picture, then choose the focus area again."));
        return;
    }
    const WindowPlace place = window->place();
    restoreFrameBeforeFocus =
        window->hasOrdinaryFrame() ? std::optional(place.frame) : std::nullopt;
    screenAreaBeforeFocus = place.screenArea;
    focusCrop = crop;
    areaSelectionGeneration = playbackSelectionGeneration;
    isShowingFullCameraTemporarily = false;
    applyFocusedCameraView(*crop, WindowReshaping::reshape);
    areaMemory.note(selectedAddress(), crop, cameras);
    endFocusSelection();
}

bool AppDelegate::bringBackArea() {
    if (isSelectingFocusArea || areaSelectionGeneration == playbackSelectionGeneration)
        return false;
    const auto crop =
        areaMemory.area(selectedAddress(), {static_cast<qreal>(sourceVideoGeometry->width),
                                            static_cast<qreal>(sourceVideoGeometry->height)});
    if (!crop)
        return false;
    const WindowPlace place = window->place();
    restoreFrameBeforeFocus.reset();
    if (window->hasOrdinaryFrame()) {
        // The window may still have the frame in which it showed this area last.
        const double ratio = static_cast<double>(sourceVideoGeometry->displayedWidth()) /
                             static_cast<double>(sourceVideoGeometry->displayedHeight());
        const QRect room = ViewerWindow::isPlacedByProgram() ? window->visibleArea() : place.frame;
        restoreFrameBeforeFocus = windowFrameForArea(place.frame, ratio, room);
    }
    screenAreaBeforeFocus = place.screenArea;
    focusCrop = crop;
    areaSelectionGeneration = playbackSelectionGeneration;
    isShowingFullCameraTemporarily = false;
    applyFocusedCameraView(*crop, WindowReshaping::reshape);
    updateFocusButton();
    return true;
}

void AppDelegate::applyFocusedCameraView(const VideoFocusCrop &crop, WindowReshaping reshaping) {
    if (mpv != nullptr)
        setVideoCrop(mpv, crop);
    zoomController.reset();
    scalePicture();
    window->setContentAspectRatio({});
    window->setSmallestSize(minimumAreaContentSize);
    forgetPictureShape();
    // A window that is maximised or in full screen keeps its frame.
    if (reshaping == WindowReshaping::keepFrame || !window->hasOrdinaryFrame())
        return;
    const QRect frame = window->frame();
    // Where the position of the window is unknown, a larger frame could extend beyond the screen,
    // so the new frame must fit into the old one.
    const QRect room = ViewerWindow::isPlacedByProgram() ? window->visibleArea() : frame;
    window->setFrame(windowFrameForArea(frame, displayedRatio(crop, sourceVideoGeometry), room));
}

void AppDelegate::restoreOriginalCameraView() {
    interactionView->cancelFocusSelection(CancellationNotice::keepSilent);
    isSelectingFocusArea = false;
    focusCrop.reset();
    isShowingFullCameraTemporarily = false;
    if (mpv != nullptr)
        removeVideoCrop(mpv);
    zoomController.reset();
    cancelPictureShapeChange();
    scalePicture();
    // The frame is restored first: it already satisfies the size limit and the aspect ratio, which
    // would otherwise cause a resize of their own.
    if (const auto frame = std::exchange(restoreFrameBeforeFocus, std::nullopt))
        window->restorePlace({*frame, screenAreaBeforeFocus});
    window->setSmallestSize(ViewerWindow::minimumViewerSize);
    if (sourceVideoGeometry) {
        const auto width = sourceVideoGeometry->displayedWidth();
        const auto height = sourceVideoGeometry->displayedHeight();
        window->setContentAspectRatio({static_cast<int>(width), static_cast<int>(height)});
        appliedVideoAspectRatio = static_cast<double>(width) / static_cast<double>(height);
    }
    updateFocusButton();
    updateViewerControls(true);
}

void AppDelegate::showFullCameraTemporarily() {
    if (mpv != nullptr)
        hideVideoCrop(mpv);
    zoomController.reset();
    isShowingFullCameraTemporarily = true;
    scalePicture();
}

void AppDelegate::secondaryClick() {
    if (isClosingViewer)
        return;
    if (!focusCrop) {
        // The rectangle being selected refers to the current size of the window.
        if (isSelectingFocusArea)
            return;
        if (isFullScreen())
            toggleFilledPicture();
        else
            toggleTemporaryMaximum();
    } else if (isShowingFullCameraTemporarily) {
        applyFocusedCameraView(*focusCrop, WindowReshaping::keepFrame);
        isShowingFullCameraTemporarily = false;
    } else {
        showFullCameraTemporarily();
    }
}

void AppDelegate::updateFocusButton() {
    focusViewerButton->setShowsRestoreIcon(focusCrop.has_value());
    focusViewerButton->setSelectingArea(isSelectingFocusArea);
}

} // namespace lumvik
