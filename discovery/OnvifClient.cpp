#include "discovery/OnvifClient.h"

#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QRandomGenerator>

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumvik {

namespace {

/// How much two clocks must differ to be worth a second login, in seconds. Cameras accept tokens
/// that are a few seconds old.
constexpr qint64 smallestClockDifference = 5;

/// The body of a request that must not be sent twice. Qt repeats a request if the connection is
/// closed without a reply, which some cameras do when they refuse a login. It can only do so if it
/// can read the body again.
class OneTimeBody final : public QIODevice {
  public:
    explicit OneTimeBody(QByteArray bytes) : m_bytes(std::move(bytes)) { open(ReadOnly); }

    [[nodiscard]] bool isSequential() const override { return true; }
    [[nodiscard]] qint64 bytesAvailable() const override {
        return m_bytes.size() - m_position + QIODevice::bytesAvailable();
    }
    bool reset() override { return false; }

  protected:
    qint64 readData(char *data, qint64 maximum) override {
        const qint64 count = std::min<qint64>(maximum, m_bytes.size() - m_position);
        std::copy_n(m_bytes.constData() + m_position, count, data);
        m_position += count;
        return count;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

  private:
    const QByteArray m_bytes;
    qint64 m_position = 0;
};

QByteArray randomBytes() {
    // WS-Security recommends 16 bytes.
    quint32 words[4] = {};
    QRandomGenerator::system()->fillRange(words);
    return QByteArray(reinterpret_cast<const char *>(words), sizeof words);
}

/// Returns what stands in the start line of a request.
QByteArray requestTarget(const QUrl &url) {
    const QByteArray target =
        url.toEncoded(QUrl::RemoveScheme | QUrl::RemoveAuthority | QUrl::RemoveFragment);
    return target.startsWith('/') ? target : '/' + target;
}

QNetworkRequest networkRequest(const QUrl &url, OnvifCall call) {
    QNetworkRequest request(url);
    request.setRawHeader("Content-Type", onvifContentType(call));
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

} // namespace

OnvifClient::OnvifClient(MainQueue &queue, WallClock now, QObject *parent)
    : QObject(parent)
    , m_queue(queue)
    , m_now(std::move(now))
    , m_manager(std::make_unique<QNetworkAccessManager>()) {
    m_manager->setProxy(QNetworkProxy::NoProxy);
}

OnvifClient::~OnvifClient() {
    cancel();
}

void OnvifClient::ask(const QUrl &service, const OnvifLogin &login) {
    cancel();
    m_isAsking = true;
    m_service = service;
    m_host = QHostAddress(service.host());
    m_login = login;
    m_kind = Login::none;
    m_isLoginAccepted = false;
    m_otherTime.reset();
    m_profiles.clear();
    m_nextProfile = 0;
    const bool isWeb =
        service.scheme() == QLatin1String("http") || service.scheme() == QLatin1String("https");
    if (!isWeb || !service.isValid() || m_host.isNull()) {
        return finish(tl::unexpected(OnvifCause::notOnvif));
    }
    send(OnvifCall::getSystemDateAndTime, m_service);
}

void OnvifClient::cancel() {
    m_isAsking = false;
    dropReply();
    m_login = {}; // A password is kept no longer than necessary.
    m_digest.reset();
}

void OnvifClient::send(OnvifCall call, const QUrl &url, const QString &profile) {
    m_request = {.call = call, .url = url, .profile = profile};
    sendAgain();
}

void OnvifClient::sendAgain() {
    dropReply();
    QNetworkRequest request = networkRequest(m_request.url, m_request.call);
    // A request that is repeated with a new nonce contains a login that was not judged yet.
    if (m_kind != Login::none && !m_isLoginAccepted && !m_request.isRepeated)
        Q_EMIT loginProgressed(OnvifLoginEvent::sent);
    if (m_kind == Login::httpDigest && m_digest)
        request.setRawHeader("Authorization",
                             m_digest->authorization("POST", requestTarget(m_request.url)));
    m_body.clear();
    m_reply = post(request, onvifRequest(m_request.call, token(), m_request.profile));
    // Larger than the longest permitted body, so that Qt always delivers the first excess byte.
    m_reply->setReadBufferSize(2 * onvifLimits.bytes);
    connect(m_reply, &QNetworkReply::readyRead, this, [this] { readBody(); });
    connect(m_reply, &QNetworkReply::finished, this, [this] { handleFinished(); });
    // No authority signs the certificates of cameras. Encryption that is not verified is no worse
    // than none, which is what most cameras offer.
    connect(m_reply, &QNetworkReply::sslErrors, m_reply,
            [reply = m_reply] { reply->ignoreSslErrors(); });
    m_timer = m_queue.after(requestTimeLimit, [this] { handleUnanswered(); });
}

QNetworkReply *OnvifClient::post(QNetworkRequest request, const QByteArray &body) {
    if (m_kind == Login::none)
        return m_manager->post(request, body);
    // A connection that was used before may be closed by the camera at any moment, and the request
    // could then not be repeated.
    m_manager->clearConnectionCache();
    request.setHeader(QNetworkRequest::ContentLengthHeader, body.size());
    request.setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);
    auto *const device = new OneTimeBody(body);
    QNetworkReply *const reply = m_manager->post(request, device);
    device->setParent(reply);
    return reply;
}

std::optional<UsernameToken> OnvifClient::token() const {
    if (m_kind != Login::usernameToken)
        return std::nullopt;
    const auto elapsed =
        static_cast<qint64>(std::lround((m_queue.now() - m_cameraTimeRead) * 1000));
    return UsernameToken{m_login, m_cameraTime.addMSecs(elapsed), randomBytes()};
}

/// Gives up as soon as the body is too long.
void OnvifClient::readBody() {
    m_body += m_reply->read(onvifLimits.bytes + 1 - m_body.size());
    if (m_body.size() > onvifLimits.bytes)
        finish(tl::unexpected(OnvifCause::notOnvif));
}

void OnvifClient::handleFinished() {
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status == 0)
        return handleUnanswered();
    readBody();
    if (m_reply == nullptr)
        return;
    const QByteArray challenges = m_reply->rawHeader("WWW-Authenticate");
    const QByteArray date = m_reply->rawHeader("Date");
    const OnvifReply reply = onvifReply(m_request.call, status, m_body);
    dropReply();
    if (reply.kind == OnvifReplyKind::redirection)
        return finish(tl::unexpected(OnvifCause::redirected));
    // A refused clock needs no login, because there are other clocks.
    if (reply.kind == OnvifReplyKind::notAuthorized &&
        m_request.call != OnvifCall::getSystemDateAndTime)
        return handleRefusal(challenges);
    if (reply.kind == OnvifReplyKind::success && m_kind != Login::none &&
        !std::exchange(m_isLoginAccepted, true))
        Q_EMIT loginProgressed(OnvifLoginEvent::accepted);
    handleReply(reply, date);
}

/// A camera that falls silent after it has told some of its addresses is still of use.
void OnvifClient::handleUnanswered() {
    dropReply();
    if (m_request.call == OnvifCall::getStreamUri)
        return finishWithStreams();
    finish(tl::unexpected(OnvifCause::noAnswer));
}

void OnvifClient::handleReply(const OnvifReply &reply, const QByteArray &dateHeader) {
    switch (m_request.call) {
    case OnvifCall::getSystemDateAndTime:
        return handleClock(reply, dateHeader);
    case OnvifCall::getServices:
    case OnvifCall::getCapabilities:
        return handleServices(reply);
    case OnvifCall::getProfiles:
        return handleProfiles(reply);
    case OnvifCall::getStreamUri:
        return handleStreamAddress(reply);
    }
}

/// Returns whether the camera has sent a challenge that can be answered without sending the
/// password in clear.
bool OnvifClient::takeDigestChallenge(const QByteArray &challenges) {
    const auto all = rtspChallenges({challenges});
    const bool hasDigest = std::any_of(
        all.begin(), all.end(), [](const RtspChallenge &each) { return each.scheme == "digest"; });
    if (!hasDigest)
        return false;
    if (!m_digest)
        m_digest.emplace(RtspCredentials{m_login.user.toUtf8(), m_login.password.toUtf8()});
    // The nonce is empty if the authentication has chosen Basic, because the digest is of an
    // unknown kind.
    return m_digest->take({challenges}) && !m_digest->nonce().isEmpty();
}

void OnvifClient::handleRefusal(const QByteArray &challenges) {
    if (m_login.user.isEmpty())
        return finish(tl::unexpected(OnvifCause::loginNeeded));
    // A nonce may have become too old, and some cameras accept each nonce only once. A password
    // that was accepted before is not wrong now.
    if (m_kind == Login::httpDigest) {
        const bool canRepeat = !m_request.isRepeated && takeDigestChallenge(challenges);
        if (!canRepeat || (!m_isLoginAccepted && !m_digest->isStale()))
            return finishWithWrongPassword();
        m_request.isRepeated = true;
        return sendAgain();
    }
    // The services of a camera may want different kinds of login.
    const bool isFirst = m_kind == Login::none;
    if ((isFirst || m_isLoginAccepted) && takeDigestChallenge(challenges)) {
        m_kind = Login::httpDigest;
        return sendAgain();
    }
    if (isFirst) {
        m_kind = Login::usernameToken;
        return sendAgain();
    }
    if (m_isLoginAccepted || !m_otherTime)
        return finishWithWrongPassword();
    Q_EMIT loginProgressed(OnvifLoginEvent::refused);
    m_cameraTime = *std::exchange(m_otherTime, std::nullopt);
    sendAgain();
}

void OnvifClient::finishWithWrongPassword() {
    if (!m_isLoginAccepted)
        Q_EMIT loginProgressed(OnvifLoginEvent::refused);
    finish(tl::unexpected(OnvifCause::wrongPassword));
}

void OnvifClient::handleClock(const OnvifReply &reply, const QByteArray &dateHeader) {
    OnvifClock clock;
    if (reply.kind == OnvifReplyKind::success)
        clock = onvifClock(reply.content);
    m_cameraTimeRead = m_queue.now();
    m_cameraTime = clock.utc ? *clock.utc : httpDate(dateHeader).value_or(m_now());
    if (clock.local && std::abs(m_cameraTime.secsTo(*clock.local)) >= smallestClockDifference)
        m_otherTime = clock.local;
    send(OnvifCall::getServices, m_service);
}

void OnvifClient::handleServices(const OnvifReply &reply) {
    const bool isSuccess = reply.kind == OnvifReplyKind::success;
    if (isSuccess)
        if (const auto url = mediaService(m_request.call, reply.content, m_host))
            return send(OnvifCall::getProfiles, *url);
    // Cameras before ONVIF 2.1 do not know GetServices.
    if (m_request.call == OnvifCall::getServices)
        return send(OnvifCall::getCapabilities, m_service);
    finish(tl::unexpected(isSuccess ? OnvifCause::noStreams : OnvifCause::notOnvif));
}

void OnvifClient::handleProfiles(const OnvifReply &reply) {
    if (reply.kind != OnvifReplyKind::success)
        return finish(tl::unexpected(reply.kind == OnvifReplyKind::fault ? OnvifCause::noStreams
                                                                         : OnvifCause::notOnvif));
    m_profiles = onvifProfiles(reply.content);
    askForNextAddress();
}

void OnvifClient::handleStreamAddress(const OnvifReply &reply) {
    // A profile without an address, for example one that has no encoder now, is left out.
    if (reply.kind == OnvifReplyKind::success)
        m_profiles[m_nextProfile].address = streamAddress(reply.content, m_host);
    ++m_nextProfile;
    askForNextAddress();
}

void OnvifClient::askForNextAddress() {
    if (m_nextProfile == m_profiles.size())
        return finishWithStreams();
    const QUrl url = m_request.url; // The reply came from the media service.
    send(OnvifCall::getStreamUri, url, m_profiles[m_nextProfile].token);
}

void OnvifClient::finishWithStreams() {
    OnvifStreams streams{.profiles = std::exchange(m_profiles, {}),
                         .isLoginAccepted = m_isLoginAccepted};
    const auto isUnplayable = [](const OnvifProfile &each) { return each.address.isEmpty(); };
    streams.profiles.erase(
        std::remove_if(streams.profiles.begin(), streams.profiles.end(), isUnplayable),
        streams.profiles.end());
    if (streams.profiles.empty())
        return finish(tl::unexpected(OnvifCause::noStreams));
    finish(streams);
}

void OnvifClient::dropReply() {
    if (m_timer)
        m_timer->cancel();
    m_timer.reset();
    if (m_reply == nullptr)
        return;
    // The reply may be the sender of the signal that is being handled.
    m_reply->disconnect(this);
    m_reply->abort();
    m_reply->deleteLater();
    m_reply = nullptr;
}

void OnvifClient::finish(const OnvifOutcome &outcome) {
    dropReply();
    // A slot may destroy this object, which must not happen while a reply emits a signal.
    m_timer = m_queue.after(0, [this, outcome] {
        cancel();
        Q_EMIT finished(outcome);
    });
}

} // namespace lumvik
