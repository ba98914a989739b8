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

/// The view into which libmpv draws, below everything else in its window.
///
/// The picture is rendered directly into the window's framebuffer, inside the scene graph's render
/// pass and before the scene itself, so that it is never copied. The window must use the basic
/// render loop, which renders on the main thread: every call of this class and every OpenGL call
/// happens there. The exception is libmpv's update callback, which only posts to the main thread.
///
/// While the window is not exposed, nothing is drawn. Announced frames are then fetched and
/// dropped, because the engine would otherwise wait for each of them and fall behind permanently.
/// Dropped frames still count as shown: they prove that the camera is delivering.
class MPVOpenGLView : public QQuickItem {
    Q_OBJECT

  public:
    explicit MPVOpenGLView(MainQueue &mainQueue, QQuickItem *parent = nullptr);
    ~MPVOpenGLView() override;

    /// Creates the render context for `player` in the window's OpenGL context. Returns libmpv's
    /// result, which is negative on failure. Calling this on any thread but the main thread
    /// terminates the process.
    [[nodiscard]] int configureWithMPV(mpv_handle *player);

    /// Frees the render context, if there is one. This must happen before the player is destroyed.
    /// Calling this on any thread but the main thread terminates the process.
    void shutdownRenderContext();

    /// Queries libmpv for pending updates and schedules a redraw when a frame is ready.
    void consumeRenderUpdates();

    /// Shows black, and neither shows nor reports a frame until `expectPicture` is called. The
    /// frames that the engine still holds belong to the previous stream and would look live.
    void forgetPicture();
    /// Shows black until the next new frame, because the frame on the screen is too old to pass for
    /// live.
    void hidePicture();
    /// Whether a picture is shown rather than black.
    [[nodiscard]] bool showsPicture() const { return m_showsPicture; }
    /// Shows and reports frames again.
    void expectPicture() { m_expectsPicture = true; }
    [[nodiscard]] bool expectsPicture() const { return m_expectsPicture; }

    /// Sets the handler that runs once for every new frame, after the frame was shown.
    void setFrameRenderedHandler(std::function<void()> handler);

    /// Sets the handler that runs whenever the value of `showsPicture` changes.
    void setPictureHandler(std::function<void()> changed) { m_pictureChanged = std::move(changed); }

    /// Sets the handlers for the loss and the return of the window's graphics. `lost` runs after
    /// they were lost while a player was attached; the render context has been freed by then.
    /// `restored` runs when they are available again after a loss, with or without a player.
    void setGraphicsHandlers(std::function<void()> lost, std::function<void()> restored);

    /// The size of the area that libmpv renders into, in pixels.
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
    bool m_expectsPicture = true; // false from a load command until its stream starts
    bool m_showsPicture = false;  // whether the engine's last frame belongs to the expected stream
    bool m_frameWasTaken = false; // a frame was fetched and must still be reported to the engine
    bool m_willDrawLastFrame = false; // a redraw is scheduled in case no further frame arrives
    bool m_graphicsWereLost = false;  // the graphics were lost and have not been restored yet
    std::shared_ptr<const std::function<void()>> m_frameRenderedHandler;
    std::function<void()> m_pictureChanged;
    std::function<void()> m_graphicsLost;
    std::function<void()> m_graphicsRestored;
};

/// Returns the address of an OpenGL function in the current context, for libmpv. `context` is
/// unused.
[[nodiscard]] void *lumvik_get_proc_address(void *context, const char *name);

/// libmpv's update callback, where `context` is the view. May be called on any thread.
void lumvik_render_update(void *context);

} // namespace lumvik
