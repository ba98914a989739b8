#include "supervision/PreflightTarget.h"

#include <QUrl>

namespace lumvik {

namespace {

constexpr int rtspPort = 554;
constexpr int smallestPort = 1; // nobody can listen at port 0
constexpr int largestPort = 65535;

} // namespace

std::optional<PreflightTarget> preflightTarget(const QString &address) {
    const QUrl url(address);
    if (!url.isValid() || url.host().isEmpty())
        return std::nullopt;
    const int port = url.port(rtspPort);
    if (port < smallestPort || port > largestPort)
        return std::nullopt;
    return PreflightTarget{.host = url.host(), .port = static_cast<std::uint16_t>(port)};
}

} // namespace lumvik
