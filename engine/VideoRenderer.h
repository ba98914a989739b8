#pragma once

#include "engine/PlayerOptions.h"

#include <QImage>
#include <QPointF>
#include <QSize>

#include <mpv/client.h>
#include <mpv/render.h>

#include <memory>
#include <span>

class QQuickItem;
class QSGNode;

namespace lumvik {

/// Draws the frames of a player into a window through libmpv's render API. One subclass draws with
/// OpenGL and one on the processor; MPVOpenGLView decides what is drawn and when, and owns the
/// renderer.
///
/// At most one player is attached at a time. Main thread only, except for the update callback,
/// which libmpv calls on any thread.
class VideoRenderer {
  public:
    /// What happens to a frame that is fetched while the window is being drawn.
    enum class FrameUse {
        show,
        discard, ///< The window shows black instead.
    };

    VideoRenderer() = default;
    VideoRenderer(const VideoRenderer &) = delete;
    VideoRenderer &operator=(const VideoRenderer &) = delete;
    /// The renderer must be detached first.
    virtual ~VideoRenderer();

    /// Creates the render context for `player`, in place of an existing one, and sets its update
    /// callback. Returns libmpv's result, which is negative on failure.
    [[nodiscard]] int attach(mpv_handle *player, mpv_render_update_fn updated,
                             void *updatedContext);
    /// Frees the render context, if there is one. Call this function before the player is
    /// destroyed.
    void detach();
    [[nodiscard]] bool isAttached() const { return m_context != nullptr; }

    /// Returns the properties that a player must have for this renderer. Set them after the
    /// player's initialisation. The window's graphics must be available.
    [[nodiscard]] virtual std::span<const PlayerSetting> playerProperties() = 0;

    /// Returns the name of the player's property that contains the rotation of the video, clockwise
    /// in degrees.
    [[nodiscard]] virtual const char *rotationProperty() const { return "video-params/rotate"; }
    /// Returns the direction in the frames of the player that appears as `direction` in the view.
    [[nodiscard]] virtual QPointF directionInFrame(const QPointF &direction) const {
        return direction;
    }
    /// Must be called when another stream has started and when the video's parameters have changed.
    virtual void videoHasChanged() {}

    // ---- Frames. The renderer must be attached. ----

    /// Returns whether libmpv has something to draw, and resets that state of libmpv.
    [[nodiscard]] bool takeUpdate();
    /// Returns whether the frame that would be fetched next was sent by the camera and has not been
    /// fetched before. Returns true if libmpv has no such information.
    [[nodiscard]] bool nextFrameIsNew() const;

    /// Fetches the next frame while the window's scene is being drawn. `size` is the size of the
    /// view in pixels.
    virtual void drawInScene(QSize size, FrameUse use) = 0;
    /// Fetches and discards the next frame at any other time.
    void discard(QSize size);
    /// Returns a copy of the frame that was drawn last, `size` pixels large and as the view shows
    /// it, or a null image if it cannot be copied. Takes some milliseconds. Not while the scene is
    /// being drawn.
    [[nodiscard]] virtual QImage copyOfLastFrame(QSize size) = 0;
    /// Reports to libmpv that the fetched frame is on the screen. After the first report, libmpv
    /// waits for a report after each frame. Returns whether a frame had been fetched since the last
    /// report.
    bool reportShownFrame();

    // ---- The scene ----

    /// Returns the size of `view` in pixels, rounded down.
    [[nodiscard]] static QSize pixelSize(const QQuickItem &view);

    /// Called when a frame was discarded because the window is hidden. The picture in the window is
    /// old and must not be shown when the window reappears.
    virtual void pictureBecameOld(QQuickItem & /*view*/) {}
    /// Requests that the view is drawn in the next drawing cycle of its window.
    virtual void requestDrawing(QQuickItem &view) = 0;
    /// Returns the scene-graph node that represents the view. `node` is the previous node, or null.
    /// See QQuickItem::updatePaintNode.
    virtual QSGNode *updateNode(QSGNode *node, QQuickItem &view);

  protected:
    /// Creates a render context. Returns libmpv's result.
    virtual int create(mpv_render_context **context, mpv_handle *player) = 0;
    /// Prepares the graphics for calls of libmpv outside the drawing of the scene.
    virtual void enterGraphics() {}
    /// Called after each `enterGraphics`, once the calls of libmpv are done.
    virtual void leaveGraphics() {}
    /// Called when the render context has been freed. Must forget the player and its last frame.
    virtual void wasDetached() {}
    /// Calls mpv_render_context_render for a frame of `size` pixels. Returns libmpv's result.
    [[nodiscard]] virtual int render(mpv_render_context *context, QSize size, FrameUse use) = 0;
    /// Fetches the next frame through `render`. Returns false if libmpv reports an error. Such a
    /// frame does not count as shown: a picture that cannot be drawn must not pass for a live one.
    bool fetch(QSize size, FrameUse use);

  private:
    struct ContextDeleter {
        void operator()(mpv_render_context *context) const;
    };

    std::unique_ptr<mpv_render_context, ContextDeleter> m_context;
    bool m_frameWasFetched = false; ///< A frame was fetched and has not been reported yet.
};

} // namespace lumvik
