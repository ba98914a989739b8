#include "supervision/NetworkPathDecision.h"

namespace lumvik {

NetworkPathAction networkPathAction(const std::optional<NetworkPathSignature> &before,
                                    const NetworkPathSignature &now) {
    if (!now.isSatisfied)
        return NetworkPathAction::suspend;
    if (!before || *before == now)
        return NetworkPathAction::none;
    return NetworkPathAction::recover;
}

} // namespace lumvik
