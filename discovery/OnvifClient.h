#pragma once

#include "discovery/OnvifMessage.h"
#include "engine/link/RtspAuthentication.h"
#include "platform/MainQueue.h"

#include <QObject>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>
#include <tl/expected.hpp>
#include <vector>

class QNetworkAccessManager;
class QNetworkReply;
class QNetworkRequest;

namespace lumvik {

/// Why a camera's streams are not known.
enum class OnvifCause {
    noAnswer,      ///< No connection, or no reply of HTTP in time.
    loginNeeded,   ///< The camera wants a login, and none was given.
    wrongPassword, ///< The camera has refused the user name or the password.
    notOnvif,      ///< The device replies, but not as ONVIF demands.
    redirected,    ///< The device sends its clients elsewhere, for example to https.
    noStreams,     ///< The camera has no media service, or no stream with an address.
};

/// The streams of a camera.
struct OnvifStreams {
    std::vector<OnvifProfile> profiles; ///< At least one. All have an address.
    /// Whether the camera has accepted the login. Some cameras describe their streams to everybody;
    /// whether the password is right is then unknown.
    bool isLoginAccepted = false;

    friend bool operator==(const OnvifStreams &, const OnvifStreams &) = default;
};

/// What has become of a login. Cameras lock an account after a few refused ones.
enum class OnvifLoginEvent {
    sent,     ///< The camera gets a login that it has not accepted before. A new nonce for the same
              ///< login is not reported.
    refused,  ///< It has refused that login. Another one may follow.
    accepted, ///< It has accepted that login.
};

using OnvifOutcome = tl::expected<OnvifStreams, OnvifCause>;

/// Asks a camera for its streams by ONVIF.
///
/// The camera is asked for its clock first, without a login, and then for its services, profiles
/// and addresses. Each request is sent without a login until the camera demands one. The camera's
/// reply shows which kind it understands, so that no wrong kind counts as a wrong password:
///
/// - Digest authentication of HTTP, if the camera has sent such a challenge;
/// - otherwise a UsernameToken with the camera's time. If that is refused, the login is repeated
///   once with the local time that the camera reports, because some cameras compare with that.
///
/// Apart from this one repetition, a refused login is never sent again: cameras lock an account
/// after a few. The password is never sent in clear. Redirections are not followed. A host in the
/// camera's replies is replaced by the one that is asked.
///
/// Owned by whoever shows the streams, who may destroy the client in a slot. Main thread only.
/// Nothing blocks.
class OnvifClient final : public QObject {
    Q_OBJECT

  public:
    /// The time limit of a request, in seconds. Small cameras need up to three to list their
    /// profiles.
    static constexpr double requestTimeLimit = 5;

    using WallClock = std::function<QDateTime()>;

    /// `queue` must outlive the client. `now` returns the current time, which is used if the camera
    /// does not tell its own.
    explicit OnvifClient(MainQueue &queue, WallClock now = QDateTime::currentDateTimeUtc,
                         QObject *parent = nullptr);
    ~OnvifClient() override;

    /// Asks the camera whose device service is `service`, an http or https address with an IP
    /// address as its host. A question that is still being asked is cancelled.
    void ask(const QUrl &service, const OnvifLogin &login);
    /// Ends the question without `finished`. Does nothing when there is none.
    void cancel();

    [[nodiscard]] bool isAsking() const { return m_isAsking; }

  Q_SIGNALS:
    /// The question has been answered, or cannot be. Never emitted before `ask` has returned.
    void finished(const lumvik::OnvifOutcome &outcome);
    /// A slot must neither destroy the client nor call its functions.
    void loginProgressed(lumvik::OnvifLoginEvent event);

  private:
    /// How requests log in.
    enum class Login { none, usernameToken, httpDigest };
    struct Request {
        OnvifCall call = OnvifCall::getSystemDateAndTime;
        QUrl url;
        QString profile;
        bool isRepeated = false; ///< Whether a new nonce was taken for this request already.
    };

    void send(OnvifCall call, const QUrl &url, const QString &profile = {});
    void sendAgain();
    [[nodiscard]] QNetworkReply *post(QNetworkRequest request, const QByteArray &body);
    void readBody();
    void handleFinished();
    void handleUnanswered();
    void handleReply(const OnvifReply &reply, const QByteArray &dateHeader);
    void handleRefusal(const QByteArray &challenges);
    void finishWithWrongPassword();
    [[nodiscard]] bool takeDigestChallenge(const QByteArray &challenges);
    void handleClock(const OnvifReply &reply, const QByteArray &dateHeader);
    void handleServices(const OnvifReply &reply);
    void handleProfiles(const OnvifReply &reply);
    void handleStreamAddress(const OnvifReply &reply);
    void askForNextAddress();
    void dropReply();
    void finishWithStreams();
    void finish(const OnvifOutcome &outcome);

    [[nodiscard]] std::optional<UsernameToken> token() const;

    MainQueue &m_queue;
    const WallClock m_now;
    const std::unique_ptr<QNetworkAccessManager> m_manager;

    bool m_isAsking = false;
    QUrl m_service;
    QHostAddress m_host;
    OnvifLogin m_login;
    Login m_kind = Login::none;
    bool m_isLoginAccepted = false;
    std::optional<RtspAuthentication> m_digest;

    QDateTime m_cameraTime;               ///< The camera's clock at `m_cameraTimeRead`.
    std::optional<QDateTime> m_otherTime; ///< What to try if `m_cameraTime` is refused.
    TimeStamp m_cameraTimeRead = 0;

    Request m_request;
    QNetworkReply *m_reply = nullptr; ///< Null while no request is pending.
    QByteArray m_body;
    std::shared_ptr<WorkItem> m_timer; ///< Ends the request, or reports the outcome.
    std::vector<OnvifProfile> m_profiles;
    std::size_t m_nextProfile = 0;
};

} // namespace lumvik
