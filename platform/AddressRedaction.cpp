#include "platform/AddressRedaction.h"

#include <QRegularExpression>
#include <QUrl>

#include <algorithm>

namespace lumvik {

namespace {

const QString withheld = QStringLiteral("[withheld]");

/// Up to this length a secret is replaced only where it stands alone: replacing every "1" in a log
/// because somebody's password is "1" would make the log unreadable and give the password away.
constexpr qsizetype shortSecretLength = 3;

/// The user name and the password as they stand in an address, before and after the first colon of
/// what precedes the last "@" of the authority. A password may itself hold "@", ":", "/", "#" and
/// "?" although it should not, so the authority is not cut at these: the last "@" of the whole
/// address decides.
struct Credentials {
    QString user;
    QString password;
};

Credentials credentialsOf(const QString &address) {
    const qsizetype scheme = address.indexOf(QStringLiteral("://"));
    const qsizetype at = address.lastIndexOf(QLatin1Char('@'));
    if (scheme < 0 || at < scheme + 3)
        return {};
    const QString userInfo = address.mid(scheme + 3, at - scheme - 3);
    const qsizetype colon = userInfo.indexOf(QLatin1Char(':'));
    if (colon < 0)
        return {userInfo, {}};
    return {userInfo.left(colon), userInfo.mid(colon + 1)};
}

/// Cameras also take credentials in the query or the path ("?user=a&password=b",
/// "/user=a_password=b_").
QStringList passwordParameters(const QString &address) {
    static const QRegularExpression parameter(
        QStringLiteral("(?:password|passwd|pwd|pass|token|secret|auth|key)=([^&/?#\\s]+)"),
        QRegularExpression::CaseInsensitiveOption);
    QStringList found;
    for (auto matches = parameter.globalMatch(address); matches.hasNext();) {
        const QString value = matches.next().captured(1);
        found.append(value);
        // Where parameters stand in the path they are often joined by "_": "password=b_channel=1".
        static const QRegularExpression nextParameter(QStringLiteral("_[A-Za-z]+=.*$"));
        found.append(QString(value).remove(nextParameter));
    }
    return found;
}

} // namespace

void AddressRedaction::addSecret(const QString &secret) {
    if (!secret.isEmpty() && !m_secrets.contains(secret))
        m_secrets.append(secret);
}

void AddressRedaction::protect(const QStringList &addresses) {
    for (const QString &address : addresses) {
        const Credentials credentials = credentialsOf(address);
        QStringList passwords = passwordParameters(address);
        passwords.append(credentials.password);
        for (const QString &password : std::as_const(passwords)) {
            const QString decoded = QUrl::fromPercentEncoding(password.toUtf8());
            addSecret(password);
            addSecret(decoded);
            addSecret(QString::fromLatin1(QUrl::toPercentEncoding(decoded)));
            addSecret(QString::fromLatin1(QUrl::toPercentEncoding(password)));
            // Hexadecimal digits of either case mean the same.
            addSecret(QString::fromLatin1(QUrl::toPercentEncoding(decoded)).toLower());
        }
        if (credentials.password.isEmpty())
            continue;
        const QByteArray pair =
            (QUrl::fromPercentEncoding(credentials.user.toUtf8()) + QLatin1Char(':') +
             QUrl::fromPercentEncoding(credentials.password.toUtf8()))
                .toUtf8();
        addSecret(QString::fromLatin1(pair.toBase64()));
        addSecret(QString::fromLatin1(
            (credentials.user + QLatin1Char(':') + credentials.password).toUtf8().toBase64()));
    }
    std::stable_sort(m_secrets.begin(), m_secrets.end(),
                     [](const QString &a, const QString &b) { return a.size() > b.size(); });
}

QString AddressRedaction::redact(const QString &text) const {
    static const QRegularExpression authorization(
        QStringLiteral("(authorization\\s*[:=]\\s*)[^\\r\\n]*"),
        QRegularExpression::CaseInsensitiveOption);
    // An address ends at white space or at a quoting character. Blanks inside a password are
    // written
    // "%20" by then or are caught by value. Trailing punctuation of the sentence around goes with
    // it.
    static const QRegularExpression address(
        QStringLiteral("([A-Za-z][A-Za-z0-9+.-]*)(?::|%3[Aa])(?://|%2[Ff]%2[Ff])[^\\s'\"<>]+"));

    QString result = text;
    for (const QString &secret : m_secrets) {
        if (secret.size() > shortSecretLength) {
            result.replace(secret, withheld);
        } else if (result.contains(secret)) {
            const QRegularExpression alone(QStringLiteral("(?<![^\\s:='\"/@])") +
                                           QRegularExpression::escape(secret) +
                                           QStringLiteral("(?![^\\s:='\"/@,.])"));
            result.replace(alone, withheld);
        }
    }
    result.replace(address, QStringLiteral("\\1://[address withheld]"));
    result.replace(authorization, QStringLiteral("\\1[withheld]"));
    return result;
}

} // namespace lumvik
