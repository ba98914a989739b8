// The controls over the picture: their visibility and their layout.

#include "app/controller/AppDelegate.h"

#include <QGuiApplication>

#include <algorithm>
#include <array>

namespace lumvik {

namespace {

/// How long the controls take to fade in or out, in milliseconds.
constexpr int fadeDuration = 200;

/// The distance from the message of the empty state to the left and right edges, in points.
constexpr qreal emptyStateMargin = 80;

/// The opacity up to which a control counts as invisible.
constexpr qreal invisibleOpacity = 0.01;

void place(QQuickItem &item, const QRectF &frame) {
    item.setPosition(frame.topLeft());
    item.setSize(frame.size());
}

} // namespace

void AppDelegate::viewerHoverChanged(bool isOver) {
    if (isClosingViewer)
        return;
    if (isOver && QGuiApplication::applicationState() != Qt::ApplicationActive)
        return;
    if (isOver == pointerIsOverViewer)
        return;
    pointerIsOverViewer = isOver;
    updateViewerControls(true);
}

std::array<QQuickItem *, 4> AppDelegate::viewerControls() const {
    const std::array<QQuickItem *, 4> controls{cameraPicker, stayOnTopButton, focusViewerButton,
                                               closeViewerButton};
    if (window && std::find(controls.begin(), controls.end(), nullptr) != controls.end())
        qFatal("One of the viewer's controls is missing.");
    return controls;
}

QList<QRectF> AppDelegate::viewerControlRects() const {
    QList<QRectF> rects;
    for (const QQuickItem *control : viewerControls()) {
        if (control->isVisible() && control->opacity() > invisibleOpacity)
            rects.append(interactionView->mapRectFromItem(control, control->boundingRect()));
    }
    return rects;
}

ViewerControlReasons AppDelegate::controlReasons() const {
    return {.pointerIsOverViewer = pointerIsOverViewer,
            .cameraMenuIsOpen = cameraMenuIsOpen,
            .mainMenuIsOpen = mainMenuIsOpen,
            .keyboardIsOnControls = keyboardNavigation && keyboardNavigation->isOnControls(),
            .isSelectingFocusArea = isSelectingFocusArea};
}

bool AppDelegate::controlsAreInUse() const {
    ViewerControlReasons reasons = controlReasons();
    reasons.pointerIsOverViewer = false;
    return viewerControlsAreWanted(reasons);
}

void AppDelegate::updateViewerControls(bool animated) {
    if (isClosingViewer || !window)
        return;
    keepViewerControlsInFront();
    const bool visible = viewerControlsAreWanted(controlReasons());
    if (visible == viewerControlsAreVisible) {
        // The caller needs the final state now, so a running fade is completed.
        if (!animated && viewerControlFade.state() == QAbstractAnimation::Running)
            fadeControls(false);
        return;
    }
    viewerControlsAreVisible = visible;
    setControlsEnabled(visible);
    if (visible)
        setControlsVisible(true);
    fadeControls(animated);
    pictureSupervisor.update(); // a live picture is confirmed together with the controls
}

void AppDelegate::fadeControls(bool animated) {
    const qreal target = viewerControlsAreVisible ? 1 : 0;
    viewerControlFade.stop();
    if (!animated) {
        setControlsOpacity(target);
        setControlsVisible(viewerControlsAreVisible);
        return;
    }
    // The fade starts at the current opacity, so that a pointer that passes quickly causes no jump.
    viewerControlFade.setStartValue(closeViewerButton->opacity());
    viewerControlFade.setEndValue(target);
    viewerControlFade.setDuration(fadeDuration);
    viewerControlFade.setEasingCurve(viewerControlsAreVisible ? QEasingCurve::OutQuad
                                                              : QEasingCurve::InQuad);
    viewerControlFade.start();
}

void AppDelegate::refreshViewerControls() {
    setControlsEnabled(viewerControlsAreVisible);
    setControlsOpacity(closeViewerButton->opacity());
    setControlsVisible(closeViewerButton->isVisible());
    updateViewerControlLayout();
}

void AppDelegate::setControlsEnabled(bool visible) {
    const auto enabled = viewerControlEnablement(visible, !cameras.isEmpty());
    cameraPicker->setEnabled(enabled.picker);
    stayOnTopButton->setEnabled(enabled.pin);
    focusViewerButton->setEnabled(enabled.focus);
    closeViewerButton->setEnabled(enabled.close);
}

void AppDelegate::setControlsOpacity(qreal opacity) {
    for (QQuickItem *control : viewerControls())
        control->setOpacity(opacity);
    // The message of the empty state refers to the menu, so the strip stays visible with it.
    mainMenuStrip->setOpacity(cameras.isEmpty() ? 1 : opacity);
}

void AppDelegate::setControlsVisible(bool visible) {
    for (QQuickItem *control : viewerControls())
        control->setVisible(visible);
    mainMenuStrip->setVisible((visible || cameras.isEmpty()) && mainMenuStripFits);
}

void AppDelegate::keepViewerControlsInFront() {
    // The z values place the controls above all siblings, whatever the order of creation.
    qreal z = 1;
    mainMenuStrip->setZ(z++);
    for (QQuickItem *control : viewerControls())
        control->setZ(z++);
}

void AppDelegate::updateViewerControlLayout() {
    if (!window || closeViewerButton == nullptr)
        return;
    const QSizeF content = window->size();
    const auto arrangement = viewerControlArrangement(content.width());
    usesCompactViewerControls = arrangement == ViewerControlArrangement::compact;
    const auto frames =
        viewerControlFrames(arrangement, {.content = content,
                                          .pickerWidth = cameraPicker->naturalWidth(),
                                          .menuStripWidth = mainMenuStrip->naturalWidth()});
    place(*videoHost, QRectF(QPointF(), content));
    place(*interactionView, QRectF(QPointF(), content));
    const qreal controlsBottom = std::max(frames.picker.bottom(), frames.close.bottom());
    pictureSupervisor.layOut(content, controlsBottom);
    streamDetailsController.layOut(content, controlsBottom);
    zoomController.layOut(content);
    pictureExporter.layOut(content);
    place(*cameraPicker, frames.picker);
    place(*stayOnTopButton, frames.pin);
    place(*focusViewerButton, frames.focus);
    place(*closeViewerButton, frames.close);

    mainMenuStripFits = !frames.menuStrip.isNull();
    if (mainMenuStripFits)
        place(*mainMenuStrip, frames.menuStrip);
    mainMenuStrip->setVisible(mainMenuStripFits &&
                              (cameras.isEmpty() || closeViewerButton->isVisible()));

    const qreal labelWidth = std::max(content.width() - 2 * emptyStateMargin, 0.0);
    const qreal labelHeight = emptyStateLabel->heightForWidth(labelWidth);
    place(*emptyStateLabel,
          QRectF(emptyStateMargin, (content.height() - labelHeight) / 2, labelWidth, labelHeight));
}

} // namespace lumvik
