#include "viewer/ViewerWindow.h"

#include "viewer/MouseButtons.h"
#include "viewer/WindowFrame.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>

namespace lumvik {

namespace {

constexpr QSize initialSize{1120, 630};
constexpr QSize minimumViewerSize{480, 270};

/// How long after the last size a window that the window manager left in another shape is
/// corrected, in milliseconds. Correcting each size of an interactive resize would fight with the
/// pointer.
constexpr int shapeCorrectionDelay = 150;

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
    connect(this, &QWindow::windowStateChanged, this, [this] {
        m_sizeSettled.start();
        if (m_delegate.didChangeState)
            m_delegate.didChangeState();
    });
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

QRect ViewerWindow::availableArea() const {
    const QScreen *where = screen() != nullptr ? screen() : QGuiApplication::primaryScreen();
    return where == nullptr ? QRect(position(), size()) : where->availableGeometry();
}

void ViewerWindow::setContentAspectRatio(ContentAspectRatio ratio) {
    m_ratio = ratio;
    m_sizeHints.setAspectRatio(ratio);
    m_shapeCorrection.reset();
    correctShape();
}

void ViewerWindow::correctShape() {
    if (!hasOrdinaryFrame())
        return;
    // A window that the user holds goes where the pointer says, and is put right afterwards.
    if (mouseButtonIsDown()) {
        m_sizeSettled.start();
        return;
    }
    const QRect area = availableArea();
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
    if (m_delegate.didMove)
        m_delegate.didMove();
}

void ViewerWindow::resizeEvent(QResizeEvent *event) {
    QQuickWindow::resizeEvent(event);
    m_sizeSettled.start();
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
    const QPoint place = isPlacedByProgram() ? position() : m_restoredPlace.value_or(position());
    return savedFrameString(QRect(place, size()), where == nullptr ? QRect() : where->geometry());
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
    setGeometry(centredFrame(size(), availableArea()));
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
        if (m_delegate.willClose)
            m_delegate.willClose();
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
