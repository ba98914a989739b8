#include "updates/WebsiteUrl.h"

namespace lumvik {

QUrl websiteUrl(const QString &host, const QString &path) {
    QUrl url;
    url.setScheme(QStringLiteral("https"));
    url.setHost(host, QUrl::StrictMode);
    url.setPath(path);
    return url.host().isEmpty() ? QUrl() : url;
}

} // namespace lumvik
