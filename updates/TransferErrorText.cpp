#include "updates/TransferErrorText.h"

namespace lumvik {

namespace {

QString sentence(const QString &description) {
    QString text = description.simplified();
    if (text.isEmpty())
        return QStringLiteral("The update server could not be reached.");
    text[0] = text[0].toUpper();
    if (!text.endsWith(u'.') && !text.endsWith(u'!') && !text.endsWith(u'?'))
        text += u'.';
    return text;
}

} // namespace

QString transferErrorText(QNetworkReply::NetworkError error, const QString &description) {
    // Qt's descriptions of all other kinds of errors are good enough.
    if (error == QNetworkReply::ConnectionRefusedError)
        return QStringLiteral("The update server refused the connection.");
    if (error == QNetworkReply::RemoteHostClosedError)
        return QStringLiteral("The connection to the update server was lost.");
    if (error == QNetworkReply::TimeoutError)
        return QStringLiteral("The update server did not answer in time.");
    if (error == QNetworkReply::SslHandshakeFailedError)
        return QStringLiteral("No secure connection to the update server could be made. ") +
               sentence(QString(description).remove(QStringLiteral("SSL handshake failed: ")));
    return sentence(description);
}

} // namespace lumvik
