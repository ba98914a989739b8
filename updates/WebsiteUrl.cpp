#include "updates/WebsiteUrl.h"

namespace lumvik {

QUrl websiteUrl(const QString &host, const QString &path) {
    QUrl page;
    page.setScheme(QStringLiteral("https"));
    page.setHost(host, QUrl::StrictMode);
    page.setPath(path);
    return page.host().isEmpty() ? QUrl() : page;
}

} // namespace lumvik
