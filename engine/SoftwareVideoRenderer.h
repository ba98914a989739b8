#pragma once

#include "engine/VideoRenderer.h"

#include <QImage>

#include <functional>
#include <optional>

class QPainter;

namespace lumvik {

/// Draws on the processor, without OpenGL. On a machine without a graphics card, this renderer
/// needs a quarter of the time that OpenGL in software needs. The window must use the software back
/// end of Qt Quick.
///
/// libmpv converts and scales each frame. If the whole view is redrawn anyway, it does so directly
/// in the window's back buffer. Otherwise it draws into an image of the renderer's own, from which
/// the scene copies whatever part of the window has to be redrawn. Controls that fade over the
/// picture therefore cause no further conversions.
class SoftwareVideoRenderer final : public VideoRenderer {
  public:
    /// `drawFrame` is called while the scene is being drawn, whenever a drawing of the view was
    /// requested. `drawFrame` is expected to call `drawInScene`. `view` must outlive the renderer.
    SoftwareVideoRenderer(QQuickItem &view, std::function<void()> drawFrame);
    ~SoftwareVideoRenderer() override;

    [[nodiscard]] std::span<const PlayerSetting> playerProperties() override;
    [[nodiscard]] const char *rotationProperty() const override;
    [[nodiscard]] QPointF directionInFrame(const QPointF &direction) const override;
    void videoHasChanged() override { m_rotation.reset(); }
    void drawInScene(QSize size, FrameUse use) override;
    [[nodiscard]] QImage copyOfLastFrame(QSize size) override;
    void pictureBecameOld(QQuickItem &view) override { requestDrawing(view); }
    void requestDrawing(QQuickItem &view) override;
    QSGNode *updateNode(QSGNode *node, QQuickItem &view) override;

  protected:
    int create(mpv_render_context **context, mpv_handle *player) override;
    void wasDetached() override;
    [[nodiscard]] int render(mpv_render_context *context, QSize size, FrameUse use) override;

  private:
    class Node;

    /// Where libmpv draws to.
    struct Target {
        uchar *bytes = nullptr; ///< The first line, or null if there is no target.
        std::size_t bytesPerLine = 0;
    };
    /// Where the frame that the view shows is.
    enum class Frame {
        none, ///< The view is black.
        inImage,
        inWindow, ///< In the window's back buffer only.
    };

    /// Draws the view's part of the scene. The painter's origin is the view's top left corner, and
    /// its clip is the part of the window that is redrawn.
    void paint(QPainter &painter);
    void paintImage(QPainter &painter);
    /// Makes `m_image` an image of `size` pixels that libmpv can draw into.
    void prepareImage(QSize size);
    /// Returns the back buffer that `painter` draws to if libmpv may draw into it directly: the
    /// view fills it, and all of it is redrawn. Otherwise returns no target.
    [[nodiscard]] Target windowTarget(const QPainter &painter) const;
    /// Returns the size of the unrotated frame in a view of `size` pixels.
    [[nodiscard]] QSize unrotated(QSize size) const;

    QQuickItem &m_view;
    std::function<void()> m_drawFrame;
    /// Shared with the node, which may outlive the renderer.
    std::shared_ptr<SoftwareVideoRenderer *> m_self;
    /// The last frame as the camera sent it, not rotated, in the size of the view. Empty while
    /// frames are drawn directly.
    QImage m_image;
    mpv_handle *m_player = nullptr; ///< The attached player, or null.
    /// In degrees, clockwise: 0, 90, 180 or 270. Not set while unknown.
    std::optional<int> m_rotation;
    bool m_drawingIsDue = false;
    Frame m_frame = Frame::none;
    Target m_target;
    int m_framesUntilDirect = 0;
};

} // namespace lumvik
