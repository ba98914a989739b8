#pragma once

#include "platform/network/NetworkPathMonitor.h"

#include <optional>

namespace lumvik {

/// The reaction of playback to an update of the network path.
enum class NetworkPathAction {
    none,
    suspend, ///< No path is usable, so every attempt would fail.
    recover, ///< The path is usable again or has changed, so existing connections are dead.
};

/// Returns the reaction to an update from `before` to `now`. The first update after the launch has
/// no `before` and needs no recovery, because playback has already been started by then.
[[nodiscard]] NetworkPathAction networkPathAction(const std::optional<NetworkPathSignature> &before,
                                                  const NetworkPathSignature &now);

} // namespace lumvik
