#pragma once

#include "discovery/WsDiscoveryMessage.h"
#include "platform/MainQueue.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

class QNetworkInterface;
class QUdpSocket;

namespace lumvik {

/// The parameters of a search. Only tests need values other than these.
struct CameraSearchOptions {
    /// Which interfaces are searched. The loopback interface is never searched together with
    /// others, so that a test cannot reach a real network.
    enum class Interfaces { network, loopback };

    Interfaces interfaces = Interfaces::network;
    std::uint16_t port = 3702; ///< Assigned to WS-Discovery by IANA.
};

/// Searches the local networks for cameras with WS-Discovery.
///
/// A search sends probes to the multicast groups of WS-Discovery, by IPv4 and IPv6, from every
/// interface that is up and can send them, and collects the replies for `duration`. Nothing is sent
/// before `start`. Multicast does not pass routers, and firewalls may drop the replies, so that a
/// search that finds nothing proves nothing.
///
/// Owned by whoever shows the results, who may destroy the search in a slot. Main thread only.
/// Nothing blocks.
class CameraSearch final : public QObject {
    Q_OBJECT

  public:
    /// When probes are sent, in seconds after the start. Datagrams are lost, above all by wireless
    /// networks, and some cameras need a moment to wake up.
    static constexpr std::array<double, 3> probeTimes = {0, 0.5, 1.5};
    /// The duration of a search in seconds. WS-Discovery lets devices wait before they reply; all
    /// cameras that could be tried do so within two seconds of the last probe.
    static constexpr double duration = 5;
    /// The number of cameras after which further ones are ignored.
    static constexpr std::size_t mostCamerasFound = 1000;

    /// How a search has ended.
    enum class Ending {
        complete,    ///< Probes were sent, and `duration` has passed.
        noInterface, ///< No interface is up and can send to a group. The search ends at once.
        notSent,     ///< The system has refused every probe. See `systemError`.
    };

    /// `queue` must outlive the search.
    explicit CameraSearch(MainQueue &queue, CameraSearchOptions options = {},
                          QObject *parent = nullptr);
    ~CameraSearch() override;

    /// Starts a search. A search that is running is stopped first, and its results are forgotten.
    void start();
    /// Ends the search without `ended`. Does nothing when there is none.
    void stop();

    [[nodiscard]] bool isSearching() const { return m_isSearching; }
    /// What the system said when it last refused a probe, or an empty text.
    [[nodiscard]] QString systemError() const { return m_systemError; }

  Q_SIGNALS:
    /// A camera has replied for the first time in this search.
    void found(const lumvik::FoundCamera &camera);
    /// A camera that was found has replied from an address that is better to keep: IPv4 before
    /// IPv6, and both before addresses that are valid on one link only.
    void foundAtBetterAddress(const lumvik::FoundCamera &camera);
    /// The search is over. Never emitted before `start` has returned.
    void ended(lumvik::CameraSearch::Ending ending);

  private:
    /// A network that is searched.
    struct Network {
        std::unique_ptr<QUdpSocket> socket; ///< Bound to an address of one interface.
        QHostAddress group;
        QStringList messageIds; ///< Of the probes that were sent there in this search.
    };

    void openSockets(const QNetworkInterface &interface);
    void openSocket(const QNetworkInterface &interface, const QHostAddress &address);
    void schedule(double seconds, void (CameraSearch::*step)());
    void sendProbes();
    void sendLastProbes();
    void readReplies(QUdpSocket &socket);
    [[nodiscard]] QStringList messageIdsOf(const QUdpSocket &socket) const;
    void take(const FoundCamera &camera, const QHostAddress &sender);
    void end(Ending ending);
    void endComplete() { end(Ending::complete); }
    void endWithoutInterface() { end(Ending::noInterface); }

    MainQueue &m_queue;
    const CameraSearchOptions m_options;
    bool m_isSearching = false;
    unsigned m_searchNumber = 0; ///< Changes when a search is stopped.
    bool m_hasSent = false;
    int m_datagrams = 0; ///< How many were read in this search.
    QString m_systemError;
    std::vector<Network> m_networks; ///< Empty when nothing is searched.
    std::map<QString, int> m_ranks;  ///< Of the found cameras' addresses, by identity.
    std::vector<std::shared_ptr<WorkItem>> m_timers; ///< What is still to be done.
};

} // namespace lumvik
