#include "platform/network/TcpConnection.h"

#include "platform/FileDescriptor.h"
#include "platform/SerialQueueHandle.h"

#include <QSocketNotifier>
#include <QTimer>

#include <netinet/in.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <mutex>
#include <optional>
#include <utility>

namespace lumvik {

namespace {

constexpr std::chrono::milliseconds retryInterval{250};
/// How long one of several addresses may take at first before the next one is tried. In each
/// further round the addresses get twice the time, because a slow network must not prevent a
/// connection.
constexpr std::chrono::milliseconds firstAddressTimeLimit{1000};
constexpr int mostDoublings = 4;

/// Returns whether connecting failed because no route leads to the address at the moment.
/// EAFNOSUPPORT is included because a system without IPv6 rejects IPv6 addresses outright.
bool meansNoRoute(int error) {
    return error == ENETUNREACH || error == ENETDOWN || error == EADDRNOTAVAIL || error == ENODEV ||
           error == EAFNOSUPPORT;
}

/// Begins to connect. Returns 0 when the connection is made at once, EINPROGRESS when it is under
/// way, or another error.
int beginConnecting(const FileDescriptor &socket, const SocketAddress &address) {
    if (!socket.isOpen())
        return errno;
    return ::connect(socket.get(), address.generic(), address.size) == 0 ? 0 : errno;
}

/// Returns how connecting ended: 0 or an error.
int connectResult(const FileDescriptor &socket) {
    int error = 0;
    socklen_t size = sizeof error;
    return ::getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

/// Deletes objects that may be dropped while one of their signals is being handled.
struct DeleteLater {
    void operator()(QObject *object) const { object->deleteLater(); }
};

} // namespace

/// The connection itself, shared by its owner, by work submitted to the queue, and by a look-up
/// that may outlive both.
class TcpConnection::Attempt : public std::enable_shared_from_this<Attempt> {
  public:
    Attempt(const QString &host, std::uint16_t port, NameResolver resolver)
        : m_host(host)
        , m_port(port)
        , m_resolver(std::move(resolver)) {}

    void setHandler(StateUpdateHandler handler);
    void start(SerialQueue &queue);
    void cancel();
    /// On the queue's thread.
    [[nodiscard]] FileDescriptor takeSocket();
    /// On the queue's thread.
    [[nodiscard]] ConnectionFailure failure() const { return m_failure; }

  private:
    /// Any thread.
    [[nodiscard]] bool isCancelled();

    // On the queue's thread.
    void tryToConnect();
    void lookUp();
    void takeLookup(const LookupResult &result);
    void takeAddresses(std::vector<SocketAddress> addresses);
    void connectToNext();
    void addressFailed(int error);
    void watchSocket();
    void connectingFinished();
    void addressTimedOut();
    void stopWatching();
    void allAddressesTried();
    void retryLater();
    void close();
    void report(State state);

    const QString m_host;
    const std::uint16_t m_port;
    const NameResolver m_resolver;

    /// Held while the handler runs, so that removing the handler can wait for it. Recursive, so
    /// that the handler can remove itself.
    std::recursive_mutex m_handlerMutex;
    std::shared_ptr<const StateUpdateHandler> m_handler;

    std::mutex m_stateMutex; ///< Guards the next two members. Never held while a callback runs.
    /// Set by `start`, closed by `cancel`. A pending look-up submits its result through this
    /// handle.
    std::optional<SerialQueueHandle> m_queue;
    bool m_isCancelled = false;

    // Used on the queue's thread. `close` destroys the Qt objects.
    std::optional<State> m_state;
    ConnectionFailure m_failure = ConnectionFailure::none; ///< Of the last look-up or address.
    std::vector<SocketAddress> m_addresses;
    std::size_t m_nextAddress = 0;
    bool m_anAddressFailed = false; ///< For a reason other than a missing route.
    bool m_anAddressTimedOut = false;
    int m_round = 0; ///< How often all addresses have been tried.
    FileDescriptor m_socket;
    std::unique_ptr<QSocketNotifier, DeleteLater> m_notifier;
    std::unique_ptr<QTimer, DeleteLater> m_retry;
    std::unique_ptr<QTimer, DeleteLater>
        m_addressTimer; ///< Runs if there is more than one address.
};

void TcpConnection::Attempt::setHandler(StateUpdateHandler handler) {
    // The previous handler is destroyed after the lock is released, because objects that it holds
    // may call back into this connection.
    std::shared_ptr<const StateUpdateHandler> previous;
    const std::scoped_lock lock(m_handlerMutex);
    previous = std::exchange(
        m_handler,
        handler ? std::make_shared<const StateUpdateHandler>(std::move(handler)) : nullptr);
}

void TcpConnection::Attempt::start(SerialQueue &queue) {
    {
        const std::scoped_lock lock(m_stateMutex);
        if (m_queue || m_isCancelled)
            return;
        m_queue.emplace(queue);
    }
    m_queue->async([self = shared_from_this()] {
        self->report(State::preparing);
        self->tryToConnect();
    });
}

void TcpConnection::Attempt::cancel() {
    const std::scoped_lock lock(m_stateMutex);
    if (std::exchange(m_isCancelled, true) || !m_queue)
        return;
    m_queue->close([self = shared_from_this()] {
        self->close();
        self->report(State::cancelled);
    });
}

FileDescriptor TcpConnection::Attempt::takeSocket() {
    return m_state == State::ready ? std::move(m_socket) : FileDescriptor();
}

bool TcpConnection::Attempt::isCancelled() {
    const std::scoped_lock lock(m_stateMutex);
    return m_isCancelled;
}

void TcpConnection::Attempt::tryToConnect() {
    if (isCancelled())
        return;
    // The host is parsed at every attempt, because an interface named in it may have a different
    // index when it reappears.
    std::vector<SocketAddress> numerical = numericalAddresses(m_host, m_port);
    if (!numerical.empty()) {
        takeAddresses(std::move(numerical));
    } else if (isScopedAddress(m_host)) {
        addressFailed(ENODEV); // the interface does not exist
        allAddressesTried();
    } else if (!m_addresses.empty()) {
        takeAddresses(std::move(m_addresses));
    } else {
        lookUp();
    }
}

void TcpConnection::Attempt::lookUp() {
    const bool begun =
        lookUpHost(m_host, m_port, m_resolver, [self = shared_from_this()](LookupResult result) {
            self->m_queue->async([self, result = std::move(result)] { self->takeLookup(result); });
        });
    if (!begun)
        retryLater();
}

void TcpConnection::Attempt::takeLookup(const LookupResult &result) {
    if (result && !result->empty())
        return takeAddresses(*result);
    // A name that does not exist is a final failure, and so is a name without addresses.
    m_anAddressFailed = result || result.error() == LookupError::noSuchName;
    m_failure =
        m_anAddressFailed ? ConnectionFailure::nameNotFound : ConnectionFailure::noNameServer;
    allAddressesTried();
}

void TcpConnection::Attempt::takeAddresses(std::vector<SocketAddress> addresses) {
    m_addresses = std::move(addresses);
    m_nextAddress = 0;
    m_anAddressFailed = false;
    m_anAddressTimedOut = false;
    m_failure = ConnectionFailure::none;
    connectToNext();
}

void TcpConnection::Attempt::addressFailed(int error) {
    m_socket.reset();
    m_anAddressFailed = m_anAddressFailed || !meansNoRoute(error);
    // A host that refuses has answered. This tells the user more than the silence of its other
    // addresses.
    if (error == ECONNREFUSED)
        m_failure = ConnectionFailure::refused;
    else if (m_failure != ConnectionFailure::refused)
        m_failure = ConnectionFailure::unreachable;
}

void TcpConnection::Attempt::connectToNext() {
    if (m_nextAddress == m_addresses.size() && m_anAddressTimedOut) {
        ++m_round;
        m_nextAddress = 0;
        m_anAddressTimedOut = false;
    }
    while (!isCancelled() && m_nextAddress < m_addresses.size()) {
        const SocketAddress &address = m_addresses[m_nextAddress++];
        m_socket = FileDescriptor(
            ::socket(address.family(), SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP));
        const int error = beginConnecting(m_socket, address);
        if (error == 0)
            return report(State::ready);
        if (error == EINPROGRESS)
            return watchSocket();
        addressFailed(error);
    }
    if (!isCancelled())
        allAddressesTried();
}

void TcpConnection::Attempt::watchSocket() {
    report(State::preparing);
    m_notifier.reset(new QSocketNotifier(m_socket.get(), QSocketNotifier::Write));
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [this] { connectingFinished(); });
    if (m_addresses.size() < 2)
        return;
    m_addressTimer.reset(new QTimer);
    m_addressTimer->setSingleShot(true);
    QObject::connect(m_addressTimer.get(), &QTimer::timeout, m_addressTimer.get(),
                     [this] { addressTimedOut(); });
    m_addressTimer->start(firstAddressTimeLimit * (1 << std::min(m_round, mostDoublings)));
}

void TcpConnection::Attempt::stopWatching() {
    if (m_notifier)
        m_notifier->setEnabled(false);
    m_notifier.reset();
    if (m_addressTimer)
        m_addressTimer->stop();
    m_addressTimer.reset();
}

/// A host that drops packets silently takes minutes to fail, and another address may answer.
void TcpConnection::Attempt::addressTimedOut() {
    stopWatching();
    m_socket.reset();
    m_anAddressTimedOut = true;
    connectToNext();
}

void TcpConnection::Attempt::connectingFinished() {
    stopWatching();
    const int error = connectResult(m_socket);
    if (error == 0)
        return report(State::ready);
    addressFailed(error);
    connectToNext();
}

void TcpConnection::Attempt::allAddressesTried() {
    if (m_anAddressFailed) {
        close();
        report(State::failed);
    } else {
        report(State::waiting);
        retryLater();
    }
}

void TcpConnection::Attempt::retryLater() {
    // If the handler has just cancelled the connection, `close` runs later and stops the timer.
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
    stopWatching();
    if (m_retry)
        m_retry->stop();
    m_retry.reset();
    m_socket.reset();
}

void TcpConnection::Attempt::report(State state) {
    const bool isFinal = m_state == State::failed || m_state == State::cancelled;
    if (isFinal || m_state == state || (state != State::cancelled && isCancelled()))
        return;
    m_state = state;
    const std::scoped_lock lock(m_handlerMutex);
    // The handler is copied because it may replace itself.
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

ConnectionFailure TcpConnection::failure() const {
    return m_attempt->failure();
}

FileDescriptor TcpConnection::takeSocket() {
    return m_attempt->takeSocket();
}

} // namespace lumvik
