#include "configuration/CameraAddress.h"

#include <QRegularExpression>
#include <QUrl>

#include <algorithm>
#include <optional>

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

/// The part of an address between its scheme and its path, for example "user:password@host:554".
struct Authority {
    qsizetype begin = 0; ///< The position of the first character.
    qsizetype end = 0;   ///< The position after the last character.
};

/// Returns where the authority of `address` is, or nothing if it has none.
std::optional<Authority> authorityOf(const QString &address) {
    const QLatin1String separator("://");
    const qsizetype separatorBegin = address.indexOf(separator);
    if (separatorBegin < 0)
        return std::nullopt;
    const qsizetype begin = separatorBegin + separator.size();
    const auto isDelimiter = [](QChar each) {
        return each == u'/' || each == u'?' || each == u'#';
    };
    const auto end = std::find_if(address.begin() + begin, address.end(), isDelimiter);
    return Authority{begin, end - address.begin()};
}

/// Returns whether "@" occurs in the path of `address` or later. This is a sign of a password that
/// contains "/", "?" or "#", and of which only the beginning is in the authority.
bool hasUserDelimiterAfterAuthority(const QString &address) {
    const auto authority = authorityOf(address);
    return authority && address.indexOf(u'@', authority->end) >= 0;
}

bool hasCameraScheme(const QString &address) {
    return address.startsWith(QLatin1String("rtsp://"), Qt::CaseInsensitive);
}

} // namespace

QString encodedCameraAddress(const QString &address) {
    const auto authority = authorityOf(address);
    if (!authority || authority->begin == authority->end)
        return address;
    const qsizetype delimiter = address.lastIndexOf(u'@', authority->end - 1);
    if (delimiter < authority->begin)
        return address;
    QString user = address.sliced(authority->begin, delimiter - authority->begin);
    user.replace(u'@', QLatin1String("%40"));
    return address.first(authority->begin) + user + address.sliced(delimiter);
}

bool isCameraAddress(const QString &address) {
    if (containsWhiteSpace(address))
        return false;
    const QUrl url(encodedCameraAddress(address));
    return url.isValid() && url.scheme() == QLatin1String("rtsp") && !url.host().isEmpty();
}

QString cameraAddressProblem(const QString &address) {
    if (isCameraAddress(address))
        return {};
    if (containsWhiteSpace(address))
        return QStringLiteral("This one contains a space or an invisible character.");
    if (!hasCameraScheme(address))
        return {};
    if (hasUserDelimiterAfterAuthority(address)) {
        return QStringLiteral("In a user name or password, write / as %2F, ? as %3F and # as %23.");
    }
    static const QRegularExpression port(QStringLiteral(":(\\d*)$"));
    const auto authority = authorityOf(address);
    const QString host = address.sliced(authority->begin, authority->end - authority->begin);
    const QRegularExpressionMatch match = port.match(host);
    if (match.hasMatch() && (match.captured(1).isEmpty() || match.captured(1).toInt() > 65'535))
        return QStringLiteral("The port must be a number from 1 to 65535.");
    const bool hasBegun = authority->begin < address.size(); // new cameras have only the scheme
    if ((host.isEmpty() && hasBegun) || host.endsWith(u'@'))
        return QStringLiteral("This one names no host.");
    return {};
}

QString spokenAddress(const QString &address) {
    const QString trimmed = address.trimmed();
    if (trimmed.isEmpty() || trimmed == QLatin1String("rtsp://")) // The address of a new camera.
        return QStringLiteral("No address yet");
    const QUrl url(encodedCameraAddress(trimmed));
    // What looks like the host may be a part of the password.
    if (!isCameraAddress(trimmed) || hasUserDelimiterAfterAuthority(trimmed))
        return QStringLiteral("Address that cannot be read out");
    if (url.port() < 0)
        return QStringLiteral("Camera at %1").arg(url.host());
    return QStringLiteral("Camera at %1, port %2").arg(url.host()).arg(url.port());
}

} // namespace lumvik
