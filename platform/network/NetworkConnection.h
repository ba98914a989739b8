#pragma once

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>

namespace lumvik {

class SerialQueue;

/// A plain TCP connection to a host, for finding out whether it can be reached.
class NetworkConnection {
  public:
    enum class State {
        preparing, ///< The name is looked up, or the connection is being made.
        waiting,   ///< There is no route or interface at the moment; it is tried again.
        failed,    ///< Refused, unreachable, not found, or timed out. Final.
        ready,     ///< Connected.
        cancelled, ///< Ended by `cancel`. Final.
    };
    using StateUpdateHandler = std::function<void(State)>;

    NetworkConnection() = default;
    NetworkConnection(const NetworkConnection &) = delete;
    NetworkConnection &operator=(const NetworkConnection &) = delete;
    /// Cancels, without waiting for a name that is being looked up.
    virtual ~NetworkConnection() = default;

    /// `handler` runs on the queue given to `start`, at every change of the state. An empty one
    /// removes the handler: once this has returned the old one is not begun any more. Any thread.
    virtual void setStateUpdateHandler(StateUpdateHandler handler) = 0;
    /// Begins to connect, once. `queue` must outlive the connection.
    virtual void start(SerialQueue &queue) = 0;
    /// Gives the connection up or closes it; nothing was sent over it. Returns at once. Harmless
    /// when repeated. Any thread.
    virtual void cancel() = 0;
};

/// Makes a connection, not started yet, to `port` of `host`: a name or a numerical address, an IPv6
/// one without brackets.
using NetworkConnectionFactory =
    std::function<std::shared_ptr<NetworkConnection>(const QString &host, std::uint16_t port)>;

} // namespace lumvik
