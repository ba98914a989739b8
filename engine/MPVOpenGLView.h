#pragma once

#include "engine/VideoFramePacing.h"
#include "platform/MainQueue.h"

#include <QQuickItem>
#include <QSize>

#include <mpv/client.h>
#include <mpv/render_gl.h>

#include <functional>
#include <memory>

namespace lumvik {

/// The view into which libmpv draws, under everything else in its window.
///
/// The picture is rendered straight into the window's framebuffer before the scene is, inside the
/// scene graph's render pass, so that no copy of it is made. The window's render loop must be the
/// basic one, which renders on the main thread: every call here, and every OpenGL call, happens
/// there. The exception is libmpv's update callback, which only posts.
///
/// While the window is not exposed nothing is drawn; announced frames are then taken and dropped,
/// as the engine would otherwise wait for each of them and fall behind for good. They still count
/// as shown: they prove that the camera delivers.
class MPVOpenGLView : public QQuickItem {
    Q_OBJECT

  public:
    explicit MPVOpenGLView(MainQueue &mainQueue, QQuickItem *parent = nullptr);
    ~MPVOpenGLView() override;

    /// Creates the render context for `player` in the window's OpenGL context. Answers libmpv's
    /// result, negative on failure. Calling it on another thread than the main one ends the
    /// process.
    [[nodiscard]] int configureWithMPV(mpv_handle *player);

    /// Frees the render context, if there is one; it must go before the player does. Calling it on
    /// another thread than the main one ends the process.
    void shutdownRenderContext();

    /// Asks libmpv what there is to do, and schedules a redraw when a frame is ready.
    void consumeRenderUpdates();

    /// Shows black from now on, and neither shows nor reports a frame until `expectPicture`: what
    /// the engine still holds belongs to the stream before, and would look live.
    void forgetPicture();
    /// Shows black until the next new frame: what stands there now has stood for too long.
    void hidePicture();
    /// Whether a picture is shown, and not black.
    [[nodiscard]] bool showsPicture() const { return m_showsPicture; }
    /// Shows and reports frames again.
    void expectPicture() { m_expectsPicture = true; }
    [[nodiscard]] bool expectsPicture() const { return m_expectsPicture; }

    /// `handler` runs once for every new frame after it was shown.
    void setFrameRenderedHandler(std::function<void()> handler);

    /// `changed` runs whenever `showsPicture` answers something else than before.
    void setPictureHandler(std::function<void()> changed) { m_pictureChanged = std::move(changed); }

    /// `lost` runs after the window's graphics went away while a player was attached (the render
    /// context is freed by then); `back` runs when there are graphics again after they went away,
    /// with a player or without.
    void setGraphicsHandlers(std::function<void()> lost, std::function<void()> back);

    /// Whether a render context exists.
    [[nodiscard]] bool isAttached() const { return m_renderContext != nullptr; }

    /// Whether a frame was announced that has not been shown yet.
    [[nodiscard]] bool hasPendingVideoFrame() const { return m_hasPendingVideoFrame; }

    /// The size of the area that is rendered into, in pixels.
    [[nodiscard]] QSize drawableSize() const;

  protected:
    void itemChange(ItemChange change, const ItemChangeData &value) override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;

  private:
    struct RenderContextDeleter {
        void operator()(mpv_render_context *context) const;
    };

    void adoptWindow(QQuickWindow *window);
    void draw();
    void reportShownFrame();
    [[nodiscard]] bool nextFrameIsNew() const;
    void noteNextFrame();
    void setShowsPicture(bool shows);
    void skipPendingFrame();
    void drawLastFrameSoon();
    void graphicsWereInvalidated();
    void graphicsWereInitialized();
    [[nodiscard]] bool makeContextCurrent();
    void render(bool skip);

    friend void lumvik_render_update(void *context);

    MainQueue &m_mainQueue;
    std::unique_ptr<mpv_render_context, RenderContextDeleter> m_renderContext;
    VideoFramePacing m_pacing;
    bool m_hasPendingVideoFrame = false;
    bool m_expectsPicture = true; // false between a load and the start of its stream
    bool m_showsPicture = false;  // whether the engine's last frame belongs to the expected stream
    bool m_frameWasTaken = false; // the engine waits for the report of a frame that it handed over
    bool m_willDrawLastFrame = false; // a drawing is due for the case that no further frame comes
    bool m_graphicsWereLost = false;  // and are not back yet
    std::shared_ptr<const std::function<void()>> m_frameRenderedHandler;
    std::function<void()> m_pictureChanged;
    std::function<void()> m_graphicsLost;
    std::function<void()> m_graphicsBack;
};

/// The address of an OpenGL function of the current context, for libmpv. `context` is not used.
[[nodiscard]] void *lumvik_get_proc_address(void *context, const char *name);

/// libmpv's update callback; `context` is the view. Any thread.
void lumvik_render_update(void *context);

} // namespace lumvik
