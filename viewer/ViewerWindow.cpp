#include "viewer/ViewerWindow.h"

#include "viewer/MouseButtons.h"
#include "viewer/PopUpMenu.h"
#include "viewer/WindowFrame.h"

#include <QAccessible>
#include <QApplication>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QQuickGraphicsConfiguration>
#include <QQuickItem>
#include <QScreen>
#include <QWidget>

#include <utility>

namespace lumvik {

namespace {

constexpr QSize initialSize{1120, 630};

/// Takes away the depth and stencil buffers, which the toolkit would create, and clear for every
/// picture. They serve scenes with many opaque items, and clips that are not upright rectangles;
/// here a few translucent controls lie over the picture. It has to be done before the window is
/// created.
void drawWithoutDepthAndStencil(QQuickWindow &window) {
    QQuickGraphicsConfiguration graphics = window.graphicsConfiguration();
    graphics.setDepthBufferFor2D(false);
    window.setGraphicsConfiguration(graphics);
    QSurfaceFormat format = window.requestedFormat();
    format.setDepthBufferSize(0);
    format.setStencilBufferSize(0);
    window.setFormat(format);
}

/// How long after the last size a window that the window manager left in another shape is
/// corrected, in milliseconds. Correcting each size of an interactive resize would fight with the
/// pointer.
constexpr int shapeCorrectionDelay = 150;

/// How long the window is on its way to a new frame, in milliseconds.
constexpr int frameAnimationTime = 200;

/// Whether `value` lies between two others, in any order, give or take what a window manager
/// rounds.
bool liesBetween(int value, int one, int other) {
    constexpr int rounding = 2;
    return value >= qMin(one, other) - rounding && value <= qMax(one, other) + rounding;
}

/// How long nothing is heard of the window manager when all its answers to an animation have come,
/// in milliseconds.
constexpr int frameSettlingTime = 300;

} // namespace

ViewerWindow::ViewerWindow(ViewerWindowDelegate delegate)
    : m_delegate(std::move(delegate))
    , m_sizeHints(*this) {
    setFlags(Qt::Window | Qt::FramelessWindowHint);
    setTitle(QStringLiteral("Lumvik"));
    setColor(Qt::black);
    drawWithoutDepthAndStencil(*this);
    resize(initialSize);
    setSmallestSize(minimumViewerSize);

    m_sizeSettled.setSingleShot(true);
    m_sizeSettled.setInterval(shapeCorrectionDelay);
    connect(&m_sizeSettled, &QTimer::timeout, this, &ViewerWindow::correctShape);
    connect(this, &QWindow::windowStateChanged, this, &ViewerWindow::stateChanged);
    connect(this, &QWindow::activeChanged, this, &ViewerWindow::reportActivity);
    m_frameAnimation.setDuration(frameAnimationTime);
    m_frameAnimation.setEasingCurve(QEasingCurve::InOutQuad);
    connect(&m_frameAnimation, &QVariantAnimation::valueChanged, this,
            [this](const QVariant &frame) {
                // One that has ended tells of a value when it is given new ones, too.
                if (isOnItsWay())
                    setGeometry(frame.toRect());
            });
    connect(&m_frameAnimation, &QVariantAnimation::finished, this,
            &ViewerWindow::frameAnimationEnded);
    m_frameSettled.setSingleShot(true);
    m_frameSettled.setInterval(frameSettlingTime);
    connect(&m_frameSettled, &QTimer::timeout, this, &ViewerWindow::frameSettled);
    connect(this, &QQuickWindow::frameSwapped, this, [this] {
        m_wasDrawn = true;
        if (m_firstDrawn)
            whenFirstDrawn(std::exchange(m_firstDrawn, nullptr));
    });
    followScreens();
    // Connected always: Qt ends the process itself when nobody listens.
    connect(this, &QQuickWindow::sceneGraphError, this,
            [this](QQuickWindow::SceneGraphError, const QString &message) {
                if (m_delegate.graphicsFailed)
                    m_delegate.graphicsFailed(message);
            });
}

ViewerWindow::~ViewerWindow() = default;

// ---- Shape ----

QRect ViewerWindow::visibleArea() const {
    const QScreen *where = screen() != nullptr ? screen() : QGuiApplication::primaryScreen();
    return where == nullptr ? QRect(position(), size()) : where->availableGeometry();
}

void ViewerWindow::setContentAspectRatio(ContentAspectRatio ratio) {
    m_ratio = ratio;
    m_shapeCorrection.reset();
    if (isOnItsWay())
        return; // the end of the way sees to it
    m_sizeHints.setAspectRatio(ratio);
    correctShape();
}

void ViewerWindow::correctShape() {
    if (!hasOrdinaryFrame())
        return;
    // A window that the user holds goes where the pointer says, and is put right afterwards; so is
    // one on its way to another frame.
    if (mouseButtonIsDown() || m_requestedFrame) {
        m_sizeSettled.start();
        return;
    }
    const QRect area = visibleArea();
    const auto shaped = m_shapeCorrection.sizeToAskFor(
        size(), sizeWithAspectRatio(size(), m_ratio, minimumSize(), area.size()));
    if (!shaped)
        return;
    const QRect before(position(), size());
    QRect frame(QPoint(), *shaped);
    frame.moveCenter(before.center());
    // A window that was wholly on its screen stays so.
    if (area.contains(before)) {
        frame.moveLeft(
            qBound(area.left(), frame.left(), qMax(area.left(), area.right() + 1 - frame.width())));
        frame.moveTop(
            qBound(area.top(), frame.top(), qMax(area.top(), area.bottom() + 1 - frame.height())));
    }
    if (m_screens)
        m_screens->frameIsReshaped(before, frame);
    setGeometry(frame);
}

bool ViewerWindow::hasOrdinaryFrame() const {
    return (windowStates() & (Qt::WindowFullScreen | Qt::WindowMinimized | Qt::WindowMaximized)) ==
           Qt::WindowNoState;
}

void ViewerWindow::moveEvent(QMoveEvent *event) {
    QQuickWindow::moveEvent(event);
    if (m_screens)
        m_screens->frameHasChanged();
    geometryWasReported();
    if (m_delegate.didMove)
        m_delegate.didMove();
}

void ViewerWindow::resizeEvent(QResizeEvent *event) {
    QQuickWindow::resizeEvent(event);
    m_sizeSettled.start();
    if (m_screens)
        m_screens->frameHasChanged();
    geometryWasReported();
    if (m_delegate.didResize)
        m_delegate.didResize();
}

// ---- Level ----

void ViewerWindow::setLevel(WindowLevel level) {
    setFlag(Qt::WindowStaysOnTopHint, level == WindowLevel::floating);
}

WindowLevel ViewerWindow::level() const {
    return flags().testFlag(Qt::WindowStaysOnTopHint) ? WindowLevel::floating : WindowLevel::normal;
}

// ---- Frame ----

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

// ---- Closing and drawing ----

void ViewerWindow::performClose() {
    close();
}

bool ViewerWindow::event(QEvent *event) {
    // A close can arrive more than once (button, window manager, termination); the first one
    // counts.
    if (event->type() == QEvent::Close && !m_isClosing) {
        m_isClosing = true;
        m_frameAnimation.stop();
        m_frameSettled.stop();
        if (m_screens)
            m_screens->frameRested(); // there is no time left in which it could
        if (m_delegate.willClose)
            m_delegate.willClose();
    }
    if (event->type() == QEvent::WindowBlocked) {
        // The release of a button that is held goes to nobody now.
        if (QQuickItem *item = mouseGrabberItem())
            item->ungrabMouse();
    }
    if (giveToOpenMenu(*event))
        return true;
    if (event->type() == QEvent::MouseButtonPress)
        mouseButtonPressed(static_cast<QMouseEvent *>(event)->button());
    return QQuickWindow::event(event);
}

bool ViewerWindow::giveToOpenMenu(QEvent &event) {
    // Where menus hold pointer and keyboard, as under X11, nothing of this comes here. Under
    // Wayland the keyboard stays with the window, and so do presses that miss the menu.
    QWidget *menu = QApplication::activePopupWidget();
    if (menu == nullptr)
        return false;
    if (event.type() == QEvent::KeyPress || event.type() == QEvent::KeyRelease) {
        QCoreApplication::sendEvent(menu, &event);
        return true;
    }
    if (event.type() == QEvent::MouseButtonPress) {
        closePopUpMenus();
        return true;
    }
    return false;
}

void ViewerWindow::mouseButtonPressed(Qt::MouseButton button) {
    // The left button may take hold of the window; any may ask for another frame, which begins
    // where this one leads.
    if (button == Qt::LeftButton)
        giveUpRequestedFrame();
    else
        finishFrameAnimation();
    if (m_delegate.mouseDown)
        m_delegate.mouseDown();
}

void ViewerWindow::reportActivity() {
    QAccessible::State what;
    what.active = true;
    QAccessibleStateChangeEvent changed(this, what);
    QAccessible::updateAccessibility(&changed);
}

void ViewerWindow::keyPressEvent(QKeyEvent *event) {
    QQuickWindow::keyPressEvent(event);
    if (!event->isAccepted() && m_delegate.keyDown && m_delegate.keyDown(*event))
        event->accept();
}

void ViewerWindow::whenFirstDrawn(std::function<void()> action) {
    if (m_wasDrawn)
        QMetaObject::invokeMethod(this, std::move(action), Qt::QueuedConnection);
    else
        m_firstDrawn = std::move(action);
}

} // namespace lumvik
