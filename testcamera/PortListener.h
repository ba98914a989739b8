#pragma once

#include "testcamera/GStreamerHandles.h"

#include <QString>

#include <gio/gio.h>

#include <cstdint>
#include <functional>
#include <tl/expected.hpp>

namespace lumvik::test {

/// The camera's TCP port, which can refuse connections temporarily without losing its number.
///
/// While connections are refused, the port stays bound without listening. The system then replies
/// to connection requests with a reset, and no other program can take the port. The class must be
/// used on the main thread with GLib's default context.
class PortListener {
  public:
    using Handler = std::function<void(GObjectPointer<GSocket>)>;

    /// Listens on the numeric `address`. If `port` is 0, any free port is used. The error describes
    /// what failed.
    [[nodiscard]] static tl::expected<std::unique_ptr<PortListener>, QString>
    open(const QString &address, std::uint16_t port, Handler handler);

    PortListener(const PortListener &) = delete;
    PortListener &operator=(const PortListener &) = delete;
    ~PortListener();

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    /// Repeated calls of `refuse` and `listen` have no effect.
    [[nodiscard]] tl::expected<void, QString> refuse();
    [[nodiscard]] tl::expected<void, QString> listen();

  private:
    PortListener() = default;
    [[nodiscard]] tl::expected<void, QString> bind();
    void close();
    void acceptConnection();

    Handler m_handler;
    GObjectPointer<GInetAddress> m_address;
    std::uint16_t m_port = 0;
    GObjectPointer<GSocket> m_socket;
    /// Watches the socket while the socket listens.
    GSource *m_source = nullptr;
};

} // namespace lumvik::test
