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

/// What to fetch and how.
struct DownloadRequest {
    QUrl address; ///< https, with a host.
    /// How long everything together may take: look-ups, connecting, redirections and the body.
    std::chrono::milliseconds timeLimit{};
    /// Who may vouch for servers; the system's authorities when not given.
    std::optional<QList<QSslCertificate>> authorities;
    NameResolver resolver;
};

/// One GET of a small document over HTTPS, of which nothing is kept: no cookies, cache, credentials
/// or open connections.
///
/// The name is looked up by `lookUpHost` and the toolkit is given numerical addresses, because the
/// end of the program waits for the toolkit's own look-ups; certificates are checked against the
/// name all the same. A name's addresses are tried one after another. Redirections are followed
/// here, since each of them has a name to look up, and only to https. Proxies are not asked: the
/// toolkit asks for them on the calling thread and for as long as it takes.
///
/// Nothing is tried again here, but the toolkit itself sends a request up to three times more when
/// the server closes the connection without having answered.
///
/// Lives on the thread of a serial queue, in a shared pointer, and is also destroyed there, which
/// breaks the transfer off without waiting for the network.
class ManifestDownload : public std::enable_shared_from_this<ManifestDownload> {
  public:
    static constexpr qsizetype largestBody = 65'536; ///< Bytes; a longer body is an error.
    static constexpr int mostRedirections = 10;

    /// The body of a response with a status from 200 to 299, or a sentence for the user.
    using Outcome = tl::expected<QByteArray, QString>;
    using Finished = std::function<void(Outcome)>;

    /// `queue` is the way to the queue whose thread this is made on.
    ManifestDownload(DownloadRequest request, std::shared_ptr<SerialQueueHandle> queue);
    ManifestDownload(const ManifestDownload &) = delete;
    ManifestDownload &operator=(const ManifestDownload &) = delete;
    ~ManifestDownload();

    /// Begins, once. `finished` runs once, in a later turn or at once, and may let the download go.
    void start(Finished finished);

  private:
    /// For objects that may be let go from within their own signal.
    struct DeleteLater {
        void operator()(QObject *object) const { object->deleteLater(); }
    };

    void visit(const QUrl &address);
    void lookUp();
    void takeLookup(const LookupResult &result);
    void connectToNext();
    void send(const SocketAddress &address);
    [[nodiscard]] QNetworkRequest request(const SocketAddress &address) const;

    void takeHead();
    void takeBody();
    void takeEnd();
    void takeError();
    void followRedirection();
    void dropReply();
    void finish(Outcome outcome);

    const DownloadRequest m_request;
    const std::shared_ptr<SerialQueueHandle> m_queue;
    Finished m_finished; ///< Empty once it ran.

    QUrl m_address; ///< Of the request under way; redirections change it.
    int m_redirections = 0;
    std::vector<SocketAddress> m_socketAddresses;
    std::size_t m_nextAddress = 0;
    bool m_isConnected = false; ///< Securely, to the present address.
    bool m_hasHead = false;     ///< Status and headers have arrived and are acceptable.
    QByteArray m_body;

    std::unique_ptr<QTimer, DeleteLater> m_timeLimit;
    /// Until connected, while other addresses are left.
    std::unique_ptr<QTimer, DeleteLater> m_addressLimit;
    std::unique_ptr<QNetworkAccessManager, DeleteLater> m_manager;
    std::unique_ptr<QNetworkReply, DeleteLater> m_reply;
    std::unique_ptr<QObject> m_replyContext; ///< Its end cuts the connections to m_reply.
};

} // namespace lumvik
