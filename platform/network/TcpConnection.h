#pragma once

#include "platform/network/HostLookup.h"
#include "platform/network/NetworkConnection.h"

#include <memory>

namespace lumvik {

/// A NetworkConnection that uses a plain system socket and works on the queue's thread.
///
/// The addresses of a name are tried in order until one connects. The connection fails if none
/// does. It waits if the machine has no route to any of them or no name server is reachable; it
/// then retries several times a second until it is cancelled. Proxies are ignored.
///
/// Qt's socket class is not used because it reports a missing route, an unreachable host and a
/// time-out as the same error.
///
/// `start` reports `preparing`. Removing the handler waits until a handler that is running on the
/// queue's thread has returned, unless that handler itself removes it. A handler must therefore not
/// wait for the thread that removes it.
class TcpConnection final : public NetworkConnection {
  public:
    TcpConnection(const QString &host, std::uint16_t port,
                  NameResolver resolver = resolveWithSystem);
    /// Also removes the handler.
    ~TcpConnection() override;

    void setStateUpdateHandler(StateUpdateHandler handler) override;
    void start(SerialQueue &queue) override;
    void cancel() override;

  private:
    class Attempt;
    std::shared_ptr<Attempt> m_attempt;
};

} // namespace lumvik
