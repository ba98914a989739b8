#include "window/ViewerWindow.h"

#include "platform/PreferenceKeys.h"
#include "window/MouseButtonState.h"
#include "window/PopUpMenu.h"

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
    resize(PreferenceKeys::defaultViewerSize);
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
