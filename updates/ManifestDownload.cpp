#include "updates/ManifestDownload.h"

#include "updates/TransferErrorText.h"
#include "updates/WebsiteUrl.h"

#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkRequest>
#include <QSslConfiguration>
#include <QTimer>

#include <utility>

namespace lumvik {

namespace {

const QString unavailable = QStringLiteral("The update server is unavailable.");
const QString invalidResponse = QStringLiteral("The update server returned an invalid response.");

QString hostName(const QUrl &address) {
    return address.host(QUrl::FullyEncoded);
}

std::uint16_t portOf(const QUrl &address) {
    return static_cast<std::uint16_t>(address.port(httpsPort));
}

/// Returns the value of the "Host" header. Qt would derive the header from the numerical address
/// to which it connects.
QByteArray hostHeader(const QUrl &address) {
    QString host = hostName(address);
    if (host.contains(u':'))
        host = u'[' + host + u']';
    if (portOf(address) != httpsPort)
        host += u':' + QString::number(portOf(address));
    return host.toLatin1();
}

bool isSuccess(int status) {
    return status >= 200 && status <= 299;
}

bool isRedirection(int status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

} // namespace

ManifestDownload::ManifestDownload(DownloadRequest request,
                                   std::shared_ptr<SerialQueueHandle> queueHandle)
    : m_request(std::move(request))
    , m_queueHandle(std::move(queueHandle))
    , m_timeLimitTimer(new QTimer)
    , m_connectionTimer(new QTimer)
    , m_manager(new QNetworkAccessManager) {
    m_manager->setProxy(QNetworkProxy::NoProxy);
    m_timeLimitTimer->setSingleShot(true);
    m_timeLimitTimer->setTimerType(Qt::PreciseTimer); // Coarse timers may be five percent off.
    m_connectionTimer->setSingleShot(true);
    QObject::connect(m_timeLimitTimer.get(), &QTimer::timeout, m_timeLimitTimer.get(), [this] {
        finish(tl::unexpected(transferErrorText(QNetworkReply::TimeoutError, {})));
    });
    QObject::connect(m_connectionTimer.get(), &QTimer::timeout, m_connectionTimer.get(),
                     [this] { connectToNextAddress(); });
}

ManifestDownload::~ManifestDownload() {
    m_timeLimitTimer->stop();
    dropReply();
}

void ManifestDownload::start(Finished finished) {
    m_finished = std::move(finished);
    m_timeLimitTimer->start(m_request.timeLimit);
    fetch(m_request.address);
}

void ManifestDownload::fetch(const QUrl &address) {
    m_address = address;
    m_nextAddress = 0;
    m_socketAddresses = numericalAddresses(hostName(address), portOf(address));
    if (m_socketAddresses.empty())
        lookUp();
    else
        connectToNextAddress();
}

void ManifestDownload::lookUp() {
    const bool begun =
        lookUpHost(hostName(m_address), portOf(m_address), m_request.resolver,
                   // The download must be destroyed on the queue's thread. The look-up therefore
                   // holds a weak reference, which only tasks on the queue lock.
                   [queueHandle = m_queueHandle, download = weak_from_this()](LookupResult result) {
                       queueHandle->async([download, result = std::move(result)] {
                           if (const auto self = download.lock())
                               self->handleLookup(result);
                       });
                   });
    if (!begun)
        handleLookup(tl::unexpected(LookupError::temporary));
}

void ManifestDownload::handleLookup(const LookupResult &result) {
    if (!m_finished)
        return;
    if (result && !result->empty()) {
        m_socketAddresses = *result;
        connectToNextAddress();
    } else if (!result && result.error() == LookupError::temporary) {
        finish(tl::unexpected(
            QStringLiteral("The name of the update server could not be looked up.")));
    } else {
        finish(tl::unexpected(QStringLiteral("The update server was not found.")));
    }
}

void ManifestDownload::connectToNextAddress() {
    dropReply();
    send(m_socketAddresses[m_nextAddress++]);
    if (m_nextAddress < m_socketAddresses.size())
        m_connectionTimer->start(connectionTimeLimit);
}

void ManifestDownload::send(const SocketAddress &address) {
    m_isConnected = false;
    m_hasHead = false;
    m_body.clear();
    m_reply.reset(m_manager->get(request(address)));
    // The read buffer is larger than the longest permitted body, so that Qt always delivers the
    // first excess byte.
    m_reply->setReadBufferSize(2 * maximumBodySize);
    m_replyContext = std::make_unique<QObject>();
    QNetworkReply *const reply = m_reply.get();
    QObject *const context = m_replyContext.get();
    QObject::connect(reply, &QNetworkReply::encrypted, context, [this] {
        m_isConnected = true;
        m_connectionTimer->stop();
    });
    QObject::connect(reply, &QNetworkReply::metaDataChanged, context, [this] { handleHead(); });
    QObject::connect(reply, &QNetworkReply::readyRead, context, [this] { readBody(); });
    QObject::connect(reply, &QNetworkReply::finished, context, [this] { handleReplyFinished(); });
}

QNetworkRequest ManifestDownload::request(const SocketAddress &address) const {
    QUrl url = m_address;
    url.setHost(QHostAddress(address.generic()).toString());
    QNetworkRequest request(url);
    request.setRawHeader("Host", hostHeader(m_address));
    request.setPeerVerifyName(hostName(m_address));
    if (m_request.authorities) {
        QSslConfiguration security = request.sslConfiguration();
        security.setCaCertificates(*m_request.authorities);
        request.setSslConfiguration(security);
    }
    // A compressed body could be small during the transfer and huge after Qt has decompressed it.
    request.setRawHeader("Accept-Encoding", "identity");
    // Qt would otherwise send the user's language.
    request.setRawHeader("Accept-Language", "en");
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    return request;
}

void ManifestDownload::handleHead() {
    m_isConnected = true;
    m_connectionTimer->stop();
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (isRedirection(status))
        return followRedirection();
    if (!isSuccess(status))
        return finish(tl::unexpected(unavailable));
    const QByteArray encoding = m_reply->rawHeader("Content-Encoding").trimmed().toLower();
    if (!encoding.isEmpty() && encoding != "identity")
        return finish(tl::unexpected(invalidResponse));
    m_hasHead = true;
}

void ManifestDownload::readBody() {
    m_body += m_reply->read(maximumBodySize + 1 - m_body.size());
    if (m_body.size() > maximumBodySize)
        finish(tl::unexpected(invalidResponse));
}

void ManifestDownload::handleReplyFinished() {
    const auto self = shared_from_this(); // The completion may release the download.
    if (m_reply->error() != QNetworkReply::NoError)
        return handleError();
    readBody();
    if (m_finished)
        finish(m_hasHead ? Outcome(m_body) : tl::unexpected(unavailable));
}

void ManifestDownload::handleError() {
    const QNetworkReply::NetworkError error = m_reply->error();
    const bool isLastAddress = m_nextAddress == m_socketAddresses.size();
    if (!m_isConnected && !isLastAddress && error != QNetworkReply::SslHandshakeFailedError)
        return connectToNextAddress();
    // The server accepted the connection, but closed it or sent something that is not HTTP.
    const bool isNotHttp =
        error == QNetworkReply::RemoteHostClosedError || error == QNetworkReply::ProtocolFailure;
    if (m_isConnected && !m_hasHead && isNotHttp)
        return finish(tl::unexpected(unavailable));
    finish(tl::unexpected(transferErrorText(error, m_reply->errorString())));
}

void ManifestDownload::followRedirection() {
    const QUrl location = QUrl::fromEncoded(m_reply->rawHeader("Location"), QUrl::StrictMode);
    if (location.isEmpty() || !location.isValid())
        return finish(tl::unexpected(unavailable));
    const QUrl target =
        m_address.resolved(location).adjusted(QUrl::RemoveUserInfo | QUrl::RemoveFragment);
    if (target.scheme() != QLatin1String("https") || target.host().isEmpty())
        return finish(tl::unexpected(
            QStringLiteral("The update server redirected to an address that is not secure.")));
    if (++m_redirections > maximumRedirections)
        return finish(
            tl::unexpected(QStringLiteral("The update server redirected too many times.")));
    dropReply();
    fetch(target);
}

void ManifestDownload::dropReply() {
    m_connectionTimer->stop();
    if (!m_reply)
        return;
    m_replyContext.reset();
    // Deleting the reply aborts the transfer. The reply is not aborted explicitly, because Qt would
    // print a warning if another error were already pending.
    m_reply.reset();
}

void ManifestDownload::finish(Outcome outcome) {
    m_timeLimitTimer->stop();
    dropReply();
    if (const Finished finished = std::exchange(m_finished, nullptr))
        finished(std::move(outcome));
}

} // namespace lumvik
