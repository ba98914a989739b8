#include "editor/CameraFinderController.h"

#include "discovery/PastedAddress.h"

#include <utility>

namespace lumvik {

namespace {

QString textOf(OnvifCause cause) {
    switch (cause) {
    case OnvifCause::noAnswer:
        return QStringLiteral("The camera does not answer.");
    case OnvifCause::loginNeeded:
        return QStringLiteral("The camera wants a user name and a password.");
    case OnvifCause::wrongPassword:
        return QStringLiteral("The camera refuses the user name or the password. Some cameras have "
                              "separate users for ONVIF.");
    case OnvifCause::notOnvif:
        return QStringLiteral("The camera does not reply as ONVIF demands. ONVIF may be switched "
                              "off in it.");
    case OnvifCause::redirected:
        return QStringLiteral("The camera refers to another address. Permit ONVIF without "
                              "redirection in the camera.");
    case OnvifCause::noStreams:
        return QStringLiteral("The camera offers no stream that Lumvik can show.");
    }
    return {};
}

} // namespace

CameraFinderController::CameraFinderController(MainQueue &queue, const MakeSearch &makeSearch,
                                               Logins logins)
    : m_search(makeSearch())
    , m_client(queue)
    , m_logins(std::move(logins)) {
    connect(m_search.get(), &CameraSearch::found, this, &CameraFinderController::put);
    connect(m_search.get(), &CameraSearch::foundAtBetterAddress, this,
            &CameraFinderController::put);
    connect(m_search.get(), &CameraSearch::ended, this, &CameraFinderController::endSearch);
    connect(&m_client, &OnvifClient::finished, this, &CameraFinderController::takeOutcome);
    connect(&m_client, &OnvifClient::loginProgressed, this,
            &CameraFinderController::takeLoginEvent);
}

CameraFinderController::~CameraFinderController() = default;

void CameraFinderController::setListedAddresses(const QStringList &addresses) {
    m_listedAddresses = addresses;
    m_cameras.setListedAddresses(addresses);
    Q_EMIT streamsChanged();
}

void CameraFinderController::cancel() {
    m_search->stop();
    m_client.cancel();
    if (m_searchState == SearchState::searching)
        m_searchState = SearchState::idle;
    if (m_streamState == StreamState::asking)
        m_streamState = StreamState::none;
}

// ---- The search ----

void CameraFinderController::search() {
    choose(-1);
    m_cameras.clear();
    m_searchState = SearchState::searching;
    m_search->start();
    Q_EMIT searchChanged();
}

void CameraFinderController::put(const FoundCamera &camera) {
    m_cameras.put(camera);
    Q_EMIT searchChanged();
}

void CameraFinderController::endSearch(CameraSearch::Ending ending) {
    m_searchState = SearchState::ended;
    m_ending = ending;
    Q_EMIT searchChanged();
}

QString CameraFinderController::searchText() const {
    const int count = m_cameras.rowCount();
    if (m_searchState == SearchState::idle)
        return {};
    if (m_searchState == SearchState::searching)
        return count == 0 ? QStringLiteral("Searching…")
                          : QStringLiteral("Searching… %1 so far").arg(count);
    if (count > 0)
        return count == 1 ? QStringLiteral("1 camera found.")
                          : QStringLiteral("%1 cameras found.").arg(count);
    switch (m_ending) {
    case CameraSearch::Ending::complete:
        return QStringLiteral(
            "No camera has answered. A firewall may be in the way, the camera may be in another "
            "network, or ONVIF may be switched off in the camera.");
    case CameraSearch::Ending::noInterface:
        return QStringLiteral("This computer is not connected to a network.");
    case CameraSearch::Ending::notSent:
        return QStringLiteral("The search could not be sent: %1.").arg(m_search->systemError());
    }
    return {};
}

// ---- The streams of a camera ----

bool CameraFinderController::choose(int row) {
    const FoundCamera *camera = m_cameras.camera(row);
    const QString identity = camera == nullptr ? QString() : camera->identity;
    if (identity == m_chosen)
        return false;
    m_chosen = identity;
    m_warnedUser.clear();
    m_client.cancel();
    forgetStreams();
    Q_EMIT streamsChanged();
    return true;
}

void CameraFinderController::forgetStreams() {
    m_streamState = StreamState::none;
    m_cause.reset();
    m_login = {};
    m_streams.setStreams({});
}

void CameraFinderController::ask(const OnvifLogin &login) {
    const FoundCamera *camera = m_cameras.camera(m_cameras.rowOf(m_chosen));
    if (camera == nullptr || m_streamState == StreamState::asking)
        return;
    forgetStreams();
    if (warns(login)) {
        Q_EMIT streamsChanged();
        return;
    }
    m_login = login;
    m_streamState = StreamState::asking;
    m_client.ask(camera->serviceAddress, login);
    Q_EMIT streamsChanged();
}

/// Returns an RTSP address of the chosen camera with `login`, or an empty text without a user name.
/// The port is RTSP's usual one, because cameras have one set of accounts for everything.
QString CameraFinderController::accountAddress(const OnvifLogin &login) const {
    const FoundCamera *camera = m_cameras.camera(m_cameras.rowOf(m_chosen));
    if (camera == nullptr || login.user.isEmpty())
        return {};
    QUrl url;
    url.setScheme(QStringLiteral("rtsp"));
    url.setHost(camera->serviceAddress.host());
    url.setPath(QStringLiteral("/"));
    return addressWithLogin(url.toString(), login.user, login.password);
}

/// Whether the user is to be warned now, before `login` is sent. Warns once before each login.
bool CameraFinderController::warns(const OnvifLogin &login) {
    const QString account = accountAddress(login);
    const bool wasWarned = std::exchange(m_warnedUser, {}) == login.user;
    if (account.isEmpty() || wasWarned || !m_logins.mayLock || !m_logins.mayLock(account))
        return false;
    m_warnedUser = login.user;
    return true;
}

void CameraFinderController::takeLoginEvent(OnvifLoginEvent event) {
    if (event == OnvifLoginEvent::sent) {
        if (m_logins.isSent)
            m_logins.isSent(accountAddress(m_login));
    } else if (m_logins.wasAnswered) {
        m_logins.wasAnswered(event == OnvifLoginEvent::accepted);
    }
}

void CameraFinderController::takeOutcome(const OnvifOutcome &outcome) {
    std::vector<FoundStream> streams;
    if (outcome) {
        streams = usableStreams(outcome->profiles);
        m_isLoginAccepted = outcome->isLoginAccepted;
        m_cause = streams.empty() ? std::optional(OnvifCause::noStreams) : std::nullopt;
    } else {
        m_cause = outcome.error();
    }
    m_streamState = m_cause ? StreamState::failed : StreamState::shown;
    m_streams.setStreams(std::move(streams));
    Q_EMIT streamsChanged();
}

QString CameraFinderController::streamText() const {
    switch (m_streamState) {
    case StreamState::none:
        return m_warnedUser.isEmpty()
                   ? QString()
                   : QStringLiteral("Several logins to this account have failed. Many cameras lock "
                                    "an account for half an hour after a few wrong passwords. To "
                                    "log in nevertheless, choose Show Streams again.");
    case StreamState::asking:
        return QStringLiteral("Asking the camera…");
    case StreamState::failed:
        return m_cause ? textOf(*m_cause) : QString();
    case StreamState::shown:
        // Some cameras describe their streams to everybody.
        return m_login.user.isEmpty() || m_isLoginAccepted
                   ? QString()
                   : QStringLiteral("The camera has not checked the user name and the password.");
    }
    return {};
}

std::optional<Camera> CameraFinderController::cameraWithStream(int row) const {
    const FoundCamera *camera = m_cameras.camera(m_cameras.rowOf(m_chosen));
    const FoundStream *stream = m_streams.stream(row);
    if (camera == nullptr || stream == nullptr)
        return std::nullopt;
    return Camera{.name = nameOfFound(*camera),
                  .url = addressWithLogin(stream->profile.address, m_login.user, m_login.password)};
}

bool CameraFinderController::isStreamListed(int row) const {
    const auto camera = cameraWithStream(row);
    return camera && m_listedAddresses.contains(camera->url);
}

} // namespace lumvik
