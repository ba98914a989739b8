#include "FakeMpvState.h"

#include <algorithm>
#include <utility>

// The libmpv functions for rendering.

namespace lumvik::test {
namespace {

MpvRenderCall renderCall(const mpv_render_param *parameters) {
    MpvRenderCall call;
    for (; parameters->type != MPV_RENDER_PARAM_INVALID; ++parameters) {
        switch (static_cast<int>(parameters->type)) {
        case MPV_RENDER_PARAM_OPENGL_FBO:
            call.framebuffer = *static_cast<const mpv_opengl_fbo *>(parameters->data);
            break;
        case MPV_RENDER_PARAM_SW_SIZE:
            std::copy_n(static_cast<const int *>(parameters->data), 2, call.softwareSize.begin());
            break;
        case MPV_RENDER_PARAM_SW_FORMAT:
            call.softwareFormat = static_cast<const char *>(parameters->data);
            break;
        case MPV_RENDER_PARAM_SW_STRIDE:
            call.softwareStride = *static_cast<const std::size_t *>(parameters->data);
            break;
        case MPV_RENDER_PARAM_SW_POINTER:
            call.softwareBytes = parameters->data;
            break;
        case MPV_RENDER_PARAM_FLIP_Y:
            call.flipY = *static_cast<const int *>(parameters->data);
            break;
        case MPV_RENDER_PARAM_BLOCK_FOR_TARGET_TIME:
            call.blockForTargetTime = *static_cast<const int *>(parameters->data);
            break;
        case MPV_RENDER_PARAM_SKIP_RENDERING:
            call.skipRendering = *static_cast<const int *>(parameters->data);
            break;
        default:
            misuse("an unknown render parameter " + std::to_string(parameters->type));
        }
    }
    return call;
}

std::vector<std::string> creationArguments(const mpv_render_param *parameters) {
    std::vector<std::string> arguments;
    for (; parameters->type != MPV_RENDER_PARAM_INVALID; ++parameters) {
        switch (static_cast<int>(parameters->type)) {
        case MPV_RENDER_PARAM_API_TYPE:
            arguments.emplace_back(static_cast<const char *>(parameters->data));
            break;
        case MPV_RENDER_PARAM_OPENGL_INIT_PARAMS: {
            const auto *init = static_cast<const mpv_opengl_init_params *>(parameters->data);
            if (init->get_proc_address == nullptr)
                misuse("a renderer without a way to find OpenGL functions");
            arguments.emplace_back(init->get_proc_address_ctx == nullptr ? "no context"
                                                                         : "a context");
            break;
        }
        case MPV_RENDER_PARAM_X11_DISPLAY:
            arguments.emplace_back("X11 display");
            break;
        default:
            misuse("an unknown creation parameter " + std::to_string(parameters->type));
        }
    }
    return arguments;
}

} // namespace
} // namespace lumvik::test

using namespace lumvik::test;

int mpv_render_context_create(mpv_render_context **result, mpv_handle *handle,
                              mpv_render_param *parameters) {
    FakeMpv::State &fake = FakeMpv::State::current();
    const std::scoped_lock guard(fake.mutex);
    const mpv_handle &target = fake.checked(handle, __func__);
    fake.record(__func__, target.description(), creationArguments(parameters));
    if (fake.renderContextCreateResult < 0)
        return fake.renderContextCreateResult;
    if (fake.liveRenderer() != nullptr)
        misuse("a second renderer for " + target.description());
    auto renderer = std::make_unique<mpv_render_context>();
    renderer->number = static_cast<int>(fake.renderers.size()) + 1;
    renderer->core = target.core;
    *result = renderer.get();
    fake.renderers.push_back(std::move(renderer));
    return fake.renderContextCreateResult;
}

void mpv_render_context_set_update_callback(mpv_render_context *context,
                                            mpv_render_update_fn callback, void *callbackContext) {
    FakeMpv::State &fake = FakeMpv::State::current();
    const std::scoped_lock guard(fake.mutex);
    mpv_render_context &renderer = fake.checked(context, __func__);
    fake.record(__func__, renderer.description(), {callback == nullptr ? "none" : "a callback"});
    renderer.update = callback;
    renderer.updateContext = callbackContext;
}

std::uint64_t mpv_render_context_update(mpv_render_context *context) {
    FakeMpv::State &fake = FakeMpv::State::current();
    const std::scoped_lock guard(fake.mutex);
    fake.record(__func__, fake.checked(context, __func__).description());
    return fake.frameIsPending ? std::uint64_t{MPV_RENDER_UPDATE_FRAME} : 0;
}

int mpv_render_context_get_info(mpv_render_context *context, mpv_render_param parameter) {
    FakeMpv::State &fake = FakeMpv::State::current();
    const std::scoped_lock guard(fake.mutex);
    fake.record(__func__, fake.checked(context, __func__).description());
    if (fake.frameInfoFails || parameter.type != MPV_RENDER_PARAM_NEXT_FRAME_INFO)
        return MPV_ERROR_NOT_IMPLEMENTED;
    auto *info = static_cast<mpv_render_frame_info *>(parameter.data);
    // Without a new frame the last frame would be drawn again, and a redraw has no target time.
    constexpr std::uint64_t redraw = MPV_RENDER_FRAME_INFO_PRESENT | MPV_RENDER_FRAME_INFO_REDRAW;
    info->flags = fake.frameIsPending ? fake.frameInfo : fake.frameInfo == 0 ? 0 : redraw;
    const bool hasTime = info->flags != 0 && (info->flags & MPV_RENDER_FRAME_INFO_REDRAW) == 0;
    info->target_time = hasTime ? 1000000 : 0;
    return 0;
}

int mpv_render_context_render(mpv_render_context *context, mpv_render_param *parameters) {
    FakeMpv::State &fake = FakeMpv::State::current();
    const MpvRenderCall call = renderCall(parameters);
    std::function<void(const MpvRenderCall &)> painter;
    {
        const std::scoped_lock guard(fake.mutex);
        fake.record(__func__, fake.checked(context, __func__).description());
        fake.renderCalls.push_back(call);
        fake.frameIsPending = false;
        painter = fake.painter;
    }
    if (fake.renderResult < 0)
        return fake.renderResult;
    if (painter && call.skipRendering != 1)
        painter(call);
    return 0;
}

void mpv_render_context_report_swap(mpv_render_context *context) {
    FakeMpv::State &fake = FakeMpv::State::current();
    const std::scoped_lock guard(fake.mutex);
    fake.record(__func__, fake.checked(context, __func__).description());
}

void mpv_render_context_free(mpv_render_context *context) {
    if (context == nullptr)
        return;
    FakeMpv::State &fake = FakeMpv::State::current();
    const std::scoped_lock guard(fake.mutex);
    mpv_render_context &renderer = fake.checked(context, __func__);
    fake.record(__func__, renderer.description());
    renderer.isAlive = false;
}
