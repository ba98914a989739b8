#include "viewer/ViewerWindow.h"

#include "viewer/MouseButtons.h"
#include "viewer/WindowFrame.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScreen>

#include <utility>

namespace lumvik {

namespace {

constexpr QSize initialSize{1120, 630};

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
    resize(initialSize);
    setMinimumSize(minimumViewerSize);

    m_sizeSettled.setSingleShot(true);
    m_sizeSettled.setInterval(shapeCorrectionDelay);
    connect(&m_sizeSettled, &QTimer::timeout, this, &ViewerWindow::correctShape);
    connect(this, &QWindow::windowStateChanged, this, &ViewerWindow::stateChanged);
    m_frameAnimation.setDuration(frameAnimationTime);
    m_frameAnimation.setEasingCurve(QEasingCurve::InOutQuad);
    connect(&m_frameAnimation, &QVariantAnimation::valueChanged, this,
            [this](const QVariant &frame) {
                // One that has ended tells of a value when it is given new ones, too.
                if (!isOnItsWay())
                    return;
                m_steps.append(frame.toRect());
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
    QRect frame(QPoint(), *shaped);
    frame.moveCenter(QRect(position(), size()).center());
    // A window that was wholly on its screen stays so.
    if (area.contains(QRect(position(), size()))) {
        frame.moveLeft(
            qBound(area.left(), frame.left(), qMax(area.left(), area.right() + 1 - frame.width())));
        frame.moveTop(
            qBound(area.top(), frame.top(), qMax(area.top(), area.bottom() + 1 - frame.height())));
    }
    setGeometry(frame);
}

bool ViewerWindow::hasOrdinaryFrame() const {
    return (windowStates() & (Qt::WindowFullScreen | Qt::WindowMinimized | Qt::WindowMaximized)) ==
           Qt::WindowNoState;
}

void ViewerWindow::moveEvent(QMoveEvent *event) {
    QQuickWindow::moveEvent(event);
    geometryWasReported();
    if (m_delegate.didMove)
        m_delegate.didMove();
}

void ViewerWindow::resizeEvent(QResizeEvent *event) {
    QQuickWindow::resizeEvent(event);
    m_sizeSettled.start();
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

QString ViewerWindow::savedFrame() const {
    const QScreen *where = screen();
    // Where the compositor alone knows the place, the window believes itself at the origin.
    const QRect is = frame();
    const QPoint place = isPlacedByProgram() ? is.topLeft() : m_restoredPlace.value_or(position());
    return savedFrameString(QRect(place, is.size()),
                            where == nullptr ? QRect() : where->geometry());
}

bool ViewerWindow::setFrameFromString(const QString &text) {
    const auto frame = frameFromString(text);
    if (!frame)
        return false;
    QList<QRect> screens;
    for (const QScreen *each : QGuiApplication::screens()) {
        if (each == QGuiApplication::primaryScreen())
            screens.prepend(each->availableGeometry());
        else
            screens.append(each->availableGeometry());
    }
    const QRect restored =
        frameOnScreens(QRect(frame->topLeft(), frame->size().expandedTo(minimumSize())), screens);
    m_restoredPlace = restored.topLeft();
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
    if (!hasOrdinaryFrame()) {
        m_ordinaryFrame = frame;
        return;
    }
    // From where the window is to be seen now, or will be once the last way is over.
    const QRect start = isOnItsWay() ? geometry() : this->frame();
    m_frameAnimation.stop();
    m_requestedFrame = frame;
    m_steps = {start};
    m_requestWasRepeated = false;
    // It would force every size on the way into the shape.
    m_sizeHints.setAspectRatio({});
    m_frameAnimation.setStartValue(start);
    m_frameAnimation.setEndValue(frame);
    m_frameAnimation.start();
}

void ViewerWindow::finishFrameAnimation() {
    if (isOnItsWay())
        m_frameAnimation.setCurrentTime(m_frameAnimation.duration());
}

void ViewerWindow::frameAnimationEnded() {
    m_sizeHints.setAspectRatio(m_ratio);
    m_frameSettled.start();
}

void ViewerWindow::frameSettled() {
    if (!m_requestedFrame)
        return;
    // A late report of a step on the way makes a request look superfluous that is not.
    if (geometry() != *m_requestedFrame && !mouseButtonIsDown() &&
        !std::exchange(m_requestWasRepeated, true)) {
        setGeometry(*m_requestedFrame);
        m_frameSettled.start();
        return;
    }
    m_requestedFrame.reset();
    m_sizeSettled.start();
}

void ViewerWindow::geometryWasReported() {
    if (!m_frameSettled.isActive())
        return;
    if (m_steps.contains(geometry()))
        m_frameSettled.start();
    else
        userTakesOver(); // that was never asked for here
}

void ViewerWindow::userTakesOver() {
    finishFrameAnimation();
    m_frameSettled.stop();
    m_requestedFrame.reset();
}

void ViewerWindow::stateChanged() {
    m_sizeSettled.start();
    if (!hasOrdinaryFrame()) {
        if (isOnItsWay()) {
            m_ordinaryFrame = m_requestedFrame;
            m_frameAnimation.stop();
            m_sizeHints.setAspectRatio(m_ratio);
        }
        m_requestedFrame.reset();
    } else if (const auto frame = std::exchange(m_ordinaryFrame, std::nullopt)) {
        setGeometry(*frame);
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
        if (m_delegate.willClose)
            m_delegate.willClose();
    }
    if (event->type() == QEvent::MouseButtonPress) {
        // The left button may take hold of the window; any may ask for another frame, which begins
        // where this one leads.
        if (static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton)
            userTakesOver();
        else
            finishFrameAnimation();
    }
    return QQuickWindow::event(event);
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
