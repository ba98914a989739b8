// This part of ViewerWindow implements the window's frame: its place on the screens, the remembered
// frame, and the animation to a new frame.

#include "window/MouseButtonState.h"
#include "window/ViewerWindow.h"
#include "window/WindowFrame.h"

#include <QGuiApplication>

#include <utility>

namespace lumvik {

namespace {

/// Returns whether `value` lies between `one` and `other`, which may be in any order. Small
/// deviations are tolerated, because window managers round coordinates.
bool liesBetween(int value, int one, int other) {
    constexpr int rounding = 2;
    return value >= qMin(one, other) - rounding && value <= qMax(one, other) + rounding;
}

} // namespace

bool ViewerWindow::isPlacedByProgram() {
    return !QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

QRect ViewerWindow::rememberedFrame() const {
    if (m_screens && m_screens->memory().ownFrame())
        return *m_screens->memory().ownFrame();
    QRect remembered = frame();
    // If only the compositor knows the position, Qt reports the window at the origin.
    if (m_restored) {
        remembered.moveTopLeft(m_restored->frame.topLeft());
        // A window that still has the size with which it was shown was not resized by the user. Its
        // restored size is remembered even if the window was reduced to fit a small screen.
        if (remembered.size() == m_restored->shownSize)
            remembered.setSize(m_restored->frame.size());
    }
    return remembered;
}

QString ViewerWindow::savedFrame() const {
    QRect area = screenOf(frame(), availableAreas());
    if (m_screens && m_screens->memory().ownFrame())
        area = m_screens->memory().ownScreen();
    else if (m_restored)
        area = m_restored->screenArea.value_or(QRect());
    return savedFrameString(rememberedFrame(), area);
}

QRect ViewerWindow::onScreens(const QRect &frame) {
    return frameOnScreens(frame, availableAreas());
}

WindowPlace ViewerWindow::place() const {
    const QRect frame = this->frame();
    if (m_screens && m_screens->memory().isTemporaryFrame(frame))
        return {*m_screens->memory().ownFrame(), m_screens->memory().ownScreen()};
    return {frame, screenOf(frame, availableAreas())};
}

bool ViewerWindow::setFrameFromString(const QString &text) {
    const auto frame = frameFromString(text);
    if (!frame)
        return false;
    const auto area = screenFromString(text);
    QRect restored(frame->topLeft(), frame->size().expandedTo(minimumSize()));
    // A window that was completely visible stays completely visible when the minimum size enlarges
    // it.
    if (area && area->contains(*frame))
        restored = frameOnScreens(restored, {*area}, ShownPart::all);
    const QRect earlier = restored;
    restored = m_screens ? m_screens->memory().restoreFrame(earlier, area, availableAreas())
                         : onScreens(earlier);
    if (!isPlacedByProgram())
        m_restored = {earlier, area, restored.size()};
    // The restored frame most likely has the aspect ratio of the last video. The window keeps this
    // ratio until the ratio of the new video is known.
    m_ratio = {restored.width(), restored.height()};
    m_sizeHints.setAspectRatio(m_ratio);
    setGeometry(restored);
    return true;
}

void ViewerWindow::centre() {
    setGeometry(centredFrame(size(), visibleArea()));
}

QRect ViewerWindow::frame() const {
    if (m_ordinaryFrame)
        return *m_ordinaryFrame;
    return m_requestedFrame.value_or(geometry());
}

void ViewerWindow::setFrame(const QRect &frame) {
    if (m_screens)
        m_screens->memory().frameWasSet(onScreens(frame), availableAreas());
    goToFrame(frame);
}

void ViewerWindow::restorePlace(const WindowPlace &place) {
    goToFrame(m_screens ? m_screens->memory().restoreFrame(place.frame, place.screenArea,
                                                           availableAreas())
                        : place.frame);
}

void ViewerWindow::goToFrame(const QRect &frame) {
    if (!hasOrdinaryFrame()) {
        m_ordinaryFrame = frame;
        return;
    }
    // The animation starts at the window's visible frame or, if no animation is running, at
    // `frame()`.
    m_animationStart = isBeingAnimated() ? geometry() : this->frame();
    m_frameAnimation.stop();
    m_requestedFrame = onScreens(frame);
    m_requestWasRepeated = false;
    // With an aspect ratio set, the window manager would change every size of the animation.
    m_sizeHints.setAspectRatio({});
    m_frameAnimation.setStartValue(m_animationStart);
    m_frameAnimation.setEndValue(*m_requestedFrame);
    m_frameAnimation.start();
}

void ViewerWindow::setSmallestSize(const QSize &size) {
    m_smallestSize = size;
    if (!isBeingAnimated())
        applySmallestSize();
}

void ViewerWindow::applySmallestSize() {
    setMinimumSize(smallestSizeOnScreen(m_smallestSize, m_ratio, visibleArea().size()));
}

void ViewerWindow::finishFrameAnimation() {
    if (isBeingAnimated())
        m_frameAnimation.setCurrentTime(m_frameAnimation.duration());
}

void ViewerWindow::frameAnimationEnded() {
    applySmallestSize();
    m_sizeHints.setAspectRatio(m_ratio);
    m_frameSettled.start();
}

void ViewerWindow::frameSettled() {
    if (!m_requestedFrame)
        return;
    if (mouseButtonIsDown()) {
        m_frameSettled.start();
        return;
    }
    // Qt sends no request for a frame that it believes the window already has. A late report from
    // the animation may have misled Qt in this way, so the request is repeated once.
    const QRect requested = *m_requestedFrame;
    if (geometry() != requested && !std::exchange(m_requestWasRepeated, true)) {
        setGeometry(requested);
        m_frameSettled.start();
        return;
    }
    giveUpRequestedFrame();
    if (geometry() != requested && m_delegate.didMove)
        m_delegate.didMove(); // the frame was refused, so frame() has changed
}

void ViewerWindow::geometryWasReported() {
    if (!m_frameSettled.isActive() || !m_requestedFrame)
        return;
    // Position and size may belong to different steps of the animation, because Qt queries the
    // position when a size is reported.
    const QRect is = geometry();
    const QRect &end = *m_requestedFrame;
    if (liesBetween(is.x(), m_animationStart.x(), end.x()) &&
        liesBetween(is.y(), m_animationStart.y(), end.y()) &&
        liesBetween(is.width(), m_animationStart.width(), end.width()) &&
        liesBetween(is.height(), m_animationStart.height(), end.height()))
        m_frameSettled.start();
    else
        giveUpRequestedFrame();
}

void ViewerWindow::giveUpRequestedFrame() {
    finishFrameAnimation();
    m_frameSettled.stop();
    m_requestedFrame.reset();
    m_sizeSettled.start();
}

void ViewerWindow::stateChanged() {
    m_sizeSettled.start();
    if (!hasOrdinaryFrame()) {
        if (isBeingAnimated()) {
            m_ordinaryFrame = m_requestedFrame;
            m_frameAnimation.stop();
            setMinimumSize(m_smallestSize);
            m_sizeHints.setAspectRatio(m_ratio);
        }
        m_requestedFrame.reset();
    } else if (const auto frame = std::exchange(m_ordinaryFrame, std::nullopt)) {
        goToFrame(*frame);
    }
    if (m_delegate.didChangeState)
        m_delegate.didChangeState();
}

void ViewerWindow::toggleFullScreen() {
    if (windowStates().testFlag(Qt::WindowFullScreen))
        showNormal();
    else
        showFullScreen();
}

void ViewerWindow::toggleMaximized() {
    if ((windowStates() & (Qt::WindowFullScreen | Qt::WindowMinimized)) != 0)
        return;
    if (windowStates().testFlag(Qt::WindowMaximized))
        showNormal();
    else
        showMaximized();
}

// ---- Changing screens ----

void ViewerWindow::followScreens() {
    if (!isPlacedByProgram())
        return;
    m_screens = std::make_unique<ScreenFollower>(ScreenFollower::Window{
        .frame = [this] { return hasOrdinaryFrame() ? std::optional(frame()) : std::nullopt; },
        .move = [this](const QRect &frame) { goToFrame(frame); },
        .ownFrameChanged =
            [this] {
                if (m_delegate.didMove)
                    m_delegate.didMove(); // the frame to remember has changed
            },
    });
}

} // namespace lumvik
