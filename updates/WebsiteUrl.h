#pragma once

#include <QUrl>

namespace lumvik {

/// A page of the maker's web site; an invalid address when `host` is no host.
[[nodiscard]] QUrl websiteUrl(const QString &host, const QString &path);

} // namespace lumvik
