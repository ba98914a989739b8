// A library that tests preload into the viewer, in front of libmpv. This library prints to standard
// error which display each render context receives, and forwards every call.

#include <dlfcn.h>
#include <mpv/render_gl.h>

#include <cstdio>

extern "C" __attribute__((visibility("default"))) int
mpv_render_context_create(mpv_render_context **context, mpv_handle *player,
                          mpv_render_param *parameters) {
    for (const mpv_render_param *each = parameters; each->type != MPV_RENDER_PARAM_INVALID;
         ++each) {
        if (each->type == MPV_RENDER_PARAM_X11_DISPLAY && each->data != nullptr)
            std::fputs("render parameter: X11 display\n", stderr);
        if (each->type == MPV_RENDER_PARAM_WL_DISPLAY && each->data != nullptr)
            std::fputs("render parameter: Wayland display\n", stderr);
    }
    using Create = int (*)(mpv_render_context **, mpv_handle *, mpv_render_param *);
    static const auto real =
        reinterpret_cast<Create>(dlsym(RTLD_NEXT, "mpv_render_context_create"));
    return real(context, player, parameters);
}
