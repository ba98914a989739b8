#pragma once

#include "platform/FileDescriptor.h"
#include "platform/network/HostLookup.h"
#include "platform/network/NetworkConnection.h"

#include <memory>

namespace lumvik {

/// A NetworkConnection that uses a plain system socket and works on the queue's thread.
///
/// The addresses of a name are tried in order until one connects. An address that does not answer
/// within a second is passed over at first and tried again with more time. If no address connects,
/// the connection fails. If the machine has no route to any of the addresses, or if no name server
/// is reachable, the connection waits and retries several times a second until it is cancelled.
/// Proxies are ignored.
///
/// Qt's socket class is not used because it reports a missing route, an unreachable host and a
/// time-out as the same error.
///
/// `start` reports `preparing`. Removing the handler waits until a running call of the handler has
/// returned, unless the handler removes itself. A handler must therefore not wait for the thread
/// that removes it.
class TcpConnection final : public NetworkConnection {
  public:
    TcpConnection(const QString &host, std::uint16_t port,
                  NameResolver resolver = resolveWithSystem);
    /// Removes the handler and cancels the connection.
    ~TcpConnection() override;

    void setStateUpdateHandler(StateUpdateHandler handler) override;
    void start(SerialQueue &queue) override;
    void cancel() override;
    [[nodiscard]] ConnectionFailure failure() const override;

    /// Takes the connected socket, which is non-blocking, out of a connection that has reported
    /// `ready`. The connection reports nothing more. Call on the queue's thread. Returns a closed
    /// descriptor in any other state.
    [[nodiscard]] FileDescriptor takeSocket();

  private:
    class Attempt;
    std::shared_ptr<Attempt> m_attempt;
};

} // namespace lumvik
