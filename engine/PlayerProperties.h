#pragma once

#include <mpv/client.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace lumvik {

/// The player's property `name` as text; empty when it has none now. Asking waits until the engine
/// can answer, which is a moment.
[[nodiscard]] inline std::string textProperty(mpv_handle *player, const char *name) {
    struct Free {
        void operator()(char *text) const { mpv_free(text); }
    };
    char *text = nullptr;
    if (mpv_get_property(player, name, MPV_FORMAT_STRING, &text) < 0 || text == nullptr)
        return {};
    return std::unique_ptr<char, Free>(text).get();
}

/// The same as a number; nothing when it is none now.
[[nodiscard]] inline std::optional<std::int64_t> integerProperty(mpv_handle *player,
                                                                 const char *name) {
    std::int64_t value = 0;
    if (mpv_get_property(player, name, MPV_FORMAT_INT64, &value) < 0)
        return std::nullopt;
    return value;
}

/// Whether the property is set; no where it has no value now.
[[nodiscard]] inline bool flagProperty(mpv_handle *player, const char *name) {
    int value = 0;
    return mpv_get_property(player, name, MPV_FORMAT_FLAG, &value) >= 0 && value != 0;
}

} // namespace lumvik
