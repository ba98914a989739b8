#include "engine/VideoRenderer.h"

#include <QQuickItem>
#include <QQuickWindow>

#include <utility>

namespace lumvik {

void VideoRenderer::ContextDeleter::operator()(mpv_render_context *context) const {
    mpv_render_context_set_update_callback(context, nullptr, nullptr);
    mpv_render_context_free(context);
}

VideoRenderer::~VideoRenderer() = default;

int VideoRenderer::attach(mpv_handle *player, mpv_render_update_fn updated, void *updatedContext) {
    detach();
    mpv_render_context *context = nullptr;
    enterGraphics();
    const int result = create(&context, player);
    leaveGraphics();
    if (result < 0)
        return result;
    m_context.reset(context);
    mpv_render_context_set_update_callback(context, updated, updatedContext);
    return result;
}

void VideoRenderer::detach() {
    m_frameWasFetched = false;
    if (!m_context)
        return;
    // The context is freed even if the graphics are no longer available, because the context must
    // not outlive the graphics.
    enterGraphics();
    m_context.reset();
    leaveGraphics();
    wasDetached();
}

bool VideoRenderer::takeUpdate() {
    return (mpv_render_context_update(m_context.get()) & MPV_RENDER_UPDATE_FRAME) != 0;
}

bool VideoRenderer::nextFrameIsNew() const {
    // The engine also announces black when a stream is replaced, and repeats the last picture when
    // an overlay changed. Neither announcement proves that the camera is delivering.
    mpv_render_frame_info info{};
    if (mpv_render_context_get_info(m_context.get(), {MPV_RENDER_PARAM_NEXT_FRAME_INFO, &info}) < 0)
        return true;
    constexpr std::uint64_t notNew = MPV_RENDER_FRAME_INFO_REDRAW | MPV_RENDER_FRAME_INFO_REPEAT;
    // A redraw after a dropped frame lacks the redraw flag, but no redraw has a target time.
    return (info.flags & MPV_RENDER_FRAME_INFO_PRESENT) != 0 && (info.flags & notNew) == 0 &&
           info.target_time != 0;
}

void VideoRenderer::discard(QSize size) {
    // The engine may create or release textures even for a discarded frame, if its size has
    // changed.
    enterGraphics();
    (void)fetch(size, FrameUse::discard);
    leaveGraphics();
}

bool VideoRenderer::fetch(QSize size, FrameUse use) {
    m_frameWasFetched = render(m_context.get(), size, use) >= 0;
    return m_frameWasFetched;
}

bool VideoRenderer::reportShownFrame() {
    if (!m_context || !std::exchange(m_frameWasFetched, false))
        return false;
    mpv_render_context_report_swap(m_context.get());
    return true;
}

QSize VideoRenderer::pixelSize(const QQuickItem &view) {
    const qreal scale = view.window() == nullptr ? 1.0 : view.window()->effectiveDevicePixelRatio();
    return {static_cast<int>(view.width() * scale), static_cast<int>(view.height() * scale)};
}

QSGNode *VideoRenderer::updateNode(QSGNode *node, QQuickItem & /*view*/) {
    return node;
}

} // namespace lumvik
