#include "platform/network/RtnetlinkPathMonitor.h"

#include "platform/LumvikLog.h"
#include "platform/SerialQueue.h"
#include "platform/network/UsableNetwork.h"

#include <QSocketNotifier>
#include <QTimer>

#include <libmnl/libmnl.h>
#include <linux/rtnetlink.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <mutex>
#include <optional>
#include <utility>

namespace lumvik {

namespace {

using Listing = NetworkInterfaceTable::Listing;

/// Links are listed first because the addresses of unknown links are ignored.
constexpr std::array allListings = {Listing::links, Listing::addresses, Listing::routes};

/// After this many failures in a row, the last report is too old to keep playback suspended.
constexpr int failuresUntilUnknown = 3;

constexpr unsigned announcements =
    RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;

/// The kernel sends at most this many bytes at once, however large the reader's buffer is.
constexpr std::size_t receiveSize = 32768;

struct CloseSocket {
    void operator()(mnl_socket *socket) const { mnl_socket_close(socket); }
};
/// Deletes objects that may be dropped while one of their signals is being handled.
struct DeleteLater {
    void operator()(QObject *object) const { object->deleteLater(); }
};
using Socket = std::unique_ptr<mnl_socket, CloseSocket>;

/// Writes the request for a list into `message`, whose buffer must be large enough. The address
/// family stays "unspecified", which requests all families.
void putRequest(nlmsghdr &message, Listing listing) {
    switch (listing) {
    case Listing::links:
        message.nlmsg_type = RTM_GETLINK;
        mnl_nlmsg_put_extra_header(&message, sizeof(ifinfomsg));
        break;
    case Listing::addresses:
        message.nlmsg_type = RTM_GETADDR;
        mnl_nlmsg_put_extra_header(&message, sizeof(ifaddrmsg));
        break;
    case Listing::routes:
        message.nlmsg_type = RTM_GETROUTE;
        mnl_nlmsg_put_extra_header(&message, sizeof(rtmsg));
        break;
    }
    message.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
}

/// Returns the error that ended a list as a positive number, or 0. The payload of both NLMSG_DONE
/// and NLMSG_ERROR begins with the negative number.
int listError(const nlmsghdr &message) {
    int error = 0;
    if (mnl_nlmsg_get_payload_len(&message) < sizeof error)
        return 0;
    std::memcpy(&error, mnl_nlmsg_get_payload(&message), sizeof error);
    return -error;
}

} // namespace

/// The part of the monitor that runs on the queue's thread, except where a comment says otherwise.
class RtnetlinkPathMonitor::Watch {
  public:
    explicit Watch(Options options)
        : m_options(std::move(options))
        , m_table(m_options.readAttributes) {
        if (!m_options.receive)
            m_options.receive = mnl_socket_recvfrom;
    }

    /// Any thread.
    void setHandler(UpdateHandler handler);
    /// Any thread except the queue's. Waits for a handler that is running.
    void cancel();

    void open();
    /// Closes the socket permanently.
    void close();

  private:
    [[nodiscard]] bool isCancelled();
    [[nodiscard]] bool connect();
    void closeSocket();
    void receive();
    void applyReceived(int length);
    void apply(const nlmsghdr &message);
    void listEverything();
    [[nodiscard]] bool requestNextListing();
    void finishListing();
    void reportIfChanged();
    void report(const NetworkPathSignature &signature);
    void fail(int error);
    void reopenAfter(std::chrono::milliseconds delay);

    std::mutex m_handlerMutex; // guards the next two members; held while the handler runs
    UpdateHandler m_handler;
    bool m_isCancelled = false;

    Options m_options;
    Socket m_socket;
    std::unique_ptr<QSocketNotifier, DeleteLater> m_notifier;
    /// Active while the socket is closed or a reply is awaited.
    std::unique_ptr<QTimer, DeleteLater> m_reopenTimer;
    bool m_hasFailed = false; // whether a failure since the last complete lists was logged
    int m_failures = 0;       // the number of failures since the last complete lists
    alignas(nlmsghdr) std::array<char, receiveSize> m_buffer{};

    NetworkInterfaceTable m_table;
    std::array<bool, allListings.size()> m_isDue{}; // the lists still to be requested
    std::optional<Listing> m_runningList;           // the list that the kernel is sending
    bool m_isListIncomplete = false;                // the running list has to be repeated
    unsigned m_sequence = 0;                        // the sequence number of the last request
    std::optional<NetworkState> m_reported;         // the usable network at the last report
};

void RtnetlinkPathMonitor::Watch::setHandler(UpdateHandler handler) {
    const std::lock_guard lock(m_handlerMutex);
    m_handler = std::move(handler);
}

void RtnetlinkPathMonitor::Watch::cancel() {
    UpdateHandler dropped; // destroyed after the lock is released
    const std::lock_guard lock(m_handlerMutex);
    m_isCancelled = true;
    dropped.swap(m_handler);
}

bool RtnetlinkPathMonitor::Watch::isCancelled() {
    const std::lock_guard lock(m_handlerMutex);
    return m_isCancelled;
}

void RtnetlinkPathMonitor::Watch::open() {
    if (isCancelled())
        return;
    if (!connect()) {
        fail(errno);
        return;
    }
    m_notifier.reset(new QSocketNotifier(mnl_socket_get_fd(m_socket.get()), QSocketNotifier::Read));
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [this] { receive(); });
    listEverything();
    receive();
}

void RtnetlinkPathMonitor::Watch::close() {
    closeSocket();
    m_reopenTimer.reset();
}

void RtnetlinkPathMonitor::Watch::closeSocket() {
    if (m_reopenTimer)
        m_reopenTimer->stop();
    if (m_notifier)
        m_notifier->setEnabled(false);
    m_notifier.reset();
    m_socket.reset();
    m_runningList.reset();
}

/// Subscribes to announcements before anything is listed, so that no change is missed in between.
/// On failure returns false and leaves errno set.
bool RtnetlinkPathMonitor::Watch::connect() {
    m_socket.reset(mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!m_socket)
        return false;
    if (m_options.receiveBufferSize > 0) {
        const int size = m_options.receiveBufferSize;
        if (::setsockopt(mnl_socket_get_fd(m_socket.get()), SOL_SOCKET, SO_RCVBUF, &size,
                         sizeof size) != 0)
            return false;
    }
    return mnl_socket_bind(m_socket.get(), announcements, MNL_SOCKET_AUTOPID) == 0;
}

/// Reads until the socket is empty and only then requests the next list, because the kernel needs
/// room in the receive buffer for the beginning of its reply.
void RtnetlinkPathMonitor::Watch::receive() {
    while (m_socket && !isCancelled()) {
        const ssize_t length = m_options.receive(m_socket.get(), m_buffer.data(), m_buffer.size());
        if (length >= 0) {
            applyReceived(static_cast<int>(length));
        } else if (errno == EAGAIN) {
            if (!requestNextListing())
                return;
        } else if (errno == ENOBUFS || errno == ENOSPC) {
            // Announcements were dropped or truncated.
            LumvikLog::network().debug(QStringLiteral(
                "Announcements of network changes were lost; listing the interfaces again."));
            listEverything();
        } else if (errno != EINTR) {
            fail(errno);
        }
    }
}

void RtnetlinkPathMonitor::Watch::applyReceived(int length) {
    const auto *message = reinterpret_cast<const nlmsghdr *>(m_buffer.data());
    for (; m_socket && mnl_nlmsg_ok(message, length); message = mnl_nlmsg_next(message, &length)) {
        apply(*message);
        reportIfChanged();
    }
}

void RtnetlinkPathMonitor::Watch::apply(const nlmsghdr &message) {
    const bool isReply = message.nlmsg_seq == m_sequence &&
                         message.nlmsg_pid == mnl_socket_get_portid(m_socket.get());
    // The network changed while the kernel assembled the list, which may therefore lack existing
    // entries.
    if (isReply && (message.nlmsg_flags & NLM_F_DUMP_INTR) != 0)
        m_isListIncomplete = true;
    if (isReply && m_runningList)
        reopenAfter(m_options.answerTimeout);

    if (message.nlmsg_type == NLMSG_DONE || message.nlmsg_type == NLMSG_ERROR) {
        const int error = listError(message);
        // The kernel reports ENOBUFS when it has no room for the beginning of its reply, and sends
        // the reply later.
        if (!isReply || !m_runningList || (message.nlmsg_type == NLMSG_ERROR && error == ENOBUFS))
            return;
        if (error != 0)
            fail(error);
        else
            finishListing();
        return;
    }
    m_table.apply(message);
}

void RtnetlinkPathMonitor::Watch::listEverything() {
    m_isDue.fill(true);
    m_isListIncomplete = m_runningList.has_value();
}

/// Requests the next list that is due. Returns false if none is due or one is running, because the
/// kernel sends only one list at a time.
bool RtnetlinkPathMonitor::Watch::requestNextListing() {
    if (m_runningList)
        return false;
    for (std::size_t n = 0; n < allListings.size(); ++n) {
        if (!std::exchange(m_isDue[n], false))
            continue;
        m_runningList = allListings[n];
        m_isListIncomplete = false;
        m_table.beginListing(allListings[n]);
        alignas(nlmsghdr) std::array<char, 256> request{};
        nlmsghdr *message = mnl_nlmsg_put_header(request.data());
        putRequest(*message, allListings[n]);
        message->nlmsg_seq = ++m_sequence;
        if (mnl_socket_sendto(m_socket.get(), message, message->nlmsg_len) < 0) {
            fail(errno);
            return false;
        }
        reopenAfter(m_options.answerTimeout);
        return true;
    }
    return false;
}

void RtnetlinkPathMonitor::Watch::finishListing() {
    m_reopenTimer->stop();
    const Listing finished = *std::exchange(m_runningList, std::nullopt);
    if (std::exchange(m_isListIncomplete, false))
        m_isDue[static_cast<std::size_t>(finished)] = true;
    else
        m_table.endListing();
}

void RtnetlinkPathMonitor::Watch::reportIfChanged() {
    // Until the first lists are complete, the table contains only part of the network.
    const bool isComplete = !m_runningList && m_isDue == decltype(m_isDue){};
    if (!m_socket || (!m_reported && !isComplete))
        return;
    m_hasFailed = m_hasFailed && !isComplete;
    if (isComplete)
        m_failures = 0;
    NetworkState usable = usableNetwork(m_table.state());
    if (m_reported == usable)
        return;
    m_reported = std::move(usable);
    report(networkPathSignature(*m_reported));
}

void RtnetlinkPathMonitor::Watch::report(const NetworkPathSignature &signature) {
    const std::lock_guard lock(m_handlerMutex);
    if (m_handler)
        m_handler(signature);
}

void RtnetlinkPathMonitor::Watch::fail(int error) {
    closeSocket();
    const bool isFirstFailure = !std::exchange(m_hasFailed, true);
    if (m_reported) {
        // The last report is still the best information available. A different report would
        // interrupt working connections.
        if (isFirstFailure) {
            LumvikLog::network().info(
                QStringLiteral("Network changes cannot be followed for the moment: %1.")
                    .arg(qt_error_string(error)));
        }
        reopenAfter(m_options.reopenInterval);
        if (++m_failures < failuresUntilUnknown || !m_reported->interfaces.empty())
            return;
        // The network may have returned unnoticed. Without this report, playback would never
        // resume.
        LumvikLog::network().error(
            QStringLiteral("Network changes can no longer be followed; assuming a network."));
        m_reported.reset();
        report({.isSatisfied = true});
        return;
    }
    reopenAfter(m_options.startInterval);
    if (isFirstFailure) {
        LumvikLog::network().error(
            QStringLiteral("Network changes cannot be followed: %1.").arg(qt_error_string(error)));
        report({.isSatisfied = true});
    }
}

/// Closes and reopens the socket after `delay`, unless the timer is stopped or restarted first. A
/// new socket is necessary because the kernel refuses a second request on a socket whose reply is
/// still outstanding.
void RtnetlinkPathMonitor::Watch::reopenAfter(std::chrono::milliseconds delay) {
    if (!m_reopenTimer) {
        m_reopenTimer.reset(new QTimer);
        m_reopenTimer->setSingleShot(true);
        QObject::connect(m_reopenTimer.get(), &QTimer::timeout, m_reopenTimer.get(), [this] {
            if (m_runningList && m_reported) {
                fail(ETIMEDOUT); // the kernel has not sent the rest of a list
                return;
            }
            closeSocket();
            open();
        });
    }
    m_reopenTimer->start(delay);
}

RtnetlinkPathMonitor::RtnetlinkPathMonitor() : RtnetlinkPathMonitor(Options{}) {}

RtnetlinkPathMonitor::RtnetlinkPathMonitor(Options options)
    : m_watch(std::make_shared<Watch>(std::move(options))) {}

RtnetlinkPathMonitor::~RtnetlinkPathMonitor() {
    cancel();
}

void RtnetlinkPathMonitor::setPathUpdateHandler(UpdateHandler handler) {
    m_watch->setHandler(std::move(handler));
}

void RtnetlinkPathMonitor::start(SerialQueue &queue) {
    if (m_queue)
        return;
    m_queue = &queue;
    queue.async([watch = m_watch] { watch->open(); });
}

void RtnetlinkPathMonitor::cancel() {
    m_watch->cancel();
    // The socket must be closed on the thread that reads from it.
    if (m_queue)
        m_queue->async([watch = m_watch] { watch->close(); });
}

} // namespace lumvik
