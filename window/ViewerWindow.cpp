#include "window/ViewerWindow.h"

#include "platform/PreferenceKeysAndDefaults.h"
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

/// Disables the depth and stencil buffers. Qt would otherwise create these buffers and clear them
/// whenever the window is drawn. The buffers are useful for scenes with many opaque items, and for
/// clips that are not upright rectangles, but this window only shows a few translucent controls
/// over the picture. This function must be called before the native window is created.
void drawWithoutDepthAndStencil(QQuickWindow &window) {
    QQuickGraphicsConfiguration graphics = window.graphicsConfiguration();
    graphics.setDepthBufferFor2D(false);
    window.setGraphicsConfiguration(graphics);
    QSurfaceFormat format = window.requestedFormat();
    format.setDepthBufferSize(0);
    format.setStencilBufferSize(0);
    window.setFormat(format);
}

/// The time from the last change of the size until a wrong aspect ratio is corrected, in
/// milliseconds. Correcting each step of a resize by the user would fight with the pointer.
constexpr int shapeCorrectionDelay = 150;

/// The duration of the animation to a new frame, in milliseconds.
constexpr int frameAnimationTime = 200;

/// All replies of the window manager to an animation are assumed to have arrived when it has
/// reported no frame for this time, in milliseconds.
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
                // An animation that is not running also emits valueChanged when its start or end
                // value is set.
                if (isBeingAnimated())
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
    // Qt aborts the process on a graphics error if sceneGraphError is not connected, so the signal
    // is always connected.
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

void ViewerWindow::showWithoutActivating() {
    // Qt has this property for windows that consist of widgets; its X11 platform reads it from all.
    constexpr const char *property = "_q_showWithoutActivating";
    setProperty(property, true);
    show();
    setProperty(property, false);
}

void ViewerWindow::setContentAspectRatio(ContentAspectRatio ratio) {
    m_ratio = ratio;
    m_shapeCorrection.reset();
    if (isBeingAnimated())
        return; // frameAnimationEnded sets the ratio
    applySmallestSize();
    m_sizeHints.setAspectRatio(ratio);
    correctShape();
}

void ViewerWindow::correctShape() {
    if (!hasOrdinaryFrame())
        return;
    // A window that the user is moving or resizing, or that is still changing to a requested frame,
    // is corrected afterwards.
    if (mouseButtonIsDown() || m_requestedFrame) {
        m_sizeSettled.start();
        return;
    }
    if (m_ratio.isEmpty())
        return; // any shape is right
    const QRect area = visibleArea();
    const QRect before(position(), size());
    const QRect chosen = m_chosenFrame.frameToShape(before);
    const auto shaped = m_shapeCorrection.sizeToAskFor(
        size(), sizeWithAspectRatio(chosen.size(), m_ratio, minimumSize(), area.size()));
    if (!shaped)
        return;
    QRect frame(chosen.topLeft(), *shaped);
    if (*shaped != chosen.size())
        frame.moveCenter(chosen.center());
    // A window that was completely on its screen stays completely on it.
    if (area.contains(before)) {
        frame.moveLeft(
            qBound(area.left(), frame.left(), qMax(area.left(), area.right() + 1 - frame.width())));
        frame.moveTop(
            qBound(area.top(), frame.top(), qMax(area.top(), area.bottom() + 1 - frame.height())));
    }
    m_chosenFrame.wasShaped(chosen, frame);
    if (m_screens)
        m_screens->memory().frameWasReshaped(before, frame);
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
    // A close event can arrive more than once: from the button, the window manager and the
    // shutdown. Only the first close event counts.
    if (event->type() == QEvent::Close && !m_isClosing) {
        m_isClosing = true;
        m_frameAnimation.stop();
        m_frameSettled.stop();
        if (m_screens)
            m_screens->recordSettledFrame(); // the timer will not fire after the close
        if (m_delegate.willClose)
            m_delegate.willClose();
    }
    if (event->type() == QEvent::WindowBlocked) {
        // A blocked window does not receive the release of the mouse button, so the item that has
        // grabbed the mouse would keep it.
        if (QQuickItem *item = mouseGrabberItem())
            item->ungrabMouse();
    }
    if (forwardToOpenMenu(*event))
        return true;
    if (event->type() == QEvent::MouseButtonPress)
        mouseButtonPressed(static_cast<QMouseEvent *>(event)->button());
    return QQuickWindow::event(event);
}

bool ViewerWindow::forwardToOpenMenu(QEvent &event) {
    // If menus grab the pointer and the keyboard, as under X11, this window never receives these
    // events. Under Wayland the window still receives key events, and presses outside the menu.
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
    // The left button may start dragging the window. Any button may trigger another animation,
    // which starts at the target of the current one.
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
