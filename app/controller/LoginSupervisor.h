#pragma once

#include "engine/link/CameraEndpoint.h"
#include "engine/link/LinkFact.h"
#include "platform/UserDefaults.h"
#include "supervision/LoginHistories.h"

#include <QDateTime>
#include <QMap>
#include <QString>

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>

namespace lumvik {

/// Keeps the program from locking the user out of a camera: decides when the program may send a
/// password again that the camera has refused (see LoginPolicy), and remembers the refusals across
/// restarts.
///
/// The controller asks before each load, tells the supervisor about each login and passes on the
/// facts of its link. A login counts as refused from the moment in which the camera asks for it
/// until the camera has accepted it, because the connection may be closed in between. Cameras
/// without user name and password in their address never wait. Without links there are no facts,
/// and nothing waits.
///
/// The controller owns the supervisor. Main thread only.
class LoginSupervisor {
  public:
    /// `currentDate` returns the wall-clock time in UTC. `hasLinks` is whether the engine connects
    /// to cameras through links.
    LoginSupervisor(UserDefaults &userDefaults, std::function<QDateTime()> currentDate,
                    bool hasLinks);
    LoginSupervisor(const LoginSupervisor &) = delete;
    LoginSupervisor &operator=(const LoginSupervisor &) = delete;
    ~LoginSupervisor() = default;

    /// Returns how many seconds must pass before the program may log in to the camera with the
    /// address `url`, or nothing if it may do so now. Logs a wait once.
    [[nodiscard]] std::optional<double> waitBeforeLogin(const QString &url);
    /// Until when the program waits, according to the last answer of `waitBeforeLogin`.
    [[nodiscard]] std::optional<QDateTime> waitsUntil() const { return m_waitsUntil; }
    /// Permits the next login to the camera with the address `url`, at the user's request.
    void allowOneLogin(const QString &url);
    /// How many logins of the user name in `url`, with any password, were refused or unanswered
    /// since one last worked.
    [[nodiscard]] int refusalsInARow(const QString &url) const;
    /// Whether so many logins of the user name in `url` have failed that the user is to be asked
    /// before another one, because the camera may lock the account.
    [[nodiscard]] bool mayLock(const QString &url) const;
    /// Whether the camera has answered that it refuses the password in `url`.
    [[nodiscard]] bool isRefused(const QString &url) const;

    /// A link was opened to the camera with the address `url`. `link` identifies the link. The
    /// previous link is no longer needed.
    void linkWasOpened(std::int64_t link, const QString &url);
    /// The newest link was closed. Facts that arrive later still count.
    void linkWasClosed();
    /// Must be called for every fact, even if its link has been replaced.
    void linkHasReported(std::int64_t link, const LinkFact &fact);
    /// The camera with the address `url` could not be reached.
    void cameraIsAway(const QString &url);

    // A login without a link, which the user has asked for, for example by ONVIF. Its refusal
    // counts like that of a link. One such login at a time.

    /// The login in `url` is sent to the camera. One that was sent before and not answered counts
    /// as unanswered.
    void loginIsSent(const QString &url);
    /// The camera has refused or accepted the login that was sent last.
    void loginWasAnswered(bool isAccepted);

  private:
    /// How far a login has come.
    enum class Progress {
        unknown,  ///< The camera has not asked for a login.
        asked,    ///< It has asked, and the link has answered.
        refused,  ///< It has refused the login.
        accepted, ///< It has answered a request with the login.
        proven,   ///< It has answered a request that needs the login.
    };
    struct Attempt {
        std::int64_t link = 0;
        LoginHistories::Login login;
        QByteArray password; // the hash
        Progress progress = Progress::unknown;
        bool isRecorded = false; // whether the history contains it as an unanswered login
        bool isOver = false;
    };

    [[nodiscard]] static std::optional<LoginHistories::Login> loginIn(const QString &url);
    [[nodiscard]] LoginTime now() const;
    [[nodiscard]] bool isStartingUp(const LoginHistories::Login &login, LoginTime time) const;
    void cameraHasAsked(Attempt &attempt);
    void cameraHasRefused(Attempt &attempt);
    void cameraHasAccepted(Attempt &attempt);
    void loginHasWorked(Attempt &attempt);
    void connectedTo(const LoginHistories::Login &login);
    /// Returns the history for an attempt that has begun. Its password may have been edited since.
    [[nodiscard]] LoginHistory historyOf(const Attempt &attempt, LoginTime time) const;

    LoginHistories m_histories;
    const std::function<QDateTime()> m_currentDate;
    const bool m_hasLinks;
    const QString m_viewer; // identifies this process
    std::deque<Attempt> m_attempts;
    std::optional<Attempt> m_loginWithoutLink; ///< Until it is answered.
    std::optional<LoginHistories::Login> m_allowed;
    std::optional<QDateTime> m_waitsUntil;
    std::optional<QDateTime> m_loggedWait;
    /// When each host, by "host:port", could be reached again, or nothing while it cannot.
    QMap<QString, std::optional<LoginTime>> m_returns;
};

} // namespace lumvik
