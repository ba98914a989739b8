// The controls over the picture: when they show, where they lie.

#include "app/controller/AppDelegate.h"
#include "viewer/ViewerControlLayout.h"

#include <QGuiApplication>

#include <algorithm>
#include <array>

namespace lumvik {

namespace {

constexpr int fadeMilliseconds = 200;
constexpr qreal emptyStateMargin = 80;

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
        qFatal("The viewer lacks one of its controls.");
    return controls;
}

QList<QRectF> AppDelegate::viewerControlRects() const {
    constexpr qreal invisible = 0.01;
    QList<QRectF> rects;
    for (const QQuickItem *control : viewerControls()) {
        if (control->isVisible() && control->opacity() > invisible)
            rects.append(interactionView->mapRectFromItem(control, control->boundingRect()));
    }
    return rects;
}

void AppDelegate::updateViewerControls(bool animated) {
    if (isClosingViewer || !window)
        return;
    keepViewerControlsInFront();
    const bool visible = viewerControlsAreWanted(
        {.pointerIsOverViewer = pointerIsOverViewer,
         .cameraMenuIsOpen = cameraMenuIsOpen,
         .mainMenuIsOpen = mainMenuIsOpen,
         .keyboardIsOnControls = keyboardNavigation && keyboardNavigation->isOnControls(),
         .isSelectingFocusArea = isSelectingFocusArea});
    if (visible == viewerControlsAreVisible) {
        // Asked for at once, a fade that is still running is finished.
        if (!animated && viewerControlFade.state() == QAbstractAnimation::Running)
            fadeControls(false);
        return;
    }
    viewerControlsAreVisible = visible;
    setControlsEnabled(visible);
    if (visible)
        setControlsVisible(true);
    fadeControls(animated);
}

void AppDelegate::fadeControls(bool animated) {
    const qreal target = viewerControlsAreVisible ? 1 : 0;
    viewerControlFade.stop();
    if (!animated) {
        setControlsOpacity(target);
        setControlsVisible(viewerControlsAreVisible);
        return;
    }
    // From where the last fade had come, so that a pointer passing quickly causes no jump.
    viewerControlFade.setStartValue(closeViewerButton->opacity());
    viewerControlFade.setEndValue(target);
    viewerControlFade.setDuration(fadeMilliseconds);
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
    // The message of the empty state sends the user to the menu, so the strip stays with it.
    mainMenuStrip->setOpacity(cameras.isEmpty() ? 1 : opacity);
}

void AppDelegate::setControlsVisible(bool visible) {
    for (QQuickItem *control : viewerControls())
        control->setVisible(visible);
    mainMenuStrip->setVisible((visible || cameras.isEmpty()) && mainMenuStripFits);
}

void AppDelegate::keepViewerControlsInFront() {
    // Stacked in this order above all siblings; z is what decides, not the order of creation.
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
    const qreal labelHeight = EmptyStateLabel::heightForWidth(labelWidth);
    place(*emptyStateLabel,
          QRectF(emptyStateMargin, (content.height() - labelHeight) / 2, labelWidth, labelHeight));
}

} // namespace lumvik
