#include "updates/LumvikUpdateManifest.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <optional>
#include <string_view>

namespace lumvik {

namespace {

constexpr QLatin1String versionKey("version");
constexpr QLatin1String buildKey("build");
constexpr QLatin1String downloadPageKey("downloadPage");

bool isDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

/// Returns the position of the closing quotation mark of the JSON string whose content begins at
/// `at`. Returns -1 if the string contains a control character or an invalid escape sequence, or is
/// not closed.
qsizetype endOfString(const QByteArray &json, qsizetype at) {
    constexpr std::string_view escapes = "\"\\/bfnrtu";
    // Characters with lower codes are control characters.
    constexpr unsigned char firstPrintable = 0x20;
    for (; at < json.size(); ++at) {
        if (json.at(at) == '"')
            return at;
        if (static_cast<unsigned char>(json.at(at)) < firstPrintable)
            return -1;
        if (json.at(at) != '\\')
            continue;
        ++at;
        if (at == json.size() || escapes.find(json.at(at)) == escapes.npos)
            return -1;
    }
    return -1;
}

/// Returns false for invalid JSON that QJsonDocument accepts: strings with control characters or
/// invalid escape sequences, and numbers that lack a digit on either side of the decimal point.
bool isStrict(const QByteArray &json) {
    for (qsizetype at = 0; at < json.size(); ++at) {
        if (json.at(at) == '"') {
            at = endOfString(json, at + 1);
            if (at < 0)
                return false;
        } else if (json.at(at) == '.') {
            const bool isBetweenDigits = at > 0 && isDigit(json.at(at - 1)) &&
                                         at + 1 < json.size() && isDigit(json.at(at + 1));
            if (!isBetweenDigits)
                return false;
        }
    }
    return true;
}

QString unreadable(QLatin1String key) {
    return QStringLiteral("The update information has no readable value for “%1”.").arg(key);
}

std::optional<std::int64_t> wholeNumber(const QJsonValue &value) {
    // QJsonValue::toInteger() returns the given default if the value is not a whole number within
    // 64 bits. Only in that case do two different defaults yield different numbers.
    const qint64 number = value.toInteger(0);
    if (!value.isDouble() || number != value.toInteger(1))
        return std::nullopt;
    return number;
}

/// Returns whether the address `page` is written with exactly this scheme, host and path. The
/// regular expression that splits the address is based on RFC 3986, appendix B.
bool hasExactParts(const QString &page, const QString &scheme, const QString &host,
                   const QString &path) {
    static const QRegularExpression parts(QRegularExpression::anchoredPattern(
        QStringLiteral("(?:(?<scheme>[^:/?#]+):)?"
                       "(?://(?:[^/?#@]*@)?(?<host>[^/?#@:]*)(?::[0-9]*)?)?"
                       "(?<path>[^?#]*)(?:\\?[^#]*)?(?:#.*)?")));
    const QRegularExpressionMatch match = parts.match(page);
    return match.hasMatch() && match.captured(u"scheme") == scheme &&
           match.captured(u"host") == host && match.captured(u"path") == path;
}

/// Returns whether the manifest refers to the Lumvik download page. Both the address as written and
/// the QUrl made from it must match, because the program opens the QUrl.
bool isDownloadPage(const LumvikUpdateManifest &manifest, const QString &webHost) {
    const QString scheme = QStringLiteral("https");
    const QString path = QStringLiteral("/lumvik");
    const QUrl url = manifest.downloadUrl();
    QUrl website;
    website.setHost(webHost);
    return hasExactParts(manifest.downloadPage, scheme, webHost, path) && url.isValid() &&
           url.scheme() == scheme && url.host() == website.host() && url.path() == path;
}

/// Returns whether `text` consists of two to four numbers separated by dots. The pattern is
/// anchored, because "$" would permit a line break at the end; "[0-9]" excludes digits of other
/// scripts.
bool isVersion(const QString &text) {
    static const QRegularExpression pattern(
        QRegularExpression::anchoredPattern(QStringLiteral("[0-9]+(?:\\.[0-9]+){1,3}")));
    return pattern.match(text).hasMatch();
}

} // namespace

tl::expected<LumvikUpdateManifest, QString> decodeUpdateManifest(const QByteArray &json) {
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(json, &problem);
    if (problem.error != QJsonParseError::NoError || !isStrict(json))
        return tl::unexpected(QStringLiteral("The update information is not valid JSON."));
    if (!document.isObject())
        return tl::unexpected(QStringLiteral("The update information is not a JSON object."));

    const QJsonObject object = document.object();
    const QJsonValue version = object.value(versionKey);
    const std::optional<std::int64_t> build = wholeNumber(object.value(buildKey));
    const QString page = object.value(downloadPageKey).toString();
    if (!version.isString())
        return tl::unexpected(unreadable(versionKey));
    if (!build)
        return tl::unexpected(unreadable(buildKey));
    // A value that is not a string yields an empty address, which is not a valid URL.
    if (!QUrl(page, QUrl::StrictMode).isValid())
        return tl::unexpected(unreadable(downloadPageKey));
    return LumvikUpdateManifest{version.toString(), *build, page};
}

tl::expected<void, ManifestFault> validateUpdateManifest(const LumvikUpdateManifest &manifest,
                                                         const QString &webHost) {
    if (!isDownloadPage(manifest, webHost))
        return tl::unexpected(ManifestFault::downloadPage);
    if (manifest.build < LumvikUpdateManifest::firstBuild)
        return tl::unexpected(ManifestFault::build);
    if (!isVersion(manifest.version))
        return tl::unexpected(ManifestFault::version);
    return {};
}

} // namespace lumvik
