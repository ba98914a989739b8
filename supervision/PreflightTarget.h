#pragma once

#include <QString>

#include <cstdint>
#include <optional>

namespace lumvik {

/// Where a camera listens.
struct PreflightTarget {
    QString host; ///< As the address has it; an IPv6 address without its brackets.
    std::uint16_t port = 0;

    friend bool operator==(const PreflightTarget &, const PreflightTarget &) = default;
};

/// The host and port of a camera's address, the port of RTSP when it names none; nothing when the
/// address cannot be read or has no host or no usable port.
[[nodiscard]] std::optional<PreflightTarget> preflightTarget(const QString &address);

} // namespace lumvik
