#include "app/controller/LoginSupervisor.h"

#include "platform/LumvikLog.h"

#include <QTimeZone>
#include <QUuid>

#include <algorithm>
#include <utility>

namespace lumvik {

namespace {

/// The facts of a link that was replaced arrive a moment later at most.
constexpr std::size_t mostAttempts = 8;
/// The wall clock and the queue's clock may differ a little when a wait ends.
constexpr double clockSlack = 0.1;

bool isSuccess(int status) {
    return status >= 200 && status <= 299;
}

/// Whether only a user who has logged in gets a good answer. Cameras answer OPTIONS to anybody.
bool provesLogin(const QByteArray &method) {
    return method == "DESCRIBE" || method == "SETUP" || method == "PLAY";
}

bool isProven(const LoginHistory &history, const QByteArray &password) {
    return history.isProven && history.password == password;
}

QString hostOf(const LoginHistories::Login &login) {
    return QStringLiteral("%1:%2").arg(login.host.toLower()).arg(login.port);
}

} // namespace

LoginSupervisor::LoginSupervisor(UserDefaults &userDefaults, std::function<QDateTime()> currentDate,
                                 bool hasLinks)
    : m_histories(userDefaults)
    , m_currentDate(std::move(currentDate))
    , m_hasLinks(hasLinks)
    , m_viewer(QUuid::createUuid().toString(QUuid::Id128).first(16)) {}

// ---- Before a login ----

std::optional<double> LoginSupervisor::waitBeforeLogin(const QString &url) {
    m_waitsUntil.reset();
    const auto login = m_hasLinks ? loginIn(url) : std::nullopt;
    if (!login || m_allowed == login)
        return std::nullopt;
    const LoginTime time = now();
    const LoginHistory history = m_histories.historyWithPassword(*login, time);
    const auto earliest = earliestLogin(history, time, m_viewer);
    if (!earliest)
        return std::nullopt;
    // A time that was in the future must be stored, or each call would move the wait.
    m_histories.store(history, time);
    m_waitsUntil = QDateTime::fromMSecsSinceEpoch(earliest->count(), QTimeZone::utc());
    const double wait = std::chrono::duration<double>(*earliest - time).count() + clockSlack;
    if (std::exchange(m_loggedWait, m_waitsUntil) != m_waitsUntil) {
        LumvikLog::playback().log(
            QStringLiteral("The next login is in %1 seconds, so that the camera does not lock the "
                           "account.")
                .arg(wait, 0, 'f', 0));
    }
    return wait;
}

void LoginSupervisor::allowOneLogin(const QString &url) {
    m_allowed = loginIn(url);
}

int LoginSupervisor::refusalsInARow(const QString &url) const {
    const auto login = loginIn(url);
    return login ? static_cast<int>(m_histories.history(*login, now()).refusals.size()) : 0;
}

bool LoginSupervisor::mayLock(const QString &url) const {
    // Cameras lock an account after five to seven wrong passwords.
    constexpr int refusalsBeforeWarning = 3;
    return refusalsInARow(url) >= refusalsBeforeWarning;
}

bool LoginSupervisor::isRefused(const QString &url) const {
    const auto login = loginIn(url);
    if (!login)
        return false;
    const LoginHistory history = m_histories.historyWithPassword(*login, now());
    return std::any_of(history.refusals.begin(), history.refusals.end(),
                       [&history](const LoginHistory::Refusal &refusal) {
                           return refusal.isAnswered && refusal.password == history.password;
                       });
}

// ---- A login ----

void LoginSupervisor::linkWasOpened(std::int64_t link, const QString &url) {
    linkWasClosed();
    m_waitsUntil.reset();
    m_loggedWait.reset();
    const auto login = m_hasLinks ? loginIn(url) : std::nullopt;
    if (!login)
        return;
    if (m_allowed == login)
        m_allowed.reset();
    const LoginTime time = now();
    LoginHistory history = m_histories.historyWithPassword(*login, time);
    if (!history.isProven) {
        history.pending = LoginHistory::Pending{time, m_viewer};
        m_histories.store(history, time);
    }
    m_attempts.push_back({.link = link, .login = *login, .password = history.password});
    if (m_attempts.size() > mostAttempts)
        m_attempts.pop_front();
}

void LoginSupervisor::linkWasClosed() {
    if (m_attempts.empty() || std::exchange(m_attempts.back().isOver, true))
        return;
    const LoginTime time = now();
    LoginHistory history = historyOf(m_attempts.back(), time);
    if (!history.pending || history.pending->viewer != m_viewer)
        return;
    history.pending.reset();
    m_histories.store(history, time);
}

void LoginSupervisor::linkHasReported(std::int64_t link, const LinkFact &fact) {
    const auto found =
        std::find_if(m_attempts.begin(), m_attempts.end(),
                     [link](const Attempt &attempt) { return attempt.link == link; });
    if (found == m_attempts.end())
        return;
    Attempt &attempt = *found;
    switch (fact.kind) {
    case LinkFact::Kind::ConnectingFailed:
        m_returns[hostOf(attempt.login)].reset();
        break;
    case LinkFact::Kind::Connected:
        connectedTo(attempt.login);
        break;
    case LinkFact::Kind::Answered:
        if (fact.hadLogin && isSuccess(fact.status) && provesLogin(fact.method))
            loginHasWorked(attempt);
        else if (fact.hadLogin && fact.status != 401)
            cameraHasAccepted(attempt);
        else if (!fact.hadLogin && fact.status == 401)
            cameraHasAsked(attempt);
        break;
    case LinkFact::Kind::LoginRefused:
        if (fact.hadLogin)
            cameraHasRefused(attempt);
        else
            cameraHasAccepted(attempt); // the link could not log in, so nothing was refused
        break;
    case LinkFact::Kind::EndedByCamera:
        // A camera that ends a stream may be restarting. It also ends connections that it refuses.
        if (attempt.progress == Progress::proven)
            m_returns[hostOf(attempt.login)].reset();
        break;
    case LinkFact::Kind::Connecting:
    case LinkFact::Kind::Redirected:
    case LinkFact::Kind::RedirectRefused:
    case LinkFact::Kind::Described:
    case LinkFact::Kind::DescribedNoVideo:
    case LinkFact::Kind::FirstPacket:
    case LinkFact::Kind::Measured:
    case LinkFact::Kind::PictureIsLate:
    case LinkFact::Kind::PictureIsInTime:
    case LinkFact::Kind::PicturesOmitted:
    case LinkFact::Kind::MarkersWrong:
    case LinkFact::Kind::NotRtsp:
    case LinkFact::Kind::TooLarge:
    case LinkFact::Kind::EndedByEngine:
    case LinkFact::Kind::IntruderRefused:
        break;
    }
}

void LoginSupervisor::cameraIsAway(const QString &url) {
    if (const auto login = loginIn(url))
        m_returns[hostOf(*login)].reset();
}

void LoginSupervisor::loginIsSent(const QString &url) {
    const auto login = loginIn(url);
    m_loginWithoutLink.reset();
    if (!login)
        return;
    const LoginHistory history = m_histories.historyWithPassword(*login, now());
    m_loginWithoutLink = Attempt{.login = *login, .password = history.password};
    cameraHasAsked(*m_loginWithoutLink);
}

void LoginSupervisor::loginWasAnswered(bool isAccepted) {
    auto attempt = std::exchange(m_loginWithoutLink, std::nullopt);
    if (!attempt)
        return;
    if (!isAccepted)
        return cameraHasRefused(*attempt);
    cameraHasAccepted(*attempt);
    // The camera has forgotten the refusals. Those of another password are kept, because this
    // program would send that one again.
    const LoginTime time = now();
    m_histories.store(withoutRefusals(historyOf(*attempt, time), attempt->password), time);
}

/// The link answers at once with the login.
void LoginSupervisor::cameraHasAsked(Attempt &attempt) {
    if (attempt.progress != Progress::unknown)
        return; // another request on the same connection
    attempt.progress = Progress::asked;
    const LoginTime time = now();
    LoginHistory history = historyOf(attempt, time);
    if (isProven(history, attempt.password))
        return;
    attempt.isRecorded = true;
    m_histories.store(
        withRefusal(std::move(history),
                    {.time = time, .isAnswered = false, .password = attempt.password}),
        time);
}

void LoginSupervisor::cameraHasRefused(Attempt &attempt) {
    attempt.progress = Progress::refused;
    const LoginTime time = now();
    LoginHistory history = historyOf(attempt, time);
    const bool counts = !isProven(history, attempt.password) || !isStartingUp(attempt.login, time);
    if (std::exchange(attempt.isRecorded, false))
        history = withAnswer(std::move(history), attempt.password);
    else
        history = withRefusal(std::move(history),
                              {.time = time, .counts = counts, .password = attempt.password});
    history.pending.reset();
    m_histories.store(history, time);
}

void LoginSupervisor::cameraHasAccepted(Attempt &attempt) {
    if (attempt.progress == Progress::accepted || attempt.progress == Progress::proven)
        return;
    attempt.progress = Progress::accepted;
    const LoginTime time = now();
    LoginHistory history = historyOf(attempt, time);
    if (std::exchange(attempt.isRecorded, false))
        history = withoutUnanswered(std::move(history), attempt.password);
    history.pending.reset();
    m_histories.store(history, time);
}

void LoginSupervisor::loginHasWorked(Attempt &attempt) {
    if (attempt.progress == Progress::proven)
        return;
    cameraHasAccepted(attempt);
    attempt.progress = Progress::proven;
    const LoginTime time = now();
    LoginHistory history = historyOf(attempt, time);
    if (history.password == attempt.password)
        m_histories.store(withProof(std::move(history)), time);
}

LoginHistory LoginSupervisor::historyOf(const Attempt &attempt, LoginTime time) const {
    LoginHistory history = m_histories.history(attempt.login, time);
    if (history.password.isEmpty())
        history.password = attempt.password; // there was no reason to store the history
    return history;
}

void LoginSupervisor::connectedTo(const LoginHistories::Login &login) {
    const auto away = m_returns.find(hostOf(login));
    if (away != m_returns.end() && !away.value())
        away.value() = now();
}

bool LoginSupervisor::isStartingUp(const LoginHistories::Login &login, LoginTime time) const {
    const auto back = m_returns.value(hostOf(login));
    return back && time - *back < loginPolicy.startUp;
}

std::optional<LoginHistories::Login> LoginSupervisor::loginIn(const QString &url) {
    const auto endpoint = cameraEndpoint(url);
    if (!endpoint || !endpoint->credentials)
        return std::nullopt;
    return LoginHistories::Login{.host = endpoint->host,
                                 .port = endpoint->port,
                                 .user = endpoint->credentials->user,
                                 .password = endpoint->credentials->password};
}

LoginTime LoginSupervisor::now() const {
    return LoginTime(m_currentDate().toMSecsSinceEpoch());
}

} // namespace lumvik
