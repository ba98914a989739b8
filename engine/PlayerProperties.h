#pragma once

#include <mpv/client.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace lumvik {

/// Returns the player's property `name` as text, or an empty text when it has no value. Like the
/// other functions in this file, this function blocks briefly, until the engine can reply.
[[nodiscard]] inline std::string textProperty(mpv_handle *player, const char *name) {
    struct Free {
        void operator()(char *text) const { mpv_free(text); }
    };
    char *text = nullptr;
    if (mpv_get_property(player, name, MPV_FORMAT_STRING, &text) < 0 || text == nullptr)
        return {};
    return std::unique_ptr<char, Free>(text).get();
}

/// Returns the player's property `name` as an integer, or nothing when it has no such value.
[[nodiscard]] inline std::optional<std::int64_t> integerProperty(mpv_handle *player,
                                                                 const char *name) {
    std::int64_t value = 0;
    if (mpv_get_property(player, name, MPV_FORMAT_INT64, &value) < 0)
        return std::nullopt;
    return value;
}

/// Returns the player's property `name` as a number, or nothing when it has no such value.
[[nodiscard]] inline std::optional<double> numberProperty(mpv_handle *player, const char *name) {
    double value = 0;
    if (mpv_get_property(player, name, MPV_FORMAT_DOUBLE, &value) < 0)
        return std::nullopt;
    return value;
}

/// Whether the player's flag property `name` is set. Returns false when it has no value.
[[nodiscard]] inline bool flagProperty(mpv_handle *player, const char *name) {
    int value = 0;
    return mpv_get_property(player, name, MPV_FORMAT_FLAG, &value) >= 0 && value != 0;
}

} // namespace lumvik
