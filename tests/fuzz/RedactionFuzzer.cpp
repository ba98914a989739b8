// The first line is a password, the second one says how it is written, and the rest is a text in
// which the address with this password occurs.
#include "fuzz/Fuzzing.h"
#include "platform/AddressRedaction.h"

#include <QUrl>

using namespace lumvik;

namespace {

constexpr qsizetype shortestPassword = 6;

/// Returns the letters and digits of `text`. Other characters make texts that contain only a part
/// of the password, about which there is nothing to require.
QString lettersAndDigits(const QByteArray &text) {
    QString kept;
    for (const char each : text) {
        const QChar character = QLatin1Char(each);
        if (character.isLetterOrNumber() && character.unicode() < 128)
            kept += character;
    }
    return kept;
}

QString written(const QString &address, std::uint8_t how) {
    switch (how % 4) {
    case 1:
        return QString::fromLatin1(QUrl::toPercentEncoding(address));
    case 2:
        return QString::fromLatin1(
            QUrl::toPercentEncoding(QString::fromLatin1(QUrl::toPercentEncoding(address))));
    case 3:
        return QStringLiteral("Authorization: Basic ") +
               QString::fromLatin1(
                   address.section(u'/', 2).section(u'@', 0, 0).toUtf8().toBase64());
    default:
        return address;
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    QByteArrayView rest = test::bytesOf(data, size);
    const QString password = lettersAndDigits(test::takeLine(rest));
    const std::uint8_t how = test::takeByte(rest);
    const QString text = QString::fromUtf8(rest);
    AddressRedaction redaction;
    redaction.protect({text}); // a mistyped address
    (void)redaction.redact(text);

    const bool isLikeTheReplacement =
        QStringLiteral("scheme://[address withheld]").contains(password, Qt::CaseInsensitive);
    if (password.size() < shortestPassword || isLikeTheReplacement ||
        QStringLiteral("userAuthorization: Basic camerartsp").contains(password))
        return 0;
    const QString address = QStringLiteral("rtsp://user:%1@camera/live").arg(password);
    redaction.protect({address});
    const QString line = text + u' ' + written(address, how) + u' ' + text;
    test::require(!redaction.redact(line).contains(password), "No log line contains a password.");
    return 0;
}
