#include "updates/ManifestDownload.h"

#include "updates/TransferErrorText.h"

#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkRequest>
#include <QSslConfiguration>
#include <QTimer>

#include <utility>

namespace lumvik {

namespace {

/// How long an address may take to answer before the name's next one is tried.
constexpr std::chrono::seconds addressLimit{4};

constexpr int httpsPort = 443;

const QString unavailable = QStringLiteral("The update server is unavailable.");
const QString invalidResponse = QStringLiteral("The update server returned an invalid response.");

QString hostName(const QUrl &address) {
    return address.host(QUrl::FullyEncoded);
}

std::uint16_t portOf(const QUrl &address) {
    return static_cast<std::uint16_t>(address.port(httpsPort));
}

/// The "Host" header, which the toolkit would make from the numerical address.
QByteArray hostHeader(const QUrl &address) {
    QString host = hostName(address);
    if (host.contains(u':'))
        host = u'[' + host + u']';
    if (portOf(address) != httpsPort)
        host += u':' + QString::number(portOf(address));
    return host.toLatin1();
}

bool isRedirection(int status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

} // namespace

ManifestDownload::ManifestDownload(DownloadRequest request,
                                   std::shared_ptr<SerialQueueHandle> queue)
    : m_request(std::move(request))
    , m_queue(std::move(queue))
    , m_timeLimit(new QTimer)
    , m_addressLimit(new QTimer)
    , m_manager(new QNetworkAccessManager) {
    m_manager->setProxy(QNetworkProxy::NoProxy);
    m_timeLimit->setSingleShot(true);
    m_timeLimit->setTimerType(Qt::PreciseTimer); // by default it may be five percent off
    m_addressLimit->setSingleShot(true);
    QObject::connect(m_timeLimit.get(), &QTimer::timeout, m_timeLimit.get(), [this] {
        finish(tl::unexpected(transferErrorText(QNetworkReply::TimeoutError, {})));
    });
    QObject::connect(m_addressLimit.get(), &QTimer::timeout, m_addressLimit.get(),
                     [this] { connectToNext(); });
}

ManifestDownload::~ManifestDownload() {
    m_timeLimit->stop();
    dropReply();
}

void ManifestDownload::start(Finished finished) {
    m_finished = std::move(finished);
    m_timeLimit->start(m_request.timeLimit);
    visit(m_request.address);
}

void ManifestDownload::visit(const QUrl &address) {
    m_address = address;
    m_nextAddress = 0;
    m_socketAddresses = numericalAddresses(hostName(address), portOf(address));
    if (m_socketAddresses.empty())
        lookUp();
    else
        connectToNext();
}

void ManifestDownload::lookUp() {
    const bool begun = lookUpHost(
        hostName(m_address), portOf(m_address), m_request.resolver,
        // Held weakly, and by the queue's own work only: this must end on the queue's thread.
        [queue = m_queue, download = weak_from_this()](LookupResult result) {
            queue->async([download, result = std::move(result)] {
                if (const auto self = download.lock())
                    self->takeLookup(result);
            });
        });
    if (!begun)
        takeLookup(tl::unexpected(LookupError::notNow));
}

void ManifestDownload::takeLookup(const LookupResult &result) {
    if (!m_finished)
        return;
    if (result && !result->empty()) {
        m_socketAddresses = *result;
        connectToNext();
    } else if (!result && result.error() == LookupError::notNow) {
        finish(tl::unexpected(
            QStringLiteral("The name of the update server could not be looked up.")));
    } else {
        finish(tl::unexpected(QStringLiteral("The update server was not found.")));
    }
}

void ManifestDownload::connectToNext() {
    dropReply();
    send(m_socketAddresses[m_nextAddress++]);
    if (m_nextAddress < m_socketAddresses.size())
        m_addressLimit->start(addressLimit);
}

void ManifestDownload::send(const SocketAddress &address) {
    m_isConnected = false;
    m_hasHead = false;
    m_body.clear();
    m_reply.reset(m_manager->get(request(address)));
    // More than the largest body, so that the toolkit never holds the byte back that is too many.
    m_reply->setReadBufferSize(2 * largestBody);
    m_replyContext = std::make_unique<QObject>();
    QNetworkReply *const reply = m_reply.get();
    QObject *const context = m_replyContext.get();
    QObject::connect(reply, &QNetworkReply::encrypted, context, [this] {
        m_isConnected = true;
        m_addressLimit->stop();
    });
    QObject::connect(reply, &QNetworkReply::metaDataChanged, context, [this] { takeHead(); });
    QObject::connect(reply, &QNetworkReply::readyRead, context, [this] { takeBody(); });
    QObject::connect(reply, &QNetworkReply::finished, context, [this] { takeEnd(); });
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
    // A compressed body could be small on the way and huge when the toolkit has inflated it.
    request.setRawHeader("Accept-Encoding", "identity");
    // The toolkit would name the user's language.
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

void ManifestDownload::takeHead() {
    m_isConnected = true;
    m_addressLimit->stop();
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (isRedirection(status))
        return followRedirection();
    if (status < 200 || status > 299)
        return finish(tl::unexpected(unavailable));
    const QByteArray encoding = m_reply->rawHeader("Content-Encoding").trimmed().toLower();
    if (!encoding.isEmpty() && encoding != "identity")
        return finish(tl::unexpected(invalidResponse));
    m_hasHead = true;
}

void ManifestDownload::takeBody() {
    m_body += m_reply->read(largestBody + 1 - m_body.size());
    if (m_body.size() > largestBody)
        finish(tl::unexpected(invalidResponse));
}

void ManifestDownload::takeEnd() {
    const auto self = shared_from_this(); // finishing may let go of the download
    if (m_reply->error() != QNetworkReply::NoError)
        return takeError();
    takeBody();
    if (m_finished)
        finish(m_hasHead ? Outcome(m_body) : tl::unexpected(unavailable));
}

void ManifestDownload::takeError() {
    const QNetworkReply::NetworkError error = m_reply->error();
    const bool isLastAddress = m_nextAddress == m_socketAddresses.size();
    if (!m_isConnected && !isLastAddress && error != QNetworkReply::SslHandshakeFailedError)
        return connectToNext();
    // The server is there, but it has closed the connection or sent something that is no HTTP.
    const bool isNoHttp =
        error == QNetworkReply::RemoteHostClosedError || error == QNetworkReply::ProtocolFailure;
    if (m_isConnected && !m_hasHead && isNoHttp)
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
    if (++m_redirections > mostRedirections)
        return finish(
            tl::unexpected(QStringLiteral("The update server redirected too many times.")));
    dropReply();
    visit(target);
}

void ManifestDownload::dropReply() {
    m_addressLimit->stop();
    if (!m_reply)
        return;
    m_replyContext.reset();
    // Not aborted first: an error that is on its way to the reply would then be a second one, of
    // which the toolkit complains. The reply's end breaks the transfer off as well.
    m_reply.reset();
}

void ManifestDownload::finish(Outcome outcome) {
    m_timeLimit->stop();
    dropReply();
    if (const Finished finished = std::exchange(m_finished, nullptr))
        finished(std::move(outcome));
}

} // namespace lumvik
