#include "engine/SoftwareVideoRenderer.h"

#include "engine/PlayerProperties.h"

#include <QGuiApplication>
#include <QPainter>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSGRenderNode>
#include <QSGRendererInterface>

#include <array>
#include <cstdlib>
#include <utility>

namespace lumvik {

namespace {

/// The alignment that libmpv recommends for images and their lines, in bytes. Conversions of
/// unaligned images are slower.
constexpr std::size_t imageAlignment = 64;

/// After a part of the window was redrawn without a new frame, this many frames are drawn into the
/// image before a frame is drawn directly again. While controls fade, each frame is thus drawn
/// once.
constexpr int framesAfterPartialRedraw = 25;

/// The pixel format of the image as libmpv calls it. QImage::Format_RGB32 has the same layout.
constexpr const char *pixelFormat = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? "bgr0" : "0rgb";

/// Returns `degrees` as an angle from 0 to 270, rounded down to a multiple of 90. Cameras rotate
/// their video in no other steps.
int quarterTurns(std::int64_t degrees) {
    return static_cast<int>(((degrees % 360) + 360) % 360 / 90 * 90);
}

} // namespace

/// The view's node in the scene. The scene owns the node and may delete it after the renderer.
class SoftwareVideoRenderer::Node final : public QSGRenderNode {
  public:
    explicit Node(std::shared_ptr<SoftwareVideoRenderer *> renderer)
        : m_renderer(std::move(renderer)) {}

    void setWindowAndSize(QQuickWindow *window, QSizeF size) {
        m_window = window;
        m_size = size;
    }

    void render(const RenderState *state) override {
        auto *painter = static_cast<QPainter *>(m_window->rendererInterface()->getResource(
            m_window, QSGRendererInterface::PainterResource));
        if (painter == nullptr || *m_renderer == nullptr)
            return;
        // Qt clips the painter for its own nodes only. What lies over the video is not drawn again
        // outside of this region and would be erased there.
        if (const QRegion *redrawn = state->clipRegion())
            painter->setClipRegion(*redrawn);
        (*m_renderer)->paint(*painter);
    }
    [[nodiscard]] RenderingFlags flags() const override {
        return BoundedRectRendering | OpaqueRendering;
    }
    [[nodiscard]] QRectF rect() const override { return {QPointF(), m_size}; }

  private:
    const std::shared_ptr<SoftwareVideoRenderer *> m_renderer;
    QQuickWindow *m_window = nullptr;
    QSizeF m_size;
};

SoftwareVideoRenderer::SoftwareVideoRenderer(QQuickItem &view, std::function<void()> drawFrame)
    : m_view(view)
    , m_drawFrame(std::move(drawFrame))
    , m_self(std::make_shared<SoftwareVideoRenderer *>(this)) {
    m_view.setFlag(QQuickItem::ItemHasContents);
}

SoftwareVideoRenderer::~SoftwareVideoRenderer() {
    *m_self = nullptr;
}

void SoftwareVideoRenderer::requestDrawing(QQuickItem &view) {
    m_drawingIsDue = true;
    view.update();
}

QSGNode *SoftwareVideoRenderer::updateNode(QSGNode *node, QQuickItem &view) {
    auto *videoNode = static_cast<Node *>(node);
    if (videoNode == nullptr)
        videoNode = new Node(m_self);
    videoNode->setWindowAndSize(view.window(), view.size());
    videoNode->markDirty(QSGNode::DirtyMaterial);
    return videoNode;
}

std::span<const PlayerSetting> SoftwareVideoRenderer::playerProperties() {
    return softwareRendererProperties;
}

const char *SoftwareVideoRenderer::rotationProperty() const {
    // The rotation that the decoder reports. "video-params/rotate" is always 0, because the player
    // is told not to rotate the video.
    return "video-dec-params/rotate";
}

QPointF SoftwareVideoRenderer::directionInFrame(const QPointF &direction) const {
    // The view rotates the frames clockwise.
    switch (m_rotation.value_or(0)) {
    case 90:
        return {direction.y(), -direction.x()};
    case 180:
        return -direction;
    case 270:
        return {-direction.y(), direction.x()};
    default:
        return direction;
    }
}

int SoftwareVideoRenderer::create(mpv_render_context **context, mpv_handle *player) {
    std::array parameters{
        mpv_render_param{MPV_RENDER_PARAM_API_TYPE, const_cast<char *>(MPV_RENDER_API_TYPE_SW)},
        mpv_render_param{MPV_RENDER_PARAM_INVALID, nullptr},
    };
    const int result = mpv_render_context_create(context, player, parameters.data());
    if (result >= 0)
        m_player = player;
    return result;
}

void SoftwareVideoRenderer::wasDetached() {
    m_player = nullptr;
    m_rotation.reset();
    m_frame = Frame::none;
    m_image = {};
}

void SoftwareVideoRenderer::drawInScene(QSize size, FrameUse use) {
    m_frame = Frame::none;
    if (size.isEmpty())
        return;
    if (use == FrameUse::show) {
        m_frame = m_target.bytes != nullptr ? Frame::inWindow : Frame::inImage;
        if (m_frame == Frame::inImage) {
            prepareImage(unrotated(size));
            m_target = {m_image.bits(), static_cast<std::size_t>(m_image.bytesPerLine())};
        }
    }
    if (!fetch(unrotated(size), use))
        m_frame = Frame::none;
    m_target = {};
}

QImage SoftwareVideoRenderer::copyOfLastFrame(QSize size) {
    // The engine draws its last frame again, because a frame that was drawn directly into the
    // window is not kept.
    drawInScene(size, FrameUse::show);
    if (m_frame != Frame::inImage)
        return {};
    (void)reportShownFrame();
    // libmpv leaves the fourth byte of each pixel undefined, which the result does not have.
    QImage copy = m_image.convertToFormat(QImage::Format_RGB888);
    copy.setDevicePixelRatio(1);
    return m_rotation.value_or(0) == 0 ? copy : copy.transformed(QTransform().rotate(*m_rotation));
}

void SoftwareVideoRenderer::prepareImage(QSize size) {
    if (m_image.size() == size)
        return;
    const std::size_t bytesPerLine =
        (static_cast<std::size_t>(size.width()) * 4 + imageAlignment - 1) & ~(imageAlignment - 1);
    void *bytes =
        std::aligned_alloc(imageAlignment, bytesPerLine * static_cast<std::size_t>(size.height()));
    if (bytes == nullptr)
        qBadAlloc();
    m_image = QImage(static_cast<uchar *>(bytes), size.width(), size.height(),
                     static_cast<qsizetype>(bytesPerLine), QImage::Format_RGB32, &std::free, bytes);
}

int SoftwareVideoRenderer::render(mpv_render_context *context, QSize size, FrameUse use) {
    std::array<int, 2> dimensions{size.width(), size.height()};
    // A live picture is shown at once, and the main thread must not wait for the frame's target
    // time.
    int block = 0;
    int skip = use == FrameUse::discard ? 1 : 0;
    std::array parameters{
        mpv_render_param{MPV_RENDER_PARAM_SW_SIZE, dimensions.data()},
        mpv_render_param{MPV_RENDER_PARAM_SW_FORMAT, const_cast<char *>(pixelFormat)},
        mpv_render_param{MPV_RENDER_PARAM_SW_STRIDE, &m_target.bytesPerLine},
        mpv_render_param{MPV_RENDER_PARAM_SW_POINTER, m_target.bytes},
        mpv_render_param{MPV_RENDER_PARAM_BLOCK_FOR_TARGET_TIME, &block},
        mpv_render_param{MPV_RENDER_PARAM_SKIP_RENDERING, &skip},
        mpv_render_param{MPV_RENDER_PARAM_INVALID, nullptr},
    };
    return mpv_render_context_render(context, parameters.data());
}

void SoftwareVideoRenderer::paint(QPainter &painter) {
    if (!m_rotation && m_player != nullptr)
        m_rotation = quarterTurns(integerProperty(m_player, rotationProperty()).value_or(0));
    const bool isNew = std::exchange(m_drawingIsDue, false);
    const bool hasWrongSize =
        m_frame == Frame::inImage && m_image.size() != unrotated(pixelSize(m_view));
    if (!isNew)
        m_framesUntilDirect = framesAfterPartialRedraw;
    else if (m_framesUntilDirect > 0)
        --m_framesUntilDirect;
    // A frame that was drawn directly is not kept, and has to be drawn again for a redraw.
    if (isNew || hasWrongSize || m_frame == Frame::inWindow) {
        m_target = m_framesUntilDirect == 0 ? windowTarget(painter) : Target{};
        m_frame = Frame::none;
        m_drawFrame();
        m_target = {};
    }
    switch (m_frame) {
    case Frame::none:
        painter.fillRect(QRectF(QPointF(), m_view.size()), Qt::black);
        break;
    case Frame::inWindow:
        m_image = {};
        break;
    case Frame::inImage:
        paintImage(painter);
        break;
    }
}

SoftwareVideoRenderer::Target SoftwareVideoRenderer::windowTarget(const QPainter &painter) const {
    if (m_rotation.value_or(0) != 0 || painter.device()->devType() != QInternal::Image)
        return {};
    const auto &window = *static_cast<const QImage *>(painter.device());
    const QSize size = pixelSize(m_view);
    const qreal scale = m_view.window()->effectiveDevicePixelRatio();
    // libmpv leaves the fourth byte of each pixel undefined. Under X11, the back buffer always has
    // a format with alpha, but the server ignores the alpha of an opaque window.
    const bool isOpaque = window.format() == QImage::Format_RGB32 ||
                          (window.format() == QImage::Format_ARGB32_Premultiplied &&
                           QGuiApplication::platformName() == QLatin1String("xcb") &&
                           !m_view.window()->format().hasAlpha());
    const bool isAtOrigin = painter.deviceTransform() == QTransform::fromScale(scale, scale);
    // At a fractional scale, a part of a pixel remains at the edges, which must be blackened.
    const bool fillsWindow = window.size() == size && QSizeF(size) == m_view.size() * scale;
    const QRect view(QPoint(), m_view.size().toSize());
    const bool isCompletelyRedrawn =
        !painter.hasClipping() || painter.clipRegion().intersected(view) == QRegion(view);
    if (!isOpaque || !isAtOrigin || !fillsWindow || !isCompletelyRedrawn)
        return {};
    // QImage::bits() would copy the image if somebody else referred to it.
    return {const_cast<uchar *>(window.constBits()),
            static_cast<std::size_t>(window.bytesPerLine())};
}

void SoftwareVideoRenderer::paintImage(QPainter &painter) {
    // The image has the size of the view in pixels, so that the copy is exact at every scale.
    m_image.setDevicePixelRatio(m_view.window()->effectiveDevicePixelRatio());
    const QSizeF shown = m_image.deviceIndependentSize();
    // At a fractional scale, a part of a pixel remains at the edges.
    if (shown != QSizeF(unrotated(m_view.size().toSize())))
        painter.fillRect(QRectF(QPointF(), m_view.size()), Qt::black);
    if (m_rotation.value_or(0) == 0) {
        painter.drawImage(QPointF(), m_image);
        return;
    }
    painter.save();
    painter.translate(m_view.width() / 2, m_view.height() / 2);
    painter.rotate(*m_rotation);
    painter.drawImage(QPointF(-shown.width() / 2, -shown.height() / 2), m_image);
    painter.restore();
}

QSize SoftwareVideoRenderer::unrotated(QSize size) const {
    return m_rotation == 90 || m_rotation == 270 ? size.transposed() : size;
}

} // namespace lumvik
