#include "engine/MPVOpenGLView.h"

#include <QGuiApplication>
#include <QOpenGLContext>
#include <QPointer>
#include <QQuickOpenGLUtils>
#include <QQuickWindow>
#include <QThread>

#include <dlfcn.h>

#include <array>
#include <utility>

namespace lumvik {

namespace {

void assertMainThread(const char *failure) {
    if (QThread::currentThread() != QCoreApplication::instance()->thread())
        qFatal("%s", failure);
}

/// The parameters for creating the render context. Passing the display connection lets the engine
/// hand decoded surfaces to OpenGL without copying them, where the hardware and its driver support
/// that (VA-API on Intel and AMD).
class CreationParameters {
  public:
    CreationParameters() {
        add(MPV_RENDER_PARAM_API_TYPE, const_cast<char *>(MPV_RENDER_API_TYPE_OPENGL));
        add(MPV_RENDER_PARAM_OPENGL_INIT_PARAMS, &m_openGL);
        if (const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
            x11 != nullptr && x11->display() != nullptr)
            add(MPV_RENDER_PARAM_X11_DISPLAY, x11->display());
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
#if QT_CONFIG(wayland)
        // Qt provides the Wayland display from version 6.5 on. Older versions copy the surfaces.
        if (const auto *wayland = qGuiApp->nativeInterface<QNativeInterface::QWaylandApplication>();
            wayland != nullptr && wayland->display() != nullptr)
            add(MPV_RENDER_PARAM_WL_DISPLAY, wayland->display());
#endif
#endif
    }

    mpv_render_param *data() {
        return m_parameters.data();
    }

  private:
    void add(mpv_render_param_type type, void *value) {
        m_parameters.at(m_count++) = {type, value};
    }

    mpv_opengl_init_params m_openGL{&lumvik_get_proc_address, nullptr};
    std::array<mpv_render_param, 4> m_parameters{}; // the last element stays zero and ends the list
    std::size_t m_count = 0;
};

} // namespace

void *lumvik_get_proc_address(void *, const char *name) {
    // The windowing system's look-up comes first: OpenGL libraries may be absent from the global
    // scope, and functions of extensions need not be exported symbols.
    if (QOpenGLContext *context = QOpenGLContext::currentContext()) {
        if (const auto function = context->getProcAddress(name))
            return reinterpret_cast<void *>(function);
    }
    return dlsym(RTLD_DEFAULT, name);
}

void lumvik_render_update(void *context) {
    auto *view = static_cast<MPVOpenGLView *>(context);
    view->m_mainQueue.async([view = QPointer(view)] {
        if (view)
            view->consumeRenderUpdates();
    });
}

void MPVOpenGLView::RenderContextDeleter::operator()(mpv_render_context *context) const {
    mpv_render_context_set_update_callback(context, nullptr, nullptr);
    mpv_render_context_free(context);
}

MPVOpenGLView::MPVOpenGLView(MainQueue &mainQueue, QQuickItem *parent)
    : QQuickItem(parent)
    , m_mainQueue(mainQueue) {
    if (window() != nullptr)
        adoptWindow(window());
}

MPVOpenGLView::~MPVOpenGLView() {
    m_pictureChanged = nullptr; // its receiver may already be destroyed
    shutdownRenderContext();
}

void MPVOpenGLView::itemChange(ItemChange change, const ItemChangeData &value) {
    if (change == ItemSceneChange && value.window != nullptr)
        adoptWindow(value.window);
    QQuickItem::itemChange(change, value);
}

void MPVOpenGLView::adoptWindow(QQuickWindow *window) {
    // The connections are direct, because these signals are emitted during rendering, on the main
    // thread, with the window's context current.
    constexpr auto direct =
        static_cast<Qt::ConnectionType>(Qt::DirectConnection | Qt::UniqueConnection);
    connect(window, &QQuickWindow::beforeRenderPassRecording, this, &MPVOpenGLView::draw, direct);
    connect(window, &QQuickWindow::frameSwapped, this, &MPVOpenGLView::reportShownFrame, direct);
    connect(window, &QQuickWindow::sceneGraphInvalidated, this,
            &MPVOpenGLView::graphicsWereInvalidated, direct);
    connect(window, &QQuickWindow::sceneGraphInitialized, this,
            &MPVOpenGLView::graphicsWereInitialized, direct);
}

bool MPVOpenGLView::makeContextCurrent() {
    if (window() == nullptr)
        return false;
    auto *context = static_cast<QOpenGLContext *>(window()->rendererInterface()->getResource(
        window(), QSGRendererInterface::OpenGLContextResource));
    return context != nullptr && context->makeCurrent(window());
}

int MPVOpenGLView::configureWithMPV(mpv_handle *player) {
    assertMainThread("The renderer must be created on the main thread.");
    shutdownRenderContext();
    // Without a current context libmpv finds no OpenGL functions and returns an error itself.
    const bool isCurrent = makeContextCurrent();
    CreationParameters parameters;
    mpv_render_context *context = nullptr;
    const int result = mpv_render_context_create(&context, player, parameters.data());
    if (isCurrent)
        QQuickOpenGLUtils::resetOpenGLState();
    if (result < 0)
        return result;
    m_renderContext.reset(context);
    mpv_render_context_set_update_callback(context, &lumvik_render_update, this);
    return result;
}

void MPVOpenGLView::shutdownRenderContext() {
    assertMainThread("The renderer must be destroyed on the main thread.");
    if (m_renderContext) {
        const bool isCurrent = makeContextCurrent();
        m_renderContext.reset();
        if (isCurrent)
            QQuickOpenGLUtils::resetOpenGLState();
        if (window() != nullptr)
            window()->update(); // otherwise the last picture would stay and look live
    }
    m_hasPendingVideoFrame = false;
    m_frameWasTaken = false;
    m_expectsPicture = true;
    setShowsPicture(false);
}

void MPVOpenGLView::forgetPicture() {
    m_expectsPicture = false;
    m_hasPendingVideoFrame = false;
    setShowsPicture(false);
    if (window() != nullptr)
        window()->update();
}

void MPVOpenGLView::hidePicture() {
    if (m_showsPicture && window() != nullptr)
        window()->update();
    setShowsPicture(false);
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
    const qreal scale = window() == nullptr ? 1.0 : window()->effectiveDevicePixelRatio();
    return {static_cast<int>(width() * scale), static_cast<int>(height() * scale)};
}

void MPVOpenGLView::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (window() != nullptr)
        window()->update();
}

void MPVOpenGLView::consumeRenderUpdates() {
    if (!m_renderContext)
        return;
    if ((mpv_render_context_update(m_renderContext.get()) & MPV_RENDER_UPDATE_FRAME) == 0)
        return;
    const bool drawingIsDue = m_hasPendingVideoFrame;
    noteNextFrame();
    if (window() == nullptr || !window()->isExposed()) {
        skipPendingFrame();
    } else if (!drawingIsDue && m_hasPendingVideoFrame &&
               m_pacing.frameAnnounced(m_mainQueue.now()) == VideoFramePacing::Verdict::skip) {
        skipPendingFrame();
        drawLastFrameSoon();
    } else {
        window()->update();
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
        if (view->window() != nullptr)
            view->window()->update();
    });
}

bool MPVOpenGLView::nextFrameIsNew() const {
    // The engine also announces black when a stream is replaced, and repeats the last picture when
    // an overlay changed. Neither proves that the camera is delivering.
    mpv_render_frame_info info{};
    if (mpv_render_context_get_info(m_renderContext.get(),
                                    {MPV_RENDER_PARAM_NEXT_FRAME_INFO, &info}) < 0)
        return true; // without this information, every frame counts as new
    constexpr std::uint64_t notNew = MPV_RENDER_FRAME_INFO_REDRAW | MPV_RENDER_FRAME_INFO_REPEAT;
    // A redraw after a dropped frame lacks the redraw flag, but no redraw has a target time.
    return (info.flags & MPV_RENDER_FRAME_INFO_PRESENT) != 0 && (info.flags & notNew) == 0 &&
           info.target_time != 0;
}

void MPVOpenGLView::noteNextFrame() {
    if (m_expectsPicture && nextFrameIsNew()) {
        m_hasPendingVideoFrame = true;
        setShowsPicture(true);
    }
}

void MPVOpenGLView::skipPendingFrame() {
    // The engine may create or release textures even for a skipped frame, if its size has changed.
    const bool isCurrent = makeContextCurrent();
    render(true);
    if (isCurrent)
        QQuickOpenGLUtils::resetOpenGLState();
    reportShownFrame();
}

void MPVOpenGLView::render(bool skip) {
    const QSize size = drawableSize();
    mpv_opengl_fbo framebuffer{0, size.width(), size.height(), 0};
    int flip = 1;
    // By default the call would block the main thread until the frame's target time. A live picture
    // should be shown at once, and the main thread has other work to do.
    int block = 0;
    int skipRendering = skip ? 1 : 0;
    std::array parameters{
        mpv_render_param{MPV_RENDER_PARAM_OPENGL_FBO, &framebuffer},
        mpv_render_param{MPV_RENDER_PARAM_FLIP_Y, &flip},
        mpv_render_param{MPV_RENDER_PARAM_BLOCK_FOR_TARGET_TIME, &block},
        mpv_render_param{MPV_RENDER_PARAM_SKIP_RENDERING, &skipRendering},
        mpv_render_param{MPV_RENDER_PARAM_INVALID, nullptr},
    };
    mpv_render_context_render(m_renderContext.get(), parameters.data());
    m_frameWasTaken = true;
}

void MPVOpenGLView::draw() {
    // The render pass has already cleared the window to black. Without a context it stays black.
    if (!m_renderContext)
        return;
    window()->beginExternalCommands();
    // The scene graph leaves its OpenGL state behind; its depth test alone would hide the picture.
    QQuickOpenGLUtils::resetOpenGLState();
    // The scene may be redrawn for another reason after the engine announced a frame, but before
    // the posted announcement was handled.
    noteNextFrame();
    render(!m_showsPicture);
    window()->endExternalCommands();
    m_pacing.frameWasDrawn(m_mainQueue.now());
}

void MPVOpenGLView::reportShownFrame() {
    // Report a swap only if a frame was fetched: from the first report on, the engine waits for a
    // report after each frame.
    if (m_renderContext && std::exchange(m_frameWasTaken, false))
        mpv_render_context_report_swap(m_renderContext.get());
    if (!m_hasPendingVideoFrame)
        return;
    m_hasPendingVideoFrame = false;
    m_pacing.frameWasShown(m_mainQueue.now());
    // The copy keeps the handler alive while it runs, because it may replace or clear itself.
    if (const auto handler = m_frameRenderedHandler)
        (*handler)();
}

void MPVOpenGLView::graphicsWereInvalidated() {
    m_graphicsWereLost = true;
    if (!m_renderContext)
        return;
    // The render context is freed even if the OpenGL context can no longer be made current, because
    // it must not outlive the graphics.
    (void)makeContextCurrent();
    m_renderContext.reset();
    m_hasPendingVideoFrame = false;
    setShowsPicture(false);
    m_frameWasTaken = false;
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
