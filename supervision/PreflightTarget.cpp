#include "supervision/PreflightTarget.h"

#include <QUrl>

namespace lumvik {

namespace {

constexpr int smallestPort = 1; // port 0 is reserved
constexpr int largestPort = 65535;

} // namespace

std::optional<PreflightTarget> preflightTarget(const QString &address) {
    const QUrl url(address);
    if (!url.isValid() || url.host().isEmpty())
        return std::nullopt;
    const int port = url.port(defaultCameraPort);
    if (port < smallestPort || port > largestPort)
        return std::nullopt;
    return PreflightTarget{.host = url.host(), .port = static_cast<std::uint16_t>(port)};
}

} // namespace lumvik
