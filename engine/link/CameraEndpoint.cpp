#include "engine/link/CameraEndpoint.h"

#include <QUrl>

#include <algorithm>

namespace lumvik {

namespace {

constexpr QLatin1String scheme("rtsp://");

/// A line break in a request would forge a header, and no address contains white space.
bool isUnsafe(QChar each) {
    return each.isSpace() || each.category() == QChar::Other_Control;
}

bool endsAuthority(QChar each) {
    return each == u'/' || each == u'?' || each == u'#';
}

QByteArray decoded(QStringView text) {
    return QByteArray::fromPercentEncoding(text.toUtf8());
}

/// The text before the last "@", split at the first ":". Percent encoding is undone afterwards, so
/// that an encoded ":" can be a part of the user name.
RtspCredentials credentialsIn(QStringView text) {
    const qsizetype colon = text.indexOf(u':');
    if (colon < 0)
        return {decoded(text), {}};
    return {decoded(text.first(colon)), decoded(text.sliced(colon + 1))};
}

/// Sets the endpoint's host and port. Returns whether both are valid.
bool setHost(CameraEndpoint &endpoint, const QString &hostAndPort) {
    const QUrl url(scheme + hostAndPort);
    if (!url.isValid() || url.host().isEmpty() || url.port(554) < 1)
        return false;
    endpoint.host = url.host();
    endpoint.port = static_cast<std::uint16_t>(url.port(554));
    return true;
}

} // namespace

std::optional<CameraEndpoint> cameraEndpoint(const QString &address) {
    const QString text = address.trimmed();
    if (!text.startsWith(scheme, Qt::CaseInsensitive) ||
        std::any_of(text.begin(), text.end(), isUnsafe))
        return std::nullopt;
    const QString rest = text.sliced(scheme.size());
    const qsizetype authorityEnd =
        std::find_if(rest.begin(), rest.end(), endsAuthority) - rest.begin();
    const QString authority = rest.first(authorityEnd);
    const qsizetype delimiter = authority.lastIndexOf(u'@');
    const QString hostAndPort = authority.sliced(delimiter + 1);
    CameraEndpoint endpoint;
    if (!setHost(endpoint, hostAndPort))
        return std::nullopt;
    endpoint.uri = (scheme + hostAndPort + rest.sliced(authorityEnd)).toUtf8();
    if (delimiter >= 0)
        endpoint.credentials = credentialsIn(QStringView(authority).first(delimiter));
    return endpoint;
}

} // namespace lumvik
