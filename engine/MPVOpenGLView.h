#pragma once

#include "engine/VideoFramePacing.h"
#include "engine/VideoRenderer.h"
#include "platform/MainQueue.h"

#include <QImage>
#include <QQuickItem>
#include <QSize>

#include <mpv/client.h>

#include <functional>
#include <memory>
#include <span>

namespace lumvik {

/// The view into which libmpv draws, below everything else in its window.
///
/// The view decides which of the engine's frames are drawn, when, and whether the window shows a
/// picture or black. The view's VideoRenderer draws the frames with OpenGL or, where there is no
/// graphics card, on the processor. The window must use the basic render loop or the software back
/// end, which both draw on the main thread. Use this class on the main thread only. libmpv's update
/// callback runs on other threads, but only posts a task to the main thread.
///
/// While the window is not exposed, the view draws nothing, but fetches and drops every announced
/// frame. The engine would otherwise wait for each frame to be fetched and would fall behind
/// permanently. A dropped frame still counts as shown, because it proves that the camera is
/// delivering.
class MPVOpenGLView : public QQuickItem {
    Q_OBJECT

  public:
    explicit MPVOpenGLView(MainQueue &mainQueue, QQuickItem *parent = nullptr);
    ~MPVOpenGLView() override;

    /// Creates the render context for `player` with the window's graphics. Returns libmpv's
    /// result, which is negative on failure. Calling this on any thread but the main thread
    /// terminates the process.
    [[nodiscard]] int configureWithMPV(mpv_handle *player);

    /// Returns the properties that a player of this view must have, apart from those of
    /// `livePlaybackProperties`. The window must have been drawn.
    [[nodiscard]] std::span<const PlayerSetting> playerProperties() const {
        return m_renderer->playerProperties();
    }

    /// Returns the name of the player's property that contains the rotation of the video, clockwise
    /// in degrees.
    [[nodiscard]] const char *rotationProperty() const { return m_renderer->rotationProperty(); }
    /// Returns the direction in the player's frames that appears as `direction` in the view.
    [[nodiscard]] QPointF directionInFrame(const QPointF &direction) const {
        return m_renderer->directionInFrame(direction);
    }
    /// Must be called when the parameters of the video have changed.
    void videoParametersChanged();

    /// Frees the render context, if there is one. Call this function before the player is
    /// destroyed. Calling this on any thread but the main thread terminates the process.
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
    void expectPicture();
    [[nodiscard]] bool expectsPicture() const { return m_expectsPicture; }

    /// Sets the handler that runs once for every new frame, after the frame was shown.
    void setFrameRenderedHandler(std::function<void()> handler);

    /// Sets the handler that runs whenever the value of `showsPicture` changes.
    void setPictureHandler(std::function<void()> changed) { m_pictureChanged = std::move(changed); }

    /// Sets the handler that runs before a picture is replaced by black although it may still be
    /// young: `forgetPicture` was called or the player is about to be destroyed. The handler may
    /// call `copyOfPicture`.
    void setPictureWillGoHandler(std::function<void()> handler) {
        m_pictureWillGo = std::move(handler);
    }
    /// Returns a copy of the picture that the view shows, of the size `drawableSize`, or a null
    /// image if the view shows black. Takes some milliseconds.
    [[nodiscard]] QImage copyOfPicture() { return copyOfPicture(drawableSize()); }
    /// Returns the same as if the view had `size` pixels.
    [[nodiscard]] QImage copyOfPicture(QSize size);

    /// Sets the handlers for the loss and the return of the window's graphics. `lost` runs after
    /// the graphics were lost while a player was attached; the render context has already been
    /// freed at that time. `restored` runs when the graphics are available again after a loss, with
    /// or without a player.
    void setGraphicsHandlers(std::function<void()> lost, std::function<void()> restored);

    /// The size of the area that libmpv renders into, in pixels.
    [[nodiscard]] QSize drawableSize() const;

  protected:
    void itemChange(ItemChange change, const ItemChangeData &value) override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;

    QSGNode *updatePaintNode(QSGNode *node, UpdatePaintNodeData *data) override;

  private:
    /// Whether windows are drawn with OpenGL rather than by the software back end.
    [[nodiscard]] static bool drawsWithOpenGL();
    void requestDrawing();
    void adoptWindow(QQuickWindow *window);
    void draw();
    void reportShownFrame();
    void noteNextFrame();
    void setShowsPicture(bool shows);
    void announceEndOfPicture();
    void skipPendingFrame();
    void drawLastFrameSoon();
    void graphicsWereInvalidated();
    void graphicsWereInitialized();

    friend void lumvik_render_update(void *context);

    MainQueue &m_mainQueue;
    std::unique_ptr<VideoRenderer> m_renderer;
    VideoFramePacing m_pacing;
    bool m_hasPendingVideoFrame = false;
    bool m_expectsPicture = true; // false from a load command until its stream starts
    bool m_showsPicture = false;  // whether the engine's last frame belongs to the expected stream
    bool m_willDrawLastFrame = false; // a redraw is scheduled in case no further frame arrives
    bool m_graphicsWereLost = false;  // the graphics were lost and have not been restored yet
    std::shared_ptr<const std::function<void()>> m_frameRenderedHandler;
    std::function<void()> m_pictureChanged;
    std::function<void()> m_pictureWillGo;
    std::function<void()> m_graphicsLost;
    std::function<void()> m_graphicsRestored;
};

/// libmpv's update callback, where `context` is the view. May be called on any thread.
void lumvik_render_update(void *context);

} // namespace lumvik
