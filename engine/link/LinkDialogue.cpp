#include "engine/link/LinkDialogue.h"

#include <algorithm>
#include <utility>

namespace lumvik {

namespace {

using Kind = LinkFact::Kind;

/// The engine waits for each answer before it sends the next request, apart from a request now and
/// then that keeps the session alive. Requests that a camera never answers are forgotten.
constexpr std::size_t mostRequests = 16;
/// A request with a login that was accepted before, the same with a new nonce, and once more if the
/// camera says that this nonce is too old.
constexpr int mostAttempts = 3;

/// The engine logs the reason in a response's start line, where control characters could forge
/// lines of the log.
QByteArray withoutControlCharacters(QByteArray line) {
    for (char &each : line) {
        const auto byte = static_cast<std::uint8_t>(each);
        if (byte < 0x20 || byte == 0x7f)
            each = '?';
    }
    return line;
}

QByteArray withoutParameters(const QByteArray &value) {
    return value.split(';').constFirst().trimmed();
}

/// Returns the value of a header "Transport" without the hosts at both ends (RFC 2326, 12.39),
/// which mean nothing over TCP.
QByteArray withoutHosts(const QByteArray &transport) {
    QByteArrayList parameters = transport.split(';');
    parameters.removeIf([](const QByteArray &each) {
        const QByteArray parameter = each.trimmed().toLower();
        return parameter.startsWith("source=") || parameter.startsWith("destination=");
    });
    return parameters.join(';');
}

bool isRedirect(int status) {
    return status >= 300 && status <= 399;
}

} // namespace

QByteArray LinkDialogue::Output::bytesToEngine() const {
    QByteArray bytes;
    for (const EngineData &data : toEngine)
        bytes += data.bytes;
    return bytes;
}

LinkDialogue::LinkDialogue(CameraEndpoint endpoint, const QByteArray &engineBase,
                           RtspAuthentication::NonceMaker makeNonce)
    : m_endpoint(std::move(endpoint))
    , m_addresses(engineBase, m_endpoint.uri) {
    if (m_endpoint.credentials)
        m_authentication.emplace(*m_endpoint.credentials, std::move(makeNonce));
}

LinkDialogue::Output LinkDialogue::takeFromEngine(QByteArrayView bytes) {
    Output output;
    m_fromEngine.append(bytes);
    while (auto item = m_fromEngine.next())
        takeEngineItem(std::move(*item), output);
    return output;
}

LinkDialogue::Output LinkDialogue::takeFromCamera(QByteArrayView bytes) {
    Output output;
    const bool wasLost = m_fromCamera.isLost();
    m_fromCamera.append(bytes);
    while (!output.mustClose && !output.reconnectToPort) {
        auto item = m_fromCamera.next();
        if (!item)
            break;
        takeCameraItem(std::move(*item), output);
    }
    if (m_fromCamera.failed())
        close(Kind::TooLarge, output);
    if (m_fromCamera.isLost() && !wasLost)
        output.facts.push_back({Kind::NotRtsp});
    return output;
}

LinkDialogue::Output LinkDialogue::cameraConnected(const QHostAddress &address) {
    Output output;
    m_cameraAddress = address;
    if (m_redirectedRequest)
        send(*std::exchange(m_redirectedRequest, std::nullopt), output);
    return output;
}

QByteArray LinkDialogue::takeTeardown() {
    if (m_session.isEmpty() || m_hasSentTeardown)
        return {};
    Request request;
    request.isOwn = true;
    request.message.startLine = "TEARDOWN " + m_sessionUri + " RTSP/1.0";
    request.message.headers = {{"CSeq", "0"}, {"Session", m_session}};
    Output output;
    send(request, output);
    return output.toCamera;
}

bool LinkDialogue::awaitsEnd() const {
    return std::any_of(m_requests.begin(), m_requests.end(), [](const Request &request) {
        return request.hadLogin || request.message.method() == "TEARDOWN";
    });
}

void LinkDialogue::takeEngineItem(RtspParser::Item &&item, Output &output) {
    if (auto *message = std::get_if<RtspMessage>(&item)) {
        if (message->isResponse())
            output.toCamera += message->encoded(); // to a request of the camera's
        else
            send({std::move(*message)}, output);
    } else if (const auto *packet = std::get_if<InterleavedPacket>(&item)) {
        output.toCamera += packet->encoded();
    } else if (const auto *unknown = std::get_if<UnknownBytes>(&item)) {
        output.toCamera += unknown->bytes;
    }
}

void LinkDialogue::takeCameraItem(RtspParser::Item &&item, Output &output) {
    if (auto *message = std::get_if<RtspMessage>(&item)) {
        message->startLine = withoutControlCharacters(message->startLine);
        if (message->isResponse()) {
            takeResponse(std::move(*message), output);
        } else {
            message->setUri(m_addresses.toEngine(message->uri()));
            output.toEngine.push_back({message->encoded()});
        }
    } else if (auto *packet = std::get_if<InterleavedPacket>(&item)) {
        takePacket(std::move(*packet), output);
    } else if (const auto *unknown = std::get_if<UnknownBytes>(&item)) {
        // Before the stream begins, there is nothing but responses. What the engine might find in
        // these bytes, such as a redirect to another host, cannot be checked.
        if (!m_hasBegunToPlay)
            output.mustClose = true;
        else
            output.toEngine.push_back({unknown->bytes});
    }
}

/// Sends a request with the camera's address, a sequence number of the link's, and the login.
void LinkDialogue::send(Request request, Output &output) {
    request.sentAs = ++m_lastSequenceNumber;
    ++request.attempts;
    RtspMessage sent = request.message;
    sent.setUri(m_addresses.toCamera(sent.uri()));
    sent.set("CSeq", QByteArray::number(request.sentAs));
    sent.remove("Authorization");
    const QByteArray login = m_authentication
                                 ? m_authentication->authorization(sent.method(), sent.uri())
                                 : QByteArray();
    request.hadLogin = !login.isEmpty();
    if (request.hadLogin) {
        sent.set("Authorization", login);
        request.nonce = m_authentication->nonce();
    }
    if (sent.method() == "TEARDOWN")
        m_hasSentTeardown = true;
    if (sent.method() == "PLAY")
        m_sessionUri = sent.uri();
    output.toCamera += sent.encoded();
    m_requests.push_back(std::move(request));
    if (m_requests.size() > mostRequests)
        m_requests.pop_front();
}

void LinkDialogue::takeResponse(RtspMessage &&response, Output &output) {
    const int status = response.status();
    if (status >= 100 && status <= 199)
        return; // announces the real response, which the engine would then mistake for another's
    std::optional<Request> request = takeRequestFor(response);
    // The engine would take a response that nobody has asked for as that to its next request, and
    // follow a redirect in it to any host.
    if (!request)
        return;
    output.facts.push_back({.kind = Kind::Answered,
                            .method = request->message.method(),
                            .status = status,
                            .hadLogin = request->hadLogin});
    if (status == 401 && answersChallenge(*request, response)) {
        send(*request, output);
        return;
    }
    if (isRedirect(status) && followsRedirect(*request, response, output))
        return;
    passResponse(*request, response, output);
}

/// Returns the request that `response` belongs to. Some cameras return a wrong sequence number or
/// none, and the engine does not mind; their responses belong to the oldest request.
std::optional<LinkDialogue::Request> LinkDialogue::takeRequestFor(const RtspMessage &response) {
    if (m_requests.empty())
        return std::nullopt;
    const int number = response.value("CSeq").toInt();
    auto found = std::find_if(m_requests.begin(), m_requests.end(),
                              [number](const Request &each) { return each.sentAs == number; });
    if (found == m_requests.end())
        found = m_requests.begin();
    Request request = std::move(*found);
    m_requests.erase(found);
    return request;
}

/// Takes the challenge of a refused request. Returns whether the request is worth repeating. A
/// wrong password must not be sent twice, because cameras lock accounts after a few attempts.
bool LinkDialogue::answersChallenge(const Request &request, const RtspMessage &response) {
    if (!m_authentication || request.attempts >= mostAttempts ||
        !m_authentication->take(response.values("WWW-Authenticate")))
        return false;
    if (!m_realmBeforeRedirect.isEmpty() && m_authentication->realm() != m_realmBeforeRedirect) {
        m_authentication->forgetChallenge();
        return false;
    }
    if (!request.hadLogin || m_authentication->isStale())
        return true;
    // The nonce of an earlier request may have expired without the camera saying so.
    return request.attempts == 1 && m_authentication->nonce() != request.nonce;
}

/// Whether `host` is the camera, by its name in the camera list or by its numerical address.
bool LinkDialogue::isCamera(const QString &host) const {
    return host.compare(m_endpoint.host, Qt::CaseInsensitive) == 0 ||
           (!m_cameraAddress.isNull() && QHostAddress(host) == m_cameraAddress);
}

/// Prepares a connection to the address that `response` names. Returns false if this address is not
/// to be followed.
bool LinkDialogue::followsRedirect(const Request &request, const RtspMessage &response,
                                   Output &output) {
    const auto target = cameraEndpoint(QString::fromUtf8(response.value("Location")));
    const bool isBeforeSession = m_session.isEmpty();
    if (!target || !isBeforeSession || m_redirects >= mostRedirects || !isCamera(target->host))
        return false;
    ++m_redirects;
    m_endpoint.port = target->port;
    m_endpoint.uri = target->uri;
    m_addresses.replaceBase(target->uri);
    if (m_authentication && !m_authentication->realm().isEmpty()) {
        m_realmBeforeRedirect = m_authentication->realm();
        m_authentication->forgetChallenge();
    }
    m_fromCamera = RtspParser();
    m_requests.clear();
    m_redirectedRequest = request;
    m_redirectedRequest->attempts = 0;
    output.facts.push_back({Kind::Redirected});
    output.reconnectToPort = target->port;
    return true;
}

void LinkDialogue::passResponse(const Request &request, RtspMessage &response, Output &output) {
    const int status = response.status();
    const QByteArray method = request.message.method();
    if (status == 401)
        output.facts.push_back({.kind = Kind::LoginRefused, .hadLogin = request.hadLogin});
    if (isRedirect(status)) {
        // The engine would follow the redirect to any host.
        output.facts.push_back({Kind::RedirectRefused});
        response.startLine = "RTSP/1.0 403 Redirect refused";
        response.remove("Location");
    }
    // The engine repeats every request whose refusal carries a challenge.
    response.remove("WWW-Authenticate");
    if (response.has("CSeq"))
        response.set("CSeq", request.message.value("CSeq"));
    translateHeaders(response);
    if (status == 200 && method == "DESCRIBE" && !takeDescription(response, output))
        return;
    if (status == 200 && method == "SETUP")
        takeSetup(request, response);
    if (status == 200 && method == "PLAY")
        m_hasBegunToPlay = true;
    if (!request.isOwn)
        output.toEngine.push_back({response.encoded()});
}

void LinkDialogue::translateHeaders(RtspMessage &response) {
    for (const char *name : {"Content-Base", "Content-Location", "Location"}) {
        if (response.has(name))
            response.set(name, m_addresses.toEngine(response.value(name)));
    }
    if (response.has("Transport"))
        response.set("Transport", withoutHosts(response.value("Transport")));
    if (!response.has("RTP-Info"))
        return;
    QByteArrayList tracks = response.value("RTP-Info").split(',');
    for (QByteArray &track : tracks) {
        QByteArrayList fields = track.trimmed().split(';');
        for (QByteArray &field : fields) {
            if (field.startsWith("url="))
                field = "url=" + m_addresses.toEngine(field.sliced(4));
        }
        track = fields.join(';');
    }
    response.set("RTP-Info", tracks.join(','));
}

/// Reads and translates the description of the stream. Returns false if the engine must not see it.
bool LinkDialogue::takeDescription(RtspMessage &response, Output &output) {
    m_description = parseSessionDescription(response.body);
    if (!m_description) {
        close(Kind::TooLarge, output);
        return false;
    }
    const auto &media = m_description->media;
    const bool hasVideo = std::any_of(media.begin(), media.end(), [](const MediaDescription &each) {
        return each.kind == "video";
    });
    output.facts.push_back({hasVideo ? Kind::Described : Kind::DescribedNoVideo});
    if (!response.body.isEmpty())
        response.setBody(withoutCameraAddresses(response.body, [this](const QByteArray &address) {
            return m_addresses.toEngine(address);
        }));
    return true;
}

/// Notes the session, and on which channels a track will arrive.
void LinkDialogue::takeSetup(const Request &request, const RtspMessage &response) {
    if (response.has("Session"))
        m_session = withoutParameters(response.value("Session"));
    if (m_sessionUri.isEmpty())
        m_sessionUri = m_endpoint.uri;
    m_channels.setUp(response.value("Transport"), request.message.value("Transport"),
                     mediumOf(m_addresses.toCamera(request.message.uri())));
}

/// Returns the medium that a request for `uri` sets up, or null if that is not certain.
const MediaDescription *LinkDialogue::mediumOf(const QByteArray &uri) const {
    if (!m_description)
        return nullptr;
    const auto &media = m_description->media;
    const MediaDescription *longest = nullptr;
    for (const MediaDescription &medium : media) {
        if (!medium.control.isEmpty() && uri.endsWith(medium.control) &&
            (longest == nullptr || medium.control.size() > longest->control.size()))
            longest = &medium;
    }
    return longest == nullptr && media.size() == 1 ? &media.front() : longest;
}

void LinkDialogue::takePacket(InterleavedPacket &&packet, Output &output) {
    if (!std::exchange(m_hasReceivedPacket, true))
        output.facts.push_back({Kind::FirstPacket});
    auto data = m_channels.take(std::move(packet));
    if (!data) {
        close(Kind::TooLarge, output);
        return;
    }
    if (m_channels.takeWrongMarkers())
        output.facts.push_back({Kind::MarkersWrong});
    output.toEngine.push_back(std::move(*data));
}

void LinkDialogue::close(Kind reason, Output &output) {
    output.facts.push_back({reason});
    output.mustClose = true;
}

} // namespace lumvik
