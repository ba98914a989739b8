#pragma once

#include "platform/network/NetworkPathMonitor.h"

#include <optional>

namespace lumvik {

/// What playback has to do about an update of the network path.
enum class NetworkPathAction {
    none,
    suspend, ///< No path is usable: to try is pointless.
    recover, ///< A path is usable again, or is another one: connections made before are dead.
};

/// `before` is the last signature seen; without one this is the first update after the launch, when
/// playback is under way already.
[[nodiscard]] NetworkPathAction networkPathAction(const std::optional<NetworkPathSignature> &before,
                                                  const NetworkPathSignature &now);

} // namespace lumvik
