#include "platform/network/TcpConnection.h"

#include "platform/SerialQueue.h"

#include <QSocketNotifier>
#include <QTimer>

#include <netinet/in.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <mutex>
#include <optional>
#include <utility>

namespace lumvik {

namespace {

constexpr std::chrono::milliseconds retryInterval{250};

/// Whether a connection was not even tried because nothing leads to the address at the moment. (A
/// system without IPv6 does not know its addresses at all.)
bool meansNoRoute(int error) {
    return error == ENETUNREACH || error == ENETDOWN || error == EADDRNOTAVAIL || error == ENODEV ||
           error == EAFNOSUPPORT;
}

/// A descriptor that closes itself.
class Socket {
  public:
    Socket() = default;
    explicit Socket(int descriptor) : m_descriptor(descriptor) {}
    Socket(Socket &&other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    Socket &operator=(Socket &&other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~Socket() {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }

    [[nodiscard]] int descriptor() const { return m_descriptor; }

    /// Begins to connect and answers 0 when that is done already, else the error: EINPROGRESS when
    /// it goes on.
    [[nodiscard]] int connectTo(const SocketAddress &address) const {
        if (m_descriptor < 0)
            return errno;
        return ::connect(m_descriptor, address.generic(), address.size) == 0 ? 0 : errno;
    }

    /// How connecting ended: 0 or an error.
    [[nodiscard]] int connectResult() const {
        int error = 0;
        socklen_t size = sizeof error;
        return ::getsockopt(m_descriptor, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
    }

  private:
    int m_descriptor = -1;
};

/// For objects that may be let go from within their own signal.
struct DeleteLater {
    void operator()(QObject *object) const { object->deleteLater(); }
};

} // namespace

/// The connection itself, shared by its owner, the work submitted to the queue, and a look-up that
/// may outlive both.
class TcpConnection::Attempt : public std::enable_shared_from_this<Attempt> {
  public:
    Attempt(const QString &host, std::uint16_t port, NameResolver resolver)
        : m_host(host)
        , m_port(port)
        , m_resolver(std::move(resolver)) {}

    void setHandler(StateUpdateHandler handler);
    void start(SerialQueue &queue);
    void cancel();

  private:
    // Any thread.
    void submit(std::function<void()> work);
    [[nodiscard]] bool isCancelled();

    // On the queue.
    void tryToConnect();
    void lookUp();
    void takeLookup(const LookupResult &result);
    void takeAddresses(std::vector<SocketAddress> addresses);
    void connectToNext();
    void watchSocket();
    void socketDecided();
    void endOfAddresses();
    void tryAgainLater();
    void close();
    void report(State state);

    const QString m_host;
    const std::uint16_t m_port;
    const NameResolver m_resolver;

    /// Held while the handler runs, so that removing it can wait; recursive, so that the handler
    /// can remove itself.
    std::recursive_mutex m_handlerMutex;
    std::shared_ptr<const StateUpdateHandler> m_handler;

    std::mutex m_queueMutex; ///< Guards the next two. Never held while other code runs.
    SerialQueue *m_queue = nullptr;
    bool m_isCancelled = false;

    // On the queue. The Qt objects are gone once `close` has run.
    std::optional<State> m_state;
    std::vector<SocketAddress> m_addresses;
    std::size_t m_nextAddress = 0;
    bool m_anAddressFailed = false; ///< For another reason than a missing route.
    Socket m_socket;
    std::unique_ptr<QSocketNotifier, DeleteLater> m_notifier;
    std::unique_ptr<QTimer, DeleteLater> m_retry;
};

void TcpConnection::Attempt::setHandler(StateUpdateHandler handler) {
    // Released last, without the lock: what the old handler holds may come back here.
    std::shared_ptr<const StateUpdateHandler> previous;
    const std::scoped_lock lock(m_handlerMutex);
    previous = std::exchange(
        m_handler,
        handler ? std::make_shared<const StateUpdateHandler>(std::move(handler)) : nullptr);
}

void TcpConnection::Attempt::start(SerialQueue &queue) {
    {
        const std::scoped_lock lock(m_queueMutex);
        if (m_queue || m_isCancelled)
            return;
        m_queue = &queue;
    }
    submit([self = shared_from_this()] {
        self->report(State::preparing);
        self->tryToConnect();
    });
}

void TcpConnection::Attempt::cancel() {
    const std::scoped_lock lock(m_queueMutex);
    if (std::exchange(m_isCancelled, true) || !m_queue)
        return;
    m_queue->async([self = shared_from_this()] {
        self->close();
        self->report(State::cancelled);
    });
}

void TcpConnection::Attempt::submit(std::function<void()> work) {
    // Under the lock, because the queue may be gone once the connection was cancelled.
    const std::scoped_lock lock(m_queueMutex);
    if (m_queue && !m_isCancelled)
        m_queue->async(std::move(work));
}

bool TcpConnection::Attempt::isCancelled() {
    const std::scoped_lock lock(m_queueMutex);
    return m_isCancelled;
}

void TcpConnection::Attempt::tryToConnect() {
    if (isCancelled())
        return;
    // Read anew each time: an interface that comes back may have another number.
    std::vector<SocketAddress> numerical = numericalAddresses(m_host, m_port);
    if (!numerical.empty())
        takeAddresses(std::move(numerical));
    else if (isScopedAddress(m_host))
        endOfAddresses();
    else if (!m_addresses.empty())
        takeAddresses(std::move(m_addresses));
    else
        lookUp();
}

void TcpConnection::Attempt::lookUp() {
    const bool begun =
        lookUpHost(m_host, m_port, m_resolver, [self = shared_from_this()](LookupResult result) {
            self->submit([self, result = std::move(result)] { self->takeLookup(result); });
        });
    if (!begun)
        tryAgainLater();
}

void TcpConnection::Attempt::takeLookup(const LookupResult &result) {
    if (result && !result->empty())
        return takeAddresses(*result);
    // A name that is not found is final; so is one found without addresses.
    m_anAddressFailed = result || result.error() == LookupError::noSuchName;
    endOfAddresses();
}

void TcpConnection::Attempt::takeAddresses(std::vector<SocketAddress> addresses) {
    m_addresses = std::move(addresses);
    m_nextAddress = 0;
    m_anAddressFailed = false;
    connectToNext();
}

void TcpConnection::Attempt::connectToNext() {
    while (!isCancelled() && m_nextAddress < m_addresses.size()) {
        const SocketAddress &address = m_addresses[m_nextAddress++];
        m_socket = Socket(
            ::socket(address.family(), SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP));
        const int error = m_socket.connectTo(address);
        if (error == 0)
            return report(State::ready);
        if (error == EINPROGRESS)
            return watchSocket();
        m_socket = Socket();
        m_anAddressFailed = m_anAddressFailed || !meansNoRoute(error);
    }
    if (!isCancelled())
        endOfAddresses();
}

void TcpConnection::Attempt::watchSocket() {
    report(State::preparing);
    m_notifier.reset(new QSocketNotifier(m_socket.descriptor(), QSocketNotifier::Write));
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [this] { socketDecided(); });
}

void TcpConnection::Attempt::socketDecided() {
    m_notifier->setEnabled(false);
    m_notifier.reset();
    const int error = m_socket.connectResult();
    if (error == 0)
        return report(State::ready);
    m_socket = Socket();
    m_anAddressFailed = m_anAddressFailed || !meansNoRoute(error);
    connectToNext();
}

void TcpConnection::Attempt::endOfAddresses() {
    if (m_anAddressFailed) {
        close();
        report(State::failed);
    } else {
        report(State::waiting);
        tryAgainLater();
    }
}

void TcpConnection::Attempt::tryAgainLater() {
    // The handler may have cancelled the connection just now; `close` is then still to come.
    if (!m_retry) {
        m_retry.reset(new QTimer);
        m_retry->setSingleShot(true);
        m_retry->setInterval(retryInterval);
        QObject::connect(m_retry.get(), &QTimer::timeout, m_retry.get(),
                         [this] { tryToConnect(); });
    }
    m_retry->start();
}

void TcpConnection::Attempt::close() {
    if (m_notifier)
        m_notifier->setEnabled(false);
    m_notifier.reset();
    if (m_retry)
        m_retry->stop();
    m_retry.reset();
    m_socket = Socket();
}

void TcpConnection::Attempt::report(State state) {
    const bool isFinal = m_state == State::failed || m_state == State::cancelled;
    if (isFinal || m_state == state || (state != State::cancelled && isCancelled()))
        return;
    m_state = state;
    const std::scoped_lock lock(m_handlerMutex);
    // A copy, because the handler may replace itself.
    if (const std::shared_ptr<const StateUpdateHandler> handler = m_handler)
        (*handler)(state);
}

TcpConnection::TcpConnection(const QString &host, std::uint16_t port, NameResolver resolver)
    : m_attempt(std::make_shared<Attempt>(host, port, std::move(resolver))) {}

TcpConnection::~TcpConnection() {
    setStateUpdateHandler({});
    cancel();
}

void TcpConnection::setStateUpdateHandler(StateUpdateHandler handler) {
    m_attempt->setHandler(std::move(handler));
}

void TcpConnection::start(SerialQueue &queue) {
    m_attempt->start(queue);
}

void TcpConnection::cancel() {
    m_attempt->cancel();
}

} // namespace lumvik
