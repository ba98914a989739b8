#pragma once

#include "configuration/Camera.h"
#include "discovery/CameraSearch.h"
#include "discovery/OnvifClient.h"
#include "editor/CameraFinderModel.h"
#include "editor/FoundStreamModel.h"

#include <QObject>

#include <functional>
#include <memory>
#include <optional>

namespace lumvik {

/// What "Find Cameras…" does, without its widgets: searches for cameras, and asks the one that the
/// user has chosen for its streams.
///
/// Nothing is sent before `search`, and to a camera nothing before `ask`. A refused login is not
/// sent again until `ask` is called again. Destroying the object ends everything. Owned by the
/// sheet. Main thread only. Nothing blocks.
class CameraFinderController final : public QObject {
    Q_OBJECT

  public:
    using MakeSearch = std::function<std::unique_ptr<CameraSearch>()>;

    /// Whom the logins are told, so that the program does not lock the user out of a camera. Each
    /// `url` is an RTSP address of the camera with the login in it. Empty functions are not called.
    struct Logins {
        /// Whether the camera may lock the account after another refusal.
        std::function<bool(const QString &url)> mayLock;
        std::function<void(const QString &url)> isSent;
        /// The camera has answered the login that was sent last.
        std::function<void(bool isAccepted)> wasAnswered;
    };

    enum class SearchState { idle, searching, ended };
    enum class StreamState {
        none,   ///< Nothing was asked since a camera was chosen.
        asking, ///< The camera's reply is awaited.
        shown,  ///< The camera has at least one stream.
        failed, ///< See `streamText`.
    };

    /// `queue` must outlive the controller. `makeSearch` is called once, at once.
    CameraFinderController(MainQueue &queue, const MakeSearch &makeSearch, Logins logins = {});
    ~CameraFinderController() override;

    [[nodiscard]] CameraFinderModel &cameras() { return m_cameras; }
    [[nodiscard]] FoundStreamModel &streams() { return m_streams; }

    /// Sets the addresses of the camera list, which mark cameras and streams as known.
    void setListedAddresses(const QStringList &addresses);

    /// Searches from the beginning: the cameras, the choice and the streams are forgotten.
    void search();
    /// Ends the search and the question, if there are any.
    void cancel();
    [[nodiscard]] SearchState searchState() const { return m_searchState; }
    /// Returns a sentence about the search: how many cameras there are, or what may be in the way.
    [[nodiscard]] QString searchText() const;

    /// Chooses the camera in `row`, or none if there is no such row. If this is another camera than
    /// before, a question is cancelled, and the streams are forgotten. Returns whether it is.
    bool choose(int row);
    [[nodiscard]] bool hasChoice() const { return !m_chosen.isEmpty(); }

    /// Asks the chosen camera for its streams. Does nothing without a choice, or while the camera
    /// is being asked. The user name may be empty. If the camera may lock the account, the first
    /// call only makes `streamText` say so, and the second one asks.
    void ask(const OnvifLogin &login);
    [[nodiscard]] StreamState streamState() const { return m_streamState; }
    /// The reason why there are no streams. Only if the state is `failed`.
    [[nodiscard]] std::optional<OnvifCause> cause() const { return m_cause; }
    /// Returns a sentence about the question, or an empty text if there is nothing to say. The
    /// sentence contains neither an address nor anything of the login.
    [[nodiscard]] QString streamText() const;

    /// Returns the chosen camera with the stream in `row` and the login that was asked with, for
    /// the camera list; or nothing if there is no such stream.
    [[nodiscard]] std::optional<Camera> cameraWithStream(int row) const;
    /// Whether this very stream with this login is in the camera list.
    [[nodiscard]] bool isStreamListed(int row) const;

  Q_SIGNALS:
    /// The search's state or text has changed.
    void searchChanged();
    /// The streams, their state or their text have changed.
    void streamsChanged();

  private:
    void put(const FoundCamera &camera);
    void endSearch(CameraSearch::Ending ending);
    void takeOutcome(const OnvifOutcome &outcome);
    void takeLoginEvent(OnvifLoginEvent event);
    [[nodiscard]] QString accountAddress(const OnvifLogin &login) const;
    [[nodiscard]] bool warns(const OnvifLogin &login);
    void forgetStreams();

    CameraFinderModel m_cameras;
    FoundStreamModel m_streams;
    QStringList m_listedAddresses;

    const std::unique_ptr<CameraSearch> m_search;
    SearchState m_searchState = SearchState::idle;
    CameraSearch::Ending m_ending = CameraSearch::Ending::complete;

    OnvifClient m_client;
    QString m_chosen; ///< The identity of the chosen camera, or an empty text.
    const Logins m_logins;
    OnvifLogin m_login;
    /// The user name about which the user was warned, or an empty text.
    QString m_warnedUser;
    StreamState m_streamState = StreamState::none;
    std::optional<OnvifCause> m_cause;
    bool m_isLoginAccepted = false;
};

} // namespace lumvik
