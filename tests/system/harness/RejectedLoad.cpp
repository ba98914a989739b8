// A library that tests preload into the viewer, in front of libmpv. This library rejects the first
// "loadfile" command, as libmpv does when memory runs out, and forwards all other commands.

#include <dlfcn.h>
#include <mpv/client.h>

#include <atomic>
#include <cstring>

extern "C" __attribute__((visibility("default"))) int mpv_command(mpv_handle *player,
                                                                  const char **arguments) {
    static std::atomic_bool hasRejected{false};
    if (std::strcmp(arguments[0], "loadfile") == 0 && !hasRejected.exchange(true))
        return MPV_ERROR_NOMEM;
    using Command = int (*)(mpv_handle *, const char **);
    static const auto real = reinterpret_cast<Command>(dlsym(RTLD_NEXT, "mpv_command"));
    return real(player, arguments);
}
