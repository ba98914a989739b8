// The viewer window's frames: where it belongs, how it is remembered, and the way from one to
// another.

#include "window/MouseButtonState.h"
#include "window/ViewerWindow.h"
#include "window/WindowFrame.h"

#include <QGuiApplication>

#include <utility>

namespace lumvik {

namespace {

/// Whether `value` lies between two others, in any order, give or take what a window manager
/// rounds.
bool liesBetween(int value, int one, int other) {
    constexpr int rounding = 2;
    return value >= qMin(one, other) - rounding && value <= qMax(one, other) + rounding;
}

} // namespace

bool ViewerWindow::isPlacedByProgram() {
    return !QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

QRect ViewerWindow::rememberedFrame() const {
    if (m_screens && m_screens->home())
        return *m_screens->home();
    QRect remembered = frame();
    // Where the compositor alone knows the place, the window believes itself at the origin.
    if (m_restored) {
        remembered.moveTopLeft(m_restored->frame.topLeft());
        // Made smaller for a small screen, and left so.
        if (remembered.size() == m_restored->shownSize)
            remembered.setSize(m_restored->frame.size());
    }
    return remembered;
}

QString ViewerWindow::savedFrame() const {
    QRect area = screenOf(frame(), availableAreas());
    if (m_screens && m_screens->home())
        area = m_screens->homeScreen();
    else if (m_restored)
        area = m_restored->screenArea.value_or(QRect());
    return savedFrameString(rememberedFrame(), area);
}

QRect ViewerWindow::onScreens(const QRect &frame) {
    return frameOnScreens(frame, availableAreas());
}

WindowPlace ViewerWindow::place() const {
    const QRect frame = this->frame();
    if (m_screens && m_screens->isRefuge(frame))
        return {*m_screens->home(), m_screens->homeScreen()};
    return {frame, screenOf(frame, availableAreas())};
}

bool ViewerWindow::setFrameFromString(const QString &text) {
    const auto frame = frameFromString(text);
    if (!frame)
        return false;
    const auto area = screenFromString(text);
    QRect restored(frame->topLeft(), frame->size().expandedTo(minimumSize()));
    // What was whole stays so when it has to be made larger.
    if (area && area->contains(*frame))
        restored = frameOnScreens(restored, {*area}, ShownPart::all);
    const QRect earlier = restored;
    restored = m_screens ? m_screens->frameIsRestored(earlier, area) : onScreens(earlier);
    if (!isPlacedByProgram())
        m_restored = {earlier, area, restored.size()};
    // The shape of the last video, most likely: kept until this one's is known.
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
        m_screens->frameWasGiven(onScreens(frame));
    goToFrame(frame);
}

void ViewerWindow::restorePlace(const WindowPlace &place) {
    goToFrame(m_screens ? m_screens->frameIsRestored(place.frame, place.screenArea) : place.frame);
}

void ViewerWindow::goToFrame(const QRect &frame) {
    if (!hasOrdinaryFrame()) {
        m_ordinaryFrame = frame;
        return;
    }
    // From where the window is to be seen now, or will be once the last way is over.
    m_wayBegan = isOnItsWay() ? geometry() : this->frame();
    m_frameAnimation.stop();
    m_requestedFrame = onScreens(frame);
    m_requestWasRepeated = false;
    // It would force every size on the way into the shape.
    m_sizeHints.setAspectRatio({});
    m_frameAnimation.setStartValue(m_wayBegan);
    m_frameAnimation.setEndValue(*m_requestedFrame);
    m_frameAnimation.start();
}

void ViewerWindow::setSmallestSize(const QSize &size) {
    m_smallestSize = size;
    if (!isOnItsWay())
        setMinimumSize(size);
}

void ViewerWindow::finishFrameAnimation() {
    if (isOnItsWay())
        m_frameAnimation.setCurrentTime(m_frameAnimation.duration());
}

void ViewerWindow::frameAnimationEnded() {
    setMinimumSize(m_smallestSize);
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
    // A request for the frame in which the toolkit believes the window to be is never sent, and a
    // late report of the way there may have made it believe so wrongly.
    const QRect requested = *m_requestedFrame;
    if (geometry() != requested && !std::exchange(m_requestWasRepeated, true)) {
        setGeometry(requested);
        m_frameSettled.start();
        return;
    }
    giveUpRequestedFrame();
    if (geometry() != requested && m_delegate.didMove)
        m_delegate.didMove(); // it was refused, and what was told until now is not the frame
}

void ViewerWindow::geometryWasReported() {
    if (!m_frameSettled.isActive() || !m_requestedFrame)
        return;
    // Place and size may be of different moments: the toolkit looks up the place when it hears of a
    // size.
    const QRect is = geometry();
    const QRect &end = *m_requestedFrame;
    if (liesBetween(is.x(), m_wayBegan.x(), end.x()) &&
        liesBetween(is.y(), m_wayBegan.y(), end.y()) &&
        liesBetween(is.width(), m_wayBegan.width(), end.width()) &&
        liesBetween(is.height(), m_wayBegan.height(), end.height()))
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
        if (isOnItsWay()) {
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

// ---- Screens that come and go ----

void ViewerWindow::followScreens() {
    if (!isPlacedByProgram())
        return;
    m_screens = std::make_unique<ScreenFollower>(ScreenFollower::Window{
        .frame = [this] { return hasOrdinaryFrame() ? std::optional(frame()) : std::nullopt; },
        .move = [this](const QRect &frame) { goToFrame(frame); },
        .homeChanged =
            [this] {
                if (m_delegate.didMove)
                    m_delegate.didMove(); // what is to be remembered has become another frame
            },
    });
}

} // namespace lumvik
