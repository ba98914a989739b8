#pragma once

#include <QUrl>

#include <cstdint>

namespace lumvik {

/// The default port of HTTPS.
inline constexpr std::uint16_t httpsPort = 443;

/// Returns the https URL of the page `path` on the website `host`. Returns an invalid URL if `host`
/// is not a valid host.
[[nodiscard]] QUrl websiteUrl(const QString &host, const QString &path);

} // namespace lumvik
