#pragma once

#include "engine/link/AddressMap.h"
#include "engine/link/CameraEndpoint.h"
#include "engine/link/LinkFact.h"
#include "engine/link/RtspAuthentication.h"
#include "engine/link/RtspParser.h"
#include "engine/link/SessionDescription.h"
#include "engine/link/StreamBacklog.h"
#include "engine/link/StreamChannels.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QHostAddress>

#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace lumvik {

/// The conversation between the engine and a camera, as the link between them conducts it.
///
/// The dialogue passes on what both sides say, with these changes: the engine sees addresses of
/// this machine instead of the camera's (AddressMap); challenges are answered here
/// (RtspAuthentication), so that the engine knows no password; redirects are followed here, and
/// only within the camera's host; and pictures get a delimiter (StreamChannels). Bytes from
/// the camera that are not RTSP end the connection. Once the stream has begun, they and all that
/// follows are passed on unchanged instead, because the engine can find the next picture.
///
/// A plain state machine: bytes in, bytes and facts out. It has no clock and does no I/O.
class LinkDialogue {
  public:
    static constexpr int mostRedirects = 3;

    /// What is to be done, in the order of the members.
    struct Output {
        QByteArray toCamera = {};
        std::vector<EngineData> toEngine = {};
        std::vector<LinkFact> facts = {};
        /// Set when the connection to the camera is to be replaced by a new one to this port.
        /// `cameraConnected` must then be called again.
        std::optional<std::uint16_t> reconnectToPort = std::nullopt;
        /// Whether both connections are to be closed, because the camera's data must not be passed
        /// on.
        bool mustClose = false;

        /// All bytes for the engine.
        [[nodiscard]] QByteArray bytesToEngine() const;
    };

    /// `engineBase` is the beginning of all addresses that the engine sees, without "/" at the end.
    LinkDialogue(CameraEndpoint endpoint, const QByteArray &engineBase,
                 RtspAuthentication::NonceMaker makeNonce = RtspAuthentication::randomNonce);

    /// The address for the engine.
    [[nodiscard]] QByteArray engineAddress() const { return m_addresses.engineAddress(); }

    [[nodiscard]] Output takeFromEngine(QByteArrayView bytes);
    [[nodiscard]] Output takeFromCamera(QByteArrayView bytes);
    /// The link is connected to the camera at this numerical address. Repeats the request that was
    /// redirected, if any.
    [[nodiscard]] Output cameraConnected(const QHostAddress &address);

    /// Returns the request that ends the session, or nothing if there is no session or if the
    /// engine has ended it.
    [[nodiscard]] QByteArray takeTeardown();
    /// Whether the camera has not answered yet what matters even after the end: the end itself, or
    /// a login, which would otherwise count as refused.
    [[nodiscard]] bool awaitsEnd() const;

  private:
    /// A request that the camera has not answered.
    struct Request {
        RtspMessage message;   ///< With the engine's address and sequence number.
        int sentAs = 0;        ///< The sequence number on the camera's side.
        int attempts = 0;      ///< How often it has been sent.
        bool hadLogin = false; ///< Whether it was last sent with an Authorization header.
        QByteArray nonce = {}; ///< The nonce in that header.
        bool isOwn = false;    ///< Whether the engine did not ask, so that it gets no response.
    };

    void takeEngineItem(RtspParser::Item &&item, Output &output);
    void takeCameraItem(RtspParser::Item &&item, Output &output);
    void send(Request request, Output &output);
    void takeResponse(RtspMessage &&response, Output &output);
    [[nodiscard]] std::optional<Request> takeRequestFor(const RtspMessage &response);
    [[nodiscard]] bool answersChallenge(const Request &request, const RtspMessage &response);
    [[nodiscard]] bool isCamera(const QString &host) const;
    [[nodiscard]] bool followsRedirect(const Request &request, const RtspMessage &response,
                                       Output &output);
    void passResponse(const Request &request, RtspMessage &response, Output &output);
    void translateHeaders(RtspMessage &response);
    [[nodiscard]] bool takeDescription(RtspMessage &response, Output &output);
    void takeSetup(const Request &request, const RtspMessage &response);
    [[nodiscard]] const MediaDescription *mediumOf(const QByteArray &uri) const;
    void takePacket(InterleavedPacket &&packet, Output &output);
    static void close(LinkFact::Kind reason, Output &output);

    CameraEndpoint m_endpoint;
    QHostAddress m_cameraAddress; ///< Null until the camera is connected.
    AddressMap m_addresses;
    std::optional<RtspAuthentication> m_authentication;
    QByteArray m_realmBeforeRedirect; ///< The only realm that gets credentials after a redirect.
    RtspParser m_fromEngine;
    RtspParser m_fromCamera;
    int m_lastSequenceNumber = 0;
    int m_redirects = 0;
    std::deque<Request> m_requests; ///< In the order of sending.
    std::optional<Request> m_redirectedRequest;
    QByteArray m_session;    ///< The session's identifier; empty without a session.
    QByteArray m_sessionUri; ///< The camera's address of the whole session.
    std::optional<SessionDescription> m_description;
    StreamChannels m_channels;
    bool m_hasSentTeardown = false;
    bool m_hasReceivedPacket = false;
    bool m_hasBegunToPlay = false; ///< The camera has confirmed PLAY.
};

} // namespace lumvik
