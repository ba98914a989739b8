#pragma once

#include <QString>

#include <cstdint>
#include <optional>

namespace lumvik {

/// How long an unanswered preflight probe delays playback, in seconds. A host in the local network
/// answers much sooner; the limit applies to hosts that drop packets or need a slow name lookup,
/// and the engine may still reach those.
inline constexpr double preflightFallbackDelay = 1.25;

/// The port of a camera whose address has none: the registered port of RTSP.
inline constexpr int defaultCameraPort = 554;

/// The host and port at which a camera accepts connections.
struct PreflightTarget {
    QString host; ///< As in the address. An IPv6 address has no brackets.
    std::uint16_t port = 0;

    friend bool operator==(const PreflightTarget &, const PreflightTarget &) = default;
};

/// Returns the host and port in a camera's address, with `defaultCameraPort` if the address has no
/// port. Returns nothing if the address is invalid or has no host or no usable port.
[[nodiscard]] std::optional<PreflightTarget> preflightTarget(const QString &address);

} // namespace lumvik
