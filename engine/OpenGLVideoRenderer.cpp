#include "engine/OpenGLVideoRenderer.h"

#include "engine/OpenGLDescription.h"

#include <QGuiApplication>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>
#include <QQuickItem>
#include <QQuickOpenGLUtils>
#include <QQuickWindow>

#include <dlfcn.h>
#include <mpv/render_gl.h>

#include <array>

namespace lumvik {

namespace {

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
        // Qt provides the Wayland display from version 6.5 on. With an older version of Qt, the
        // engine copies the surfaces.
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
    // The look-up function of the windowing system is tried first, because OpenGL libraries may be
    // absent from the global scope, and functions of extensions need not be exported symbols.
    if (QOpenGLContext *context = QOpenGLContext::currentContext()) {
        if (const auto function = context->getProcAddress(name))
            return reinterpret_cast<void *>(function);
    }
    return dlsym(RTLD_DEFAULT, name);
}

void OpenGLVideoRenderer::requestDrawing(QQuickItem &view) {
    if (view.window() != nullptr)
        view.window()->update();
}

std::span<const PlayerSetting> OpenGLVideoRenderer::playerProperties() {
    enterGraphics();
    bool isEmulated = false;
    if (m_isCurrent) {
        const auto *renderer = reinterpret_cast<const char *>(
            QOpenGLContext::currentContext()->functions()->glGetString(GL_RENDERER));
        isEmulated = isOpenGLInSoftware(QString::fromUtf8(renderer));
    }
    leaveGraphics();
    return isEmulated ? std::span<const PlayerSetting>(emulatedOpenGLProperties)
                      : std::span<const PlayerSetting>();
}

int OpenGLVideoRenderer::create(mpv_render_context **context, mpv_handle *player) {
    // Without a current context libmpv finds no OpenGL functions and returns an error itself.
    CreationParameters parameters;
    return mpv_render_context_create(context, player, parameters.data());
}

void OpenGLVideoRenderer::enterGraphics() {
    QQuickWindow *window = m_view.window();
    if (window == nullptr)
        return;
    auto *context = static_cast<QOpenGLContext *>(window->rendererInterface()->getResource(
        window, QSGRendererInterface::OpenGLContextResource));
    m_isCurrent = context != nullptr && context->makeCurrent(window);
}

void OpenGLVideoRenderer::leaveGraphics() {
    if (m_isCurrent)
        QQuickOpenGLUtils::resetOpenGLState();
    m_isCurrent = false;
}

void OpenGLVideoRenderer::drawInScene(QSize size, FrameUse use) {
    m_view.window()->beginExternalCommands();
    // The scene graph does not reset its OpenGL state, and its depth test alone would hide the
    // picture.
    QQuickOpenGLUtils::resetOpenGLState();
    (void)fetch(size, use); // after an error the window stays black
    m_view.window()->endExternalCommands();
}

QImage OpenGLVideoRenderer::copyOfLastFrame(QSize size) {
    QImage copy;
    enterGraphics();
    if (m_isCurrent) {
        // The engine draws its last frame again, because the window's own framebuffer also contains
        // the controls, and its contents are undefined after a swap.
        QOpenGLFramebufferObject framebuffer(size);
        m_framebuffer = static_cast<int>(framebuffer.handle());
        if (framebuffer.isValid() && fetch(size, FrameUse::show)) {
            (void)reportShownFrame();
            copy = framebuffer.toImage().convertToFormat(QImage::Format_RGB32);
        }
        m_framebuffer = 0;
    }
    leaveGraphics();
    return copy;
}

int OpenGLVideoRenderer::render(mpv_render_context *context, QSize size, FrameUse use) {
    mpv_opengl_fbo framebuffer{m_framebuffer, size.width(), size.height(), 0};
    int flip = 1;
    // By default, libmpv would block the main thread until the frame's target time. A live picture
    // should be shown at once, and the main thread has other work to do.
    int block = 0;
    int skip = use == FrameUse::discard ? 1 : 0;
    std::array parameters{
        mpv_render_param{MPV_RENDER_PARAM_OPENGL_FBO, &framebuffer},
        mpv_render_param{MPV_RENDER_PARAM_FLIP_Y, &flip},
        mpv_render_param{MPV_RENDER_PARAM_BLOCK_FOR_TARGET_TIME, &block},
        mpv_render_param{MPV_RENDER_PARAM_SKIP_RENDERING, &skip},
        mpv_render_param{MPV_RENDER_PARAM_INVALID, nullptr},
    };
    return mpv_render_context_render(context, parameters.data());
}

} // namespace lumvik
