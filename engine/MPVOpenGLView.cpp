#include "engine/MPVOpenGLView.h"

#include "engine/OpenGLVideoRenderer.h"
#include "engine/SoftwareVideoRenderer.h"

#include <QCoreApplication>
#include <QPointer>
#include <QQuickWindow>
#include <QThread>

#include <utility>

namespace lumvik {

namespace {

void assertMainThread(const char *failure) {
    if (QThread::currentThread() != QCoreApplication::instance()->thread())
        qFatal("%s", failure);
}

} // namespace

void lumvik_render_update(void *context) {
    auto *view = static_cast<MPVOpenGLView *>(context);
    view->m_mainQueue.async([view = QPointer(view)] {
        if (view)
            view->consumeRenderUpdates();
    });
}

MPVOpenGLView::MPVOpenGLView(MainQueue &mainQueue, QQuickItem *parent)
    : QQuickItem(parent)
    , m_mainQueue(mainQueue) {
    if (drawsWithOpenGL())
        m_renderer = std::make_unique<OpenGLVideoRenderer>(*this);
    else
        m_renderer = std::make_unique<SoftwareVideoRenderer>(*this, [this] { draw(); });
    if (window() != nullptr)
        adoptWindow(window());
}

MPVOpenGLView::~MPVOpenGLView() {
    m_pictureChanged = nullptr; // the handlers' receiver may already be destroyed
    m_pictureWillGo = nullptr;
    shutdownRenderContext();
}

void MPVOpenGLView::itemChange(ItemChange change, const ItemChangeData &value) {
    if (change == ItemSceneChange && value.window != nullptr)
        adoptWindow(value.window);
    QQuickItem::itemChange(change, value);
}

bool MPVOpenGLView::drawsWithOpenGL() {
    return QQuickWindow::sceneGraphBackend() != QLatin1String("software");
}

void MPVOpenGLView::adoptWindow(QQuickWindow *window) {
    // The connections are direct, because these signals are emitted during rendering, on the main
    // thread, with the window's context current.
    constexpr auto direct =
        static_cast<Qt::ConnectionType>(Qt::DirectConnection | Qt::UniqueConnection);
    if (drawsWithOpenGL())
        connect(window, &QQuickWindow::beforeRenderPassRecording, this, &MPVOpenGLView::draw,
                direct);
    connect(window, &QQuickWindow::frameSwapped, this, &MPVOpenGLView::reportShownFrame, direct);
    connect(window, &QQuickWindow::sceneGraphInvalidated, this,
            &MPVOpenGLView::graphicsWereInvalidated, direct);
    connect(window, &QQuickWindow::sceneGraphInitialized, this,
            &MPVOpenGLView::graphicsWereInitialized, direct);
}

int MPVOpenGLView::configureWithMPV(mpv_handle *player) {
    assertMainThread("The renderer must be created on the main thread.");
    shutdownRenderContext();
    return m_renderer->attach(player, &lumvik_render_update, this);
}

void MPVOpenGLView::shutdownRenderContext() {
    assertMainThread("The renderer must be destroyed on the main thread.");
    if (m_renderer->isAttached()) {
        announceEndOfPicture();
        m_renderer->detach();
        requestDrawing(); // otherwise the last picture would stay and look live
    }
    m_hasPendingVideoFrame = false;
    m_expectsPicture = true;
    setShowsPicture(false);
}

void MPVOpenGLView::requestDrawing() {
    m_renderer->requestDrawing(*this);
}

QSGNode *MPVOpenGLView::updatePaintNode(QSGNode *node, UpdatePaintNodeData * /*data*/) {
    return m_renderer->updateNode(node, *this);
}

void MPVOpenGLView::announceEndOfPicture() {
    if (m_showsPicture && m_pictureWillGo)
        m_pictureWillGo();
}

QImage MPVOpenGLView::copyOfPicture(QSize size) {
    if (!m_showsPicture || !m_renderer->isAttached() || window() == nullptr || size.isEmpty())
        return {};
    return m_renderer->copyOfLastFrame(size);
}

void MPVOpenGLView::forgetPicture() {
    announceEndOfPicture();
    m_expectsPicture = false;
    m_hasPendingVideoFrame = false;
    setShowsPicture(false);
    requestDrawing();
}

void MPVOpenGLView::hidePicture() {
    if (m_showsPicture)
        requestDrawing();
    setShowsPicture(false);
}

void MPVOpenGLView::expectPicture() {
    m_expectsPicture = true;
    m_renderer->videoHasChanged();
}

void MPVOpenGLView::videoParametersChanged() {
    m_renderer->videoHasChanged();
    if (m_showsPicture)
        requestDrawing();
}

void MPVOpenGLView::setShowsPicture(bool shows) {
    if (std::exchange(m_showsPicture, shows) != shows && m_pictureChanged)
        m_pictureChanged();
}

void MPVOpenGLView::setFrameRenderedHandler(std::function<void()> handler) {
    m_frameRenderedHandler =
        handler ? std::make_shared<const std::function<void()>>(std::move(handler)) : nullptr;
}

void MPVOpenGLView::setGraphicsHandlers(std::function<void()> lost,
                                        std::function<void()> restored) {
    m_graphicsLost = std::move(lost);
    m_graphicsRestored = std::move(restored);
}

QSize MPVOpenGLView::drawableSize() const {
    return VideoRenderer::pixelSize(*this);
}

void MPVOpenGLView::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    requestDrawing();
}

void MPVOpenGLView::consumeRenderUpdates() {
    if (!m_renderer->isAttached() || !m_renderer->takeUpdate())
        return;
    const bool drawingIsDue = m_hasPendingVideoFrame;
    noteNextFrame();
    if (window() == nullptr || !window()->isExposed()) {
        skipPendingFrame();
        m_renderer->pictureBecameOld(*this);
    } else if (!drawingIsDue && m_hasPendingVideoFrame &&
               m_pacing.frameAnnounced(m_mainQueue.now()) == VideoFramePacing::Verdict::skip) {
        skipPendingFrame();
        drawLastFrameSoon();
    } else {
        requestDrawing();
    }
}

void MPVOpenGLView::drawLastFrameSoon() {
    if (m_willDrawLastFrame)
        return;
    m_willDrawLastFrame = true;
    (void)m_mainQueue.after(VideoFramePacing::drawingInterval, [view = QPointer(this)] {
        if (!view)
            return;
        view->m_willDrawLastFrame = false;
        view->requestDrawing();
    });
}

void MPVOpenGLView::noteNextFrame() {
    if (m_expectsPicture && m_renderer->nextFrameIsNew()) {
        m_hasPendingVideoFrame = true;
        setShowsPicture(true);
    }
}

void MPVOpenGLView::skipPendingFrame() {
    m_renderer->discard(drawableSize());
    reportShownFrame();
}

void MPVOpenGLView::draw() {
    // The window has already been cleared to black and stays black without a player.
    if (!m_renderer->isAttached())
        return;
    // The scene may be redrawn for another reason after the engine announced a frame, but before
    // the posted announcement was handled.
    noteNextFrame();
    m_renderer->drawInScene(drawableSize(), m_showsPicture ? VideoRenderer::FrameUse::show
                                                           : VideoRenderer::FrameUse::discard);
    m_pacing.frameWasDrawn(m_mainQueue.now());
}

void MPVOpenGLView::reportShownFrame() {
    if (!m_renderer->reportShownFrame())
        return;
    if (!m_hasPendingVideoFrame)
        return;
    m_hasPendingVideoFrame = false;
    m_pacing.frameWasShown(m_mainQueue.now());
    // The copy keeps the handler alive while it runs, because the handler may replace or clear
    // itself.
    if (const auto handler = m_frameRenderedHandler)
        (*handler)();
}

void MPVOpenGLView::graphicsWereInvalidated() {
    m_graphicsWereLost = true;
    if (!m_renderer->isAttached())
        return;
    m_renderer->detach();
    m_hasPendingVideoFrame = false;
    setShowsPicture(false);
    if (m_graphicsLost)
        m_mainQueue.async(m_graphicsLost);
}

void MPVOpenGLView::graphicsWereInitialized() {
    if (!m_graphicsWereLost)
        return;
    m_graphicsWereLost = false;
    if (m_graphicsRestored)
        m_mainQueue.async(m_graphicsRestored);
}

} // namespace lumvik
