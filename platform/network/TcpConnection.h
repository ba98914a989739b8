#pragma once

#include "platform/network/HostLookup.h"
#include "platform/network/NetworkConnection.h"

#include <memory>

namespace lumvik {

/// A NetworkConnection over a socket of the system, which works on the queue's thread.
///
/// A name's addresses are tried one after another until one is connected. The connection fails when
/// none is, and waits when the machine has a route to none of them or no name server can be asked;
/// it then tries again a few times a second until it is cancelled. Proxies are not asked.
///
/// The socket is the system's and not the toolkit's because the latter reports a missing route, an
/// unreachable host and a time-out as one and the same error.
///
/// `start` reports `preparing`. Removing the handler waits until a handler that is running on the
/// queue's thread has returned, except when it is removed from within that handler; so a handler
/// must not wait for the thread that removes it.
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
