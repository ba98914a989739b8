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

/// Where the text ends that begins at `at`, behind its quotation mark; -1 when it has a control
/// character, an escape that does not exist, or no end.
qsizetype endOfText(const QByteArray &json, qsizetype at) {
    constexpr std::string_view escapes = "\"\\/bfnrtu";
    for (; at < json.size(); ++at) {
        if (json.at(at) == '"')
            return at;
        if (static_cast<unsigned char>(json.at(at)) < 0x20)
            return -1;
        if (json.at(at) != '\\')
            continue;
        ++at;
        if (at == json.size() || escapes.find(json.at(at)) == escapes.npos)
            return -1;
    }
    return -1;
}

/// Finds what the toolkit's reader takes though it is no JSON: control characters and escapes of
/// all kinds in texts, and numbers with no digit on one side of the point.
bool isStrict(const QByteArray &json) {
    for (qsizetype at = 0; at < json.size(); ++at) {
        if (json.at(at) == '"') {
            at = endOfText(json, at + 1);
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
    // A value that is no whole number within 64 bits makes toInteger answer its default.
    const qint64 number = value.toInteger(0);
    if (!value.isDouble() || number != value.toInteger(1))
        return std::nullopt;
    return number;
}

/// Whether the scheme, host and path of `page` are spelt exactly so. The parts of a URL are found
/// as RFC 3986, appendix B, finds them.
bool isSpelt(const QString &page, const QString &scheme, const QString &host, const QString &path) {
    static const QRegularExpression parts(QRegularExpression::anchoredPattern(
        QStringLiteral("(?:(?<scheme>[^:/?#]+):)?"
                       "(?://(?:[^/?#@]*@)?(?<host>[^/?#@:]*)(?::[0-9]*)?)?"
                       "(?<path>[^?#]*)(?:\\?[^#]*)?(?:#.*)?")));
    const QRegularExpressionMatch match = parts.match(page);
    return match.hasMatch() && match.captured(u"scheme") == scheme &&
           match.captured(u"host") == host && match.captured(u"path") == path;
}

/// Both what is spelt and what QUrl, which opens the page, makes of it must be the maker's page.
bool isDownloadPage(const LumvikUpdateManifest &manifest, const QString &webHost) {
    const QString scheme = QStringLiteral("https");
    const QString path = QStringLiteral("/lumvik");
    const QUrl url = manifest.downloadUrl();
    QUrl maker;
    maker.setHost(webHost);
    return isSpelt(manifest.downloadPage, scheme, webHost, path) && url.isValid() &&
           url.scheme() == scheme && url.host() == maker.host() && url.path() == path;
}

/// Neither digits of other scripts nor a line break at the end, which "$" would let pass.
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
    // An address that is empty is no URL either, and so is what was no text.
    if (!QUrl(page, QUrl::StrictMode).isValid())
        return tl::unexpected(unreadable(downloadPageKey));
    return LumvikUpdateManifest{version.toString(), *build, page};
}

tl::expected<void, ManifestFault> validateUpdateManifest(const LumvikUpdateManifest &manifest,
                                                         const QString &webHost) {
    if (!isDownloadPage(manifest, webHost))
        return tl::unexpected(ManifestFault::downloadPage);
    if (manifest.build < 1)
        return tl::unexpected(ManifestFault::build);
    if (!isVersion(manifest.version))
        return tl::unexpected(ManifestFault::version);
    return {};
}

} // namespace lumvik
