#pragma once

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>

namespace lumvik {

class SerialQueue;

/// Why a connection cannot be made.
enum class ConnectionFailure {
    none,
    nameNotFound,
    noNameServer, ///< No name server was reachable, or none could answer at the moment.
    refused,      ///< The host is there, but nothing listens on the port.
    unreachable,  ///< The host does not answer, or no route leads to it.
};

/// A plain TCP connection to a host, used to find out whether the host is reachable.
class NetworkConnection {
  public:
    enum class State {
        preparing, ///< Looking up the name or connecting.
        waiting,   ///< No route or interface at the moment; retrying.
        failed,    ///< Refused, unreachable, not found or timed out. Final.
        ready,     ///< Connected.
        cancelled, ///< Ended by `cancel`. Final.
    };
    using StateUpdateHandler = std::function<void(State)>;

    NetworkConnection() = default;
    NetworkConnection(const NetworkConnection &) = delete;
    NetworkConnection &operator=(const NetworkConnection &) = delete;
    /// Cancels the connection without waiting for a pending look-up.
    virtual ~NetworkConnection() = default;

    /// Sets the handler, which runs on the queue given to `start` at every change of state. An
    /// empty handler removes the previous one. Once this function has returned, the previous
    /// handler is not called again. May be called on any thread.
    virtual void setStateUpdateHandler(StateUpdateHandler handler) = 0;
    /// Starts connecting. Only the first call has an effect. `queue` must outlive the connection.
    virtual void start(SerialQueue &queue) = 0;
    /// Abandons the attempt to connect, or closes the connection. Returns at once. May be called
    /// repeatedly and on any thread.
    virtual void cancel() = 0;
    /// Returns why the connection has reported `failed` or `waiting`. Call on the queue's thread,
    /// for example in the handler.
    [[nodiscard]] virtual ConnectionFailure failure() const = 0;
};

/// Creates an unstarted connection to `port` of `host`, which is a name or a numerical address
/// (IPv6 without brackets).
using NetworkConnectionFactory =
    std::function<std::shared_ptr<NetworkConnection>(const QString &host, std::uint16_t port)>;

} // namespace lumvik
