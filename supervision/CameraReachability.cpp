#include "supervision/CameraReachability.h"

#include <QHostAddress>

namespace lumvik {

namespace {

bool isLoopbackName(const QString &host) {
    const QString name = host.endsWith(u'.') ? host.chopped(1) : host;
    return name.compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0 ||
           name.endsWith(QLatin1String(".localhost"), Qt::CaseInsensitive);
}

} // namespace

bool cameraIsReachable(bool networkPathIsSatisfied, const QString &host) {
    if (networkPathIsSatisfied || isLoopbackName(host))
        return true;
    const QHostAddress address(host);
    if (address.isLoopback())
        return true;
    return address.protocol() == QAbstractSocket::IPv6Protocol && address.isLinkLocal() &&
           !address.scopeId().isEmpty();
}

} // namespace lumvik
