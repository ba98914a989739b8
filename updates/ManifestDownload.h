#pragma once

#include "platform/SerialQueueHandle.h"
#include "platform/network/HostLookup.h"

#include <QList>
#include <QNetworkReply>
#include <QSslCertificate>
#include <QString>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <tl/expected.hpp>

class QNetworkAccessManager;
class QTimer;

namespace lumvik {

/// The parameters of a download.
struct DownloadRequest {
    QUrl address; ///< An https URL with a host.
    /// The time limit for the whole download: look-ups, connections, redirections and the body.
    std::chrono::milliseconds timeLimit{};
    /// The certificate authorities to trust, or the system's authorities if not set.
    std::optional<QList<QSslCertificate>> authorities;
    NameResolver resolver;
};

/// Downloads a small document over HTTPS with one GET request. Keeps no cookies, cache, credentials
/// or open connections.
///
/// Host names are looked up by `lookUpHost` and Qt receives numerical addresses, because Qt waits
/// for its own look-ups when the program exits. Certificates are still verified against the host
/// name. The addresses of a host are tried one after another. Redirections are followed only to
/// https, and by this class rather than by Qt, because each may lead to another host to look up.
/// Proxies are not used: Qt would query the proxy settings on the calling thread, without a time
/// limit.
///
/// This class does not retry. Qt itself repeats a request up to three times if the server closes
/// the connection without a response.
///
/// A download is created and destroyed on the thread of a serial queue, and must be owned by a
/// shared pointer. Destruction aborts the transfer without waiting for the network.
class ManifestDownload : public std::enable_shared_from_this<ManifestDownload> {
  public:
    /// The time limit of a whole download, and thus of an update check. Long enough for a slow
    /// connection that needs several addresses or redirections, and short enough for a user who
    /// waits for the result.
    static constexpr std::chrono::seconds defaultTimeLimit{15};
    /// The longest permitted body in bytes. A manifest has a few hundred bytes; the limit keeps a
    /// faulty or malicious server from filling the memory.
    static constexpr qsizetype maximumBodySize = 65'536;
    /// The largest number of redirections that are followed. Ends redirection loops.
    static constexpr int maximumRedirections = 10;
    /// The time in which an address must accept a secure connection before the host's next address
    /// is tried. Leaves time for several addresses within the time limit of an update check.
    static constexpr std::chrono::seconds connectionTimeLimit{4};

    /// The body of a response with a success status (200 to 299), or a sentence for the user.
    using Outcome = tl::expected<QByteArray, QString>;
    using Finished = std::function<void(Outcome)>;

    /// `queueHandle` must refer to the queue on whose thread the download is created.
    ManifestDownload(DownloadRequest request, std::shared_ptr<SerialQueueHandle> queueHandle);
    ManifestDownload(const ManifestDownload &) = delete;
    ManifestDownload &operator=(const ManifestDownload &) = delete;
    ~ManifestDownload();

    /// Starts the download. Call this only once. `finished` runs once, possibly before `start`
    /// returns, and may release the download.
    void start(Finished finished);

  private:
    /// Deletes objects that may be released from within their own signals.
    struct DeleteLater {
        void operator()(QObject *object) const { object->deleteLater(); }
    };

    void fetch(const QUrl &address);
    void lookUp();
    void handleLookup(const LookupResult &result);
    void connectToNextAddress();
    void send(const SocketAddress &address);
    [[nodiscard]] QNetworkRequest request(const SocketAddress &address) const;

    void handleHead();
    void readBody();
    void handleReplyFinished();
    void handleError();
    void followRedirection();
    void dropReply();
    void finish(Outcome outcome);

    const DownloadRequest m_request;
    const std::shared_ptr<SerialQueueHandle> m_queueHandle;
    Finished m_finished; ///< Empty after it has run.

    QUrl m_address; ///< The address of the current request; redirections change it.
    int m_redirections = 0;
    std::vector<SocketAddress> m_socketAddresses;
    std::size_t m_nextAddress = 0;
    bool m_isConnected = false; ///< Whether a secure connection to the current address exists.
    bool m_hasHead = false;     ///< Whether acceptable status and headers have arrived.
    QByteArray m_body;

    std::unique_ptr<QTimer, DeleteLater> m_timeLimitTimer;
    /// Runs while connecting, unless the current address is the last one.
    std::unique_ptr<QTimer, DeleteLater> m_connectionTimer;
    std::unique_ptr<QNetworkAccessManager, DeleteLater> m_manager;
    std::unique_ptr<QNetworkReply, DeleteLater> m_reply;
    std::unique_ptr<QObject> m_replyContext; ///< Disconnects m_reply's signals when destroyed.
};

} // namespace lumvik
