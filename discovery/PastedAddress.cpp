#include "discovery/PastedAddress.h"

#include "configuration/CameraAddress.h"
#include "configuration/CameraListBounds.h"

#include <QHostAddress>
#include <QRegularExpression>
#include <QUrl>

#include <algorithm>
#include <optional>

namespace lumvik {

namespace {

constexpr QStringView quotes = u"\"'`\u2018\u2019\u201A\u201C\u201D\u201E\u2039\u203A\u00AB\u00BB";

/// Characters that are invisible and come with text that is copied from web pages and mails: soft
/// hyphens, zero-width spaces and joiners, byte-order marks, and marks for the direction of text.
bool isInvisible(QChar each) {
    return each == u'\u00AD' || each == u'\u200B' || (each >= u'\u200E' && each <= u'\u200F') ||
           (each >= u'\u202A' && each <= u'\u202E') || (each >= u'\u2060' && each <= u'\u2069') ||
           each == u'\uFEFF';
}

bool isHexadecimal(QChar each) {
    return (each >= u'0' && each <= u'9') || (each >= u'a' && each <= u'f') ||
           (each >= u'A' && each <= u'F');
}

bool isEscape(QStringView text, qsizetype position) {
    return position + 2 < text.size() && text[position] == u'%' &&
           isHexadecimal(text[position + 1]) && isHexadecimal(text[position + 2]);
}

bool endsAuthority(QChar each) {
    return each == u'/' || each == u'?' || each == u'#';
}

/// Returns the position of the first character of `text`, from `begin`, that ends the authority.
qsizetype authorityEnd(QStringView text, qsizetype begin = 0) {
    return std::find_if(text.begin() + begin, text.end(), endsAuthority) - text.begin();
}

/// Returns `text` without what people and programs put around an address.
QStringView withoutDecoration(QStringView text) {
    const auto isLeading = [](QChar each) { return quotes.contains(each) || each == u'<'; };
    const auto isTrailing = [](QChar each) {
        return quotes.contains(each) || QStringView(u">.,;").contains(each);
    };
    while (true) {
        const QStringView before = text;
        text = text.trimmed();
        if (!text.isEmpty() && isLeading(text.front()))
            text = text.sliced(1);
        if (!text.isEmpty() && isTrailing(text.back()))
            text.chop(1);
        // A colon without a port; an IPv6 address may end with two.
        if (text.endsWith(u':') && !text.endsWith(u"::"))
            text.chop(1);
        if (text.size() > 1 && text.front() == u'(' && text.back() == u')')
            text = text.sliced(1).chopped(1);
        if (text.size() == before.size())
            return text;
    }
}

/// Returns the part of `text` from its first RTSP scheme, if there are words before it, as in
/// "Front door: rtsp://192.0.2.1/". Otherwise returns `text`.
QStringView withoutLeadingWords(QStringView text) {
    static const QRegularExpression scheme(QStringLiteral("^[a-z][a-z0-9+.-]*://"),
                                           QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression address(QStringLiteral("[\\s\"'<(=,](rtsps?://)"),
                                            QRegularExpression::CaseInsensitiveOption);
    if (scheme.match(text.toString()).hasMatch())
        return text;
    const QRegularExpressionMatch match = address.match(text.toString());
    return match.hasMatch() ? text.sliced(match.capturedStart(1)) : text;
}

/// An address without its scheme.
struct WithoutScheme {
    bool isSecure = false; ///< Whether the scheme was "rtsps".
    QString rest;
};

/// Removes the scheme, which may be misspelt as in "rtsp:/host", "rtsp//host" or "rtsp:\\\\host".
/// It may be repeated, because people paste a whole address into a field that contains the scheme
/// already.
tl::expected<WithoutScheme, PasteProblem> withoutScheme(QString text) {
    static const QRegularExpression own(QStringLiteral("^(rtsps?)(:[/\\\\]{1,2}|//)"),
                                        QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression repeated(QStringLiteral("^(?:rtsps?://)*(rtsps?)://"),
                                             QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression any(QStringLiteral("^[a-z][a-z0-9+.-]*://"),
                                        QRegularExpression::CaseInsensitiveOption);
    WithoutScheme result;
    QRegularExpressionMatch match = own.match(text);
    if (match.hasMatch()) {
        result.isSecure = match.capturedLength(1) == 5;
        text = text.sliced(match.capturedLength());
        if (match.captured(2).contains(u'\\'))
            text.replace(u'\\', u'/');
    }
    match = repeated.match(text);
    if (match.hasMatch()) {
        result.isSecure = match.capturedLength(1) == 5;
        text = text.sliced(match.capturedLength());
    }
    if (any.match(text).hasMatch())
        return tl::unexpected(PasteProblem::otherScheme);
    if (text.startsWith(QLatin1String("//")))
        text = text.sliced(2);
    result.rest = text;
    return result;
}

/// Returns an IPv4 address as it should be written, or an empty text. Some cameras show their
/// addresses with leading zeros, which other programs would take for octal numbers.
QString normalVersion4(QStringView host) {
    const auto parts = host.split(u'.');
    QStringList numbers;
    for (const QStringView part : parts) {
        if (part.isEmpty() || part.size() > 3 || part.toUInt() > 255)
            return {};
        numbers.append(QString::number(part.toUInt()));
    }
    return numbers.size() == 4 ? numbers.join(u'.') : QString();
}

/// Returns an IPv6 address with its brackets and with its scope encoded as RFC 6874 demands, or an
/// empty text. `host` has no brackets.
QString bracketed(QStringView host) {
    const qsizetype scopeBegin = host.indexOf(u'%');
    const QStringView address = scopeBegin < 0 ? host : host.first(scopeBegin);
    if (QHostAddress(address.toString()).protocol() != QAbstractSocket::IPv6Protocol)
        return {};
    if (scopeBegin < 0)
        return u'[' + address.toString() + u']';
    QStringView scope = host.sliced(scopeBegin + 1);
    if (scope.startsWith(u"25") && scope.size() > 2)
        scope = scope.sliced(2);
    static const QRegularExpression name(QStringLiteral("^[A-Za-z0-9_.~-]+$"));
    if (!name.match(scope.toString()).hasMatch())
        return {};
    return u'[' + address.toString() + QLatin1String("%25") + scope.toString() + u']';
}

/// Returns a host as it stands in an address.
PastedAddress hostText(QStringView host) {
    if (host.isEmpty())
        return tl::unexpected(PasteProblem::noHost);
    const auto isNumeric = [](QChar each) {
        return (each >= u'0' && each <= u'9') || each == u'.';
    };
    if (std::all_of(host.begin(), host.end(), isNumeric)) {
        const QString number = normalVersion4(host.endsWith(u'.') ? host.chopped(1) : host);
        if (number.isEmpty())
            return tl::unexpected(PasteProblem::badHost);
        return number;
    }
    const QString name = host.toString();
    const QUrl url(QLatin1String("rtsp://") + name);
    if (name.contains(u'%') || name.contains(u'@') || !url.isValid() || url.host().isEmpty() ||
        url.port() >= 0)
        return tl::unexpected(PasteProblem::badHost);
    return name;
}

bool isStray(QChar each) {
    return each.isSpace() || each.category() == QChar::Other_Control || each == u'"' ||
           each == u'<' || each == u'>';
}

/// The length limit of a host with its port, in characters. A host name has at most 253 (RFC 1035).
constexpr qsizetype longestHost = 300;

/// Returns a host and, if there is one, its port, as they stand in an address.
PastedAddress hostAndPort(QStringView text) {
    if (text.size() > longestHost)
        return tl::unexpected(PasteProblem::badHost);
    if (std::any_of(text.begin(), text.end(), isStray))
        return tl::unexpected(PasteProblem::strayCharacter);
    qsizetype hostEnd = text.size();
    QString host;
    if (text.startsWith(u'[')) {
        hostEnd = text.indexOf(u']') + 1;
        host = hostEnd > 0 ? bracketed(text.first(hostEnd - 1).sliced(1)) : QString();
        if (host.isEmpty())
            return tl::unexpected(PasteProblem::badHost);
    } else if (text.count(u':') > 1) {
        host = bracketed(text);
        if (host.isEmpty())
            return tl::unexpected(PasteProblem::badHost);
    } else {
        const qsizetype colon = text.indexOf(u':');
        hostEnd = colon < 0 ? text.size() : colon;
        PastedAddress name = hostText(text.first(hostEnd));
        if (!name)
            return name;
        host = *name;
    }
    const QStringView port = text.sliced(hostEnd);
    if (port.isEmpty() || port == u":")
        return host;
    static const QRegularExpression digits(QStringLiteral("^:0*([0-9]{1,5})$"));
    const int number = digits.match(port.toString()).captured(1).toInt();
    if (number < 1 || number > 65'535)
        return tl::unexpected(PasteProblem::badPort);
    return host + u':' + QString::number(number);
}

/// Where the parts of an address without scheme are.
struct Parts {
    QStringView user; ///< Without "@".
    QStringView host; ///< With the port.
    QStringView path; ///< With query and fragment.
};

/// Whether the host looks more like the name of a user: a single word, such as "admin".
bool isSingleWord(QStringView hostWithPort) {
    return !hostWithPort.contains(u'.') && !hostWithPort.contains(u'[') &&
           hostWithPort.count(u':') == 1 && !hostWithPort.startsWith(u"localhost");
}

/// Returns the parts of an address whose password contains "/", "?" or "#", or nothing if the
/// address cannot be read like that. `begin` is the end of its apparent authority.
std::optional<Parts> partsWithOpenPassword(QStringView text, qsizetype begin, bool needsDot) {
    for (qsizetype at = text.lastIndexOf(u'@'); at >= begin; at = text.lastIndexOf(u'@', at - 1)) {
        const qsizetype end = authorityEnd(text, at + 1);
        const QStringView host = text.first(end).sliced(at + 1);
        const bool hasDot = host.contains(u'.') || host.startsWith(u'[');
        if (hostAndPort(host) && (hasDot || !needsDot))
            return Parts{text.first(at), host, text.sliced(end)};
        if (at == 0)
            break;
    }
    return std::nullopt;
}

Parts partsOf(QStringView text) {
    const qsizetype end = authorityEnd(text);
    const QStringView authority = text.first(end);
    const qsizetype delimiter = authority.lastIndexOf(u'@');
    const Parts parts{authority.first(std::max<qsizetype>(delimiter, 0)),
                      authority.sliced(delimiter + 1), text.sliced(end)};
    // In "admin:12/4@192.0.2.1", "admin" and "12" could be a host and a port, but are not.
    const bool isHost = hostAndPort(parts.host).has_value();
    if (isHost && (delimiter >= 0 || !isSingleWord(parts.host)))
        return parts;
    return partsWithOpenPassword(text, end, isHost).value_or(parts);
}

/// Returns `text` with all characters percent-encoded that `mustBeEncoded` selects, and with all
/// percent signs that begin no escape.
template<typename Predicate>
QString encoded(QStringView text, Predicate mustBeEncoded) {
    QString result;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isPercent = text[i] == u'%';
        if (isPercent ? !isEscape(text, i) : mustBeEncoded(text[i]))
            result += QString::fromLatin1(QUrl::toPercentEncoding(QString(text[i])));
        else
            result += text[i];
    }
    return result;
}

/// Whether a character of a user name or password must be encoded: all ASCII characters except
/// those that RFC 3986 permits there, and white space.
bool isReservedInUser(QChar each) {
    constexpr QStringView permitted = u"-._~!$&'()*+,;=:";
    if (each.unicode() >= 0x80)
        return each.isSpace();
    return !each.isLetterOrNumber() && !permitted.contains(each);
}

bool isInvalidInPath(QChar each) {
    return QStringView(u"\\^`{|}").contains(each);
}

/// Returns the path of an address. "&amp;" comes with addresses from the source of a web page.
PastedAddress pathText(QStringView path) {
    if (std::any_of(path.begin(), path.end(), isStray))
        return tl::unexpected(PasteProblem::strayCharacter);
    QString text = path.toString();
    text.replace(QLatin1String("&amp;"), QLatin1String("&"));
    return encoded(text, isInvalidInPath);
}

} // namespace

PastedAddress pastedAddress(QStringView line) {
    QString visible = line.toString();
    visible.removeIf(isInvisible);
    const QStringView trimmed = withoutDecoration(visible);
    if (trimmed.size() > longestCameraAddress)
        return tl::unexpected(PasteProblem::tooLong);
    const QString bare = withoutDecoration(withoutLeadingWords(trimmed)).toString();
    const auto scheme = withoutScheme(bare);
    if (!scheme)
        return tl::unexpected(scheme.error());
    const Parts parts = partsOf(scheme->rest);
    PastedAddress host = hostAndPort(parts.host);
    if (!host)
        return host;
    PastedAddress path = pathText(parts.path);
    if (!path)
        return path;
    const bool hasUser = !parts.user.isEmpty() && parts.user != u":";
    const QString user = hasUser ? encoded(parts.user, isReservedInUser) + u'@' : QString();
    const QString rest = user + *host + *path;
    if (!isCameraAddress(QLatin1String("rtsp://") + rest))
        return tl::unexpected(PasteProblem::badHost);
    const QString address = QLatin1String(scheme->isSecure ? "rtsps://" : "rtsp://") + rest;
    if (isTooLongAddress(address))
        return tl::unexpected(PasteProblem::tooLong);
    return address;
}

std::vector<PastedAddress> pastedAddresses(const QString &text) {
    std::vector<PastedAddress> results;
    qsizetype begin = 0;
    const auto endsLine = [](QChar each) {
        return each == u'\n' || each == u'\r' || each == u'\u2028' || each == u'\u2029';
    };
    while (begin <= text.size() && static_cast<qsizetype>(results.size()) < mostCameras) {
        const qsizetype end =
            std::find_if(text.begin() + begin, text.end(), endsLine) - text.begin();
        QString line = text.sliced(begin, end - begin);
        begin = end + 1;
        line.removeIf(isInvisible);
        if (!withoutDecoration(line).isEmpty() && !line.trimmed().startsWith(u'#'))
            results.push_back(pastedAddress(line));
    }
    return results;
}

QString addressWithLogin(const QString &address, const QString &user, const QString &password) {
    const qsizetype scheme = address.indexOf(QLatin1String("://"));
    if (user.isEmpty() || scheme < 0)
        return address;
    const QByteArray login =
        QUrl::toPercentEncoding(user) + ':' + QUrl::toPercentEncoding(password) + '@';
    return QString(address).insert(scheme + 3, QString::fromLatin1(login));
}

QString pasteProblemText(PasteProblem problem) {
    switch (problem) {
    case PasteProblem::otherScheme:
        return QStringLiteral("The address of a camera's stream begins with rtsp://.");
    case PasteProblem::noHost:
        return QStringLiteral("This one names no host.");
    case PasteProblem::badHost:
        return QStringLiteral("What should be the host is neither a name nor an IP address.");
    case PasteProblem::badPort:
        return QStringLiteral("The port must be a number from 1 to 65535.");
    case PasteProblem::strayCharacter:
        return QStringLiteral("This one contains a space, a quote or an angle bracket.");
    case PasteProblem::tooLong:
        return QStringLiteral("This one is too long.");
    }
    return {};
}

} // namespace lumvik
