#pragma once

#include "engine/VideoRenderer.h"

namespace lumvik {

/// Draws with OpenGL, directly into the window's framebuffer, so that the picture is never copied.
/// The window must draw its scene with OpenGL on the main thread.
class OpenGLVideoRenderer final : public VideoRenderer {
  public:
    /// `view` is the item that the renderer draws for, and must outlive the renderer.
    explicit OpenGLVideoRenderer(QQuickItem &view) : m_view(view) {}

    [[nodiscard]] std::span<const PlayerSetting> playerProperties() override;
    /// Must be called within the render pass of the window, before the scene itself is drawn.
    void drawInScene(QSize size, FrameUse use) override;
    [[nodiscard]] QImage copyOfLastFrame(QSize size) override;
    void requestDrawing(QQuickItem &view) override;

  protected:
    int create(mpv_render_context **context, mpv_handle *player) override;
    void enterGraphics() override;
    void leaveGraphics() override;
    [[nodiscard]] int render(mpv_render_context *context, QSize size, FrameUse use) override;

  private:
    QQuickItem &m_view;
    int m_framebuffer = 0;    ///< The OpenGL name of the framebuffer that is drawn into.
    bool m_isCurrent = false; ///< Whether `enterGraphics` made the window's context current.
};

/// Returns the address of an OpenGL function in the current context, for libmpv. `context` is
/// unused.
[[nodiscard]] void *lumvik_get_proc_address(void *context, const char *name);

} // namespace lumvik
