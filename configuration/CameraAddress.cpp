#include "configuration/CameraAddress.h"

#include <QUrl>

#include <algorithm>

namespace lumvik {

namespace {

/// Returns whether `text` contains white space, control characters or zero-width spaces. White
/// space in an address is a typing error, and zero-width spaces come with text that is copied from
/// web pages. No camera can be reached at an address that contains such characters.
bool containsWhiteSpace(const QString &text) {
    return std::any_of(text.begin(), text.end(), [](QChar each) {
        return each.isSpace() || each.category() == QChar::Other_Control || each == u'\u200B' ||
               each == u'\u2060' || each == u'\uFEFF';
    });
}

} // namespace

bool isCameraAddress(const QString &address) {
    if (containsWhiteSpace(address))
        return false;
    const QUrl url(address);
    return url.isValid() && url.scheme() == QLatin1String("rtsp") && !url.host().isEmpty();
}

QString spokenAddress(const QString &address) {
    const QString trimmed = address.trimmed();
    if (trimmed.isEmpty() || trimmed == QLatin1String("rtsp://")) // The address of a new camera.
        return QStringLiteral("No address yet");
    // If the password is not percent-encoded, QUrl may take a part of it for the host. Any "@"
    // other than the one that ends the user information indicates such a password.
    const QUrl url(trimmed);
    const bool hasOnlyUserDelimiter =
        trimmed.count(QLatin1Char('@')) == (url.userInfo(QUrl::FullyEncoded).isEmpty() ? 0 : 1);
    if (!isCameraAddress(trimmed) || !hasOnlyUserDelimiter)
        return QStringLiteral("Address that cannot be read out");
    if (url.port() < 0)
        return QStringLiteral("Camera at %1").arg(url.host());
    return QStringLiteral("Camera at %1, port %2").arg(url.host()).arg(url.port());
}

} // namespace lumvik
