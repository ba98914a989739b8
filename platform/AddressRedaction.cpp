#include "platform/AddressRedaction.h"

#include <QByteArrayView>
#include <QList>
#include <QRegularExpression>

#include <algorithm>
#include <vector>

namespace lumvik {

namespace {

/// A secret of at most this length is withheld only where it is a word of its own. Replacing every
/// "1" in a log because a password is "1" would make the log unreadable and reveal the password.
constexpr qsizetype shortSecretLength = 3;

/// A text with its escapes undone, and the position in the original text of each of its bytes.
struct View {
    QByteArray bytes;
    QList<qsizetype> from; // one element more than bytes; the last is the original's length
};

/// A part of the original text to withhold: [begin, end). The first `kept` bytes of the range stay
/// visible.
struct Range {
    qsizetype begin;
    qsizetype end;
    qsizetype kept = 0;
    bool isAddress = false;
};

/// Creates a pattern that is never destroyed, because libraries may log until the process ends.
const QRegularExpression *lasting(const QString &pattern,
                                  QRegularExpression::PatternOptions options = {}) {
    return new QRegularExpression(pattern, options);
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

int hexNumber(const QByteArray &bytes, qsizetype at, int digits) {
    int number = 0;
    for (int i = 0; i < digits; ++i) {
        const int digit = at + i < bytes.size() ? hexDigit(bytes.at(at + i)) : -1;
        if (digit < 0)
            return -1;
        number = number * 16 + digit;
    }
    return number;
}

/// Returns the length of the escape at `at`, or 0 if there is none, and the text that the escape
/// represents.
std::pair<qsizetype, QByteArray> escapeAt(const QByteArray &bytes, qsizetype at) {
    if (bytes.at(at) == '%') {
        const int code = hexNumber(bytes, at + 1, 2);
        return code < 0 ? std::pair(qsizetype(0), QByteArray())
                        : std::pair(qsizetype(3), QByteArray(1, static_cast<char>(code)));
    }
    if (bytes.at(at) != '\\' || at + 1 >= bytes.size())
        return {0, {}};
    const char next = bytes.at(at + 1);
    if (next == '"' || next == '\'' || next == '\\' || next == '/')
        return {2, QByteArray(1, next)};
    if (next == 'u') {
        const int code = hexNumber(bytes, at + 2, 4);
        if (code >= 0)
            return {6, QString(QChar(static_cast<char16_t>(code))).toUtf8()};
    }
    return {0, {}};
}

View unescaped(const View &view) {
    View result;
    for (qsizetype at = 0; at < view.bytes.size();) {
        auto [length, plain] = escapeAt(view.bytes, at);
        if (length == 0) {
            length = 1;
            plain = view.bytes.sliced(at, 1);
        }
        result.bytes += plain;
        result.from.insert(result.from.size(), plain.size(), view.from[at]);
        at += length;
    }
    result.from.push_back(view.from.back());
    return result;
}

View viewOf(const QByteArray &bytes) {
    View view{bytes, {}};
    for (qsizetype at = 0; at <= bytes.size(); ++at)
        view.from.push_back(at);
    return view;
}

QByteArray decodedOnce(const QByteArray &bytes) {
    return QByteArray::fromPercentEncoding(bytes);
}

bool isWordByte(char c) {
    return static_cast<unsigned char>(c) >= 0x80 || (c >= '0' && c <= '9') ||
           ((c | 0x20) >= 'a' && (c | 0x20) <= 'z');
}

bool standsAlone(const QByteArray &bytes, qsizetype begin, qsizetype end) {
    return (begin == 0 || !isWordByte(bytes.at(begin - 1))) &&
           (end == bytes.size() || !isWordByte(bytes.at(end)));
}

void findSecrets(const QByteArrayList &secrets, const View &view, std::vector<Range> &found) {
    for (const QByteArray &secret : secrets) {
        for (qsizetype at = view.bytes.indexOf(secret); at >= 0;
             at = view.bytes.indexOf(secret, at + 1)) {
            const qsizetype end = at + secret.size();
            if (secret.size() > shortSecretLength || standsAlone(view.bytes, at, end))
                found.push_back({view.from[at], view.from[end]});
        }
    }
}

void findForms(const View &view, std::vector<Range> &found) {
    // An address ends at white space or at a quoting character, unless an "@" follows before the
    // next white space. In that case, the quoting character belongs to the password.
    static const QRegularExpression &address = *lasting(QStringLiteral(
        R"(([A-Za-z][A-Za-z0-9+.-]{0,30}):[/\\]{2}(?:\\.|[^\s'"<>\\])+(?:['"<>][^\s@]*@(?:\\.|[^\s'"<>\\])*)*)"));
    static const QRegularExpression &header = *lasting(
        QStringLiteral(
            R"((authorization\s*[:=]?\s*)[^\r\n]+|(\b(?:cnonce|response)\s*=\s*"?)[0-9A-Za-z+/=]{8,})"),
        QRegularExpression::CaseInsensitiveOption);
    // Latin-1 maps each byte to one character. Positions therefore match those of the view, and
    // even malformed UTF-8 can be searched.
    const QString text = QString::fromLatin1(view.bytes);
    for (auto matches = address.globalMatch(text); matches.hasNext();) {
        const auto match = matches.next();
        found.push_back({view.from[match.capturedStart()], view.from[match.capturedEnd()],
                         view.from[match.capturedEnd(1)] - view.from[match.capturedStart()], true});
    }
    for (auto matches = header.globalMatch(text); matches.hasNext();) {
        const auto match = matches.next();
        const int kept = match.capturedStart(1) >= 0 ? 1 : 2;
        found.push_back({view.from[match.capturedStart()], view.from[match.capturedEnd()],
                         view.from[match.capturedEnd(kept)] - view.from[match.capturedStart()]});
    }
}

/// Collects everything in one address that must not be visible.
class SecretCollector {
  public:
    explicit SecretCollector(const QByteArray &address)
        : m_address(address)
        , m_start(startOf(address)) {}

    QByteArrayList all() {
        if (m_address.contains('@') || m_address.contains('=') || m_address.contains('?')) {
            add(m_address);
            add(m_address.sliced(m_start));
        }
        const QList<qsizetype> delimiters = userDelimiters();
        for (const qsizetype at : delimiters)
            addUserInfo(m_address.sliced(m_start, at - m_start));
        if (!delimiters.isEmpty()) {
            // The longest possible password contains all others, so its hosts include the hosts of
            // all others.
            const QByteArray longest = m_address.sliced(m_start, delimiters.last() - m_start);
            addHostsIn(longest.sliced(longest.indexOf(':') + 1));
        }
        addRequestTarget();
        addParameters();
        return m_found;
    }

  private:
    /// Returns the position after "scheme://", including mistyped forms of it, or 0 if there is no
    /// scheme.
    static qsizetype startOf(const QByteArray &address) {
        static const QRegularExpression &scheme =
            *lasting(QStringLiteral(R"(^(?:[A-Za-z0-9+.-]*(?::[/\\]+|[/\\]{2,}))+)"));
        return scheme.match(QString::fromLatin1(address)).capturedLength();
    }

    /// Returns the position of each "@" that may end the user information. If an address contains
    /// very many, only the positions near its beginning and end are returned, because each position
    /// adds almost the whole address to the secrets, and no real password contains more than a few.
    [[nodiscard]] QList<qsizetype> userDelimiters() const {
        constexpr qsizetype mostAtEachEnd = 8;
        QList<qsizetype> positions;
        for (qsizetype at = m_address.indexOf('@', m_start); at >= 0;
             at = m_address.indexOf('@', at + 1))
            positions.append(at);
        if (positions.size() > 2 * mostAtEachEnd)
            positions.remove(mostAtEachEnd, positions.size() - 2 * mostAtEachEnd);
        return positions;
    }

    void addUserInfo(const QByteArray &userInfo) {
        const qsizetype colon = userInfo.indexOf(':');
        const QByteArray password =
            userInfo.sliced(colon + 1); // all of it if there is no user name
        add(password);
        if (colon < 0)
            return;
        for (const QByteArray &pair : {userInfo, decodedOnce(userInfo)}) {
            for (const auto options : {QByteArray::Base64Encoding, QByteArray::Base64UrlEncoding})
                add(pair.toBase64(options | QByteArray::OmitTrailingEquals));
        }
    }

    /// If the password is "p@ss/word", the engine takes "ss" for the host and reports that "ss"
    /// cannot be found.
    void addHostsIn(const QByteArray &password) {
        for (qsizetype at = password.indexOf('@'); at >= 0; at = password.indexOf('@', at + 1)) {
            qsizetype end = at + 1;
            while (end < password.size() && !QByteArrayView("@:/?#").contains(password.at(end)))
                ++end;
            add(password.sliced(at + 1, end - at - 1));
        }
    }

    void addRequestTarget() {
        const qsizetype slash = m_address.indexOf('/', m_start);
        if (slash < 0)
            return;
        const QByteArray target = m_address.sliced(slash);
        if (!target.contains('=') && !target.contains('?'))
            return;
        add(target);
        qsizetype path = target.indexOf('?');
        path = target.lastIndexOf('/', path < 0 ? -1 : path);
        add(target.sliced(path + 1));
    }

    void addParameters() {
        static const QRegularExpression &parameter = *lasting(
            QStringLiteral(
                R"((?:pass\w*?|pas|passwd|pwd?|psw|pw|pin|token|secret|auth|key|cred\w*?|sig|session|ticket|login\w*?)=([^&/?#\s]+))"),
            QRegularExpression::CaseInsensitiveOption);
        static const QRegularExpression &next =
            *lasting(QStringLiteral(R"((?:_[A-Za-z]+=|[;,]).*$)"));
        const QString text = QString::fromLatin1(m_address);
        for (auto matches = parameter.globalMatch(text); matches.hasNext();) {
            const QString value = matches.next().captured(1);
            add(value.toLatin1());
            add(QString(value).remove(next).toLatin1());
        }
    }

    void add(const QByteArray &secret) {
        if (!std::any_of(secret.begin(), secret.end(), isWordByte))
            return; // A bare "@" would match everywhere.
        // The engine reports line by line and strips white space at both ends.
        m_found.append(secret);
        QByteArray lines = secret;
        for (const QByteArray &line : lines.replace('\r', '\n').split('\n'))
            m_found.append(line.trimmed());
    }

    QByteArray m_address;
    qsizetype m_start;
    QByteArrayList m_found;
};

/// Returns `original` with every range replaced and overlapping ranges merged. If each range were
/// replaced as soon as it is found, a replacement could destroy a secret that a later search looks
/// for.
QByteArray withheld(const QByteArray &original, std::vector<Range> found) {
    std::sort(found.begin(), found.end(), [](const Range &a, const Range &b) {
        return a.begin != b.begin ? a.begin < b.begin : a.kept > b.kept;
    });
    QByteArray result;
    qsizetype copied = 0;
    for (std::size_t n = 0; n < found.size();) {
        const Range range = found[n++];
        qsizetype end = range.end;
        bool keptIsClean = true;
        while (n < found.size() && found[n].begin < end) {
            // A password such as "rtsp" or "author" must not remain visible in the kept prefix.
            const qsizetype keptEnd = range.begin + range.kept;
            if (found[n].kept == 0 && found[n].begin < keptEnd &&
                (found[n].begin > range.begin || found[n].end <= keptEnd))
                keptIsClean = false;
            end = std::max(end, found[n++].end);
        }
        result += original.sliced(copied, range.begin - copied);
        if (keptIsClean)
            result += original.sliced(range.begin, range.kept);
        result += range.isAddress && keptIsClean ? "://[address withheld]" : "[withheld]";
        copied = end;
    }
    return result + original.sliced(copied);
}

} // namespace

void AddressRedaction::protect(const QStringList &addresses) {
    for (const QString &address : addresses) {
        QByteArrayList secrets = SecretCollector(address.toUtf8()).all();
        for (const QByteArray &secret : QByteArrayList(secrets)) {
            secrets.append(decodedOnce(secret));
            secrets.append(decodedOnce(secrets.last()));
        }
        m_secrets.append(secrets);
    }
    m_secrets.removeAll(QByteArray());
    std::sort(m_secrets.begin(), m_secrets.end());
    m_secrets.erase(std::unique(m_secrets.begin(), m_secrets.end()), m_secrets.end());
}

QString AddressRedaction::redact(const QString &text) const {
    const QByteArray original = text.toUtf8();
    std::vector<Range> found;
    View view = viewOf(original);
    // Two levels of escapes are undone, because the engine escapes an already escaped address again
    // when it logs a command.
    for (int level = 0; level <= 2; ++level) {
        findForms(view, found);
        findSecrets(m_secrets, view, found);
        View next = unescaped(view);
        if (next.bytes == view.bytes)
            break;
        view = std::move(next);
    }
    return found.empty() ? text : QString::fromUtf8(withheld(original, std::move(found)));
}

} // namespace lumvik
