#pragma once

#include <QString>
#include <QTemporaryDir>

#include <array>

namespace lumvik::test {

/// A message bus that never replies. The bus is a local socket that never accepts a connection.
/// Programs can connect to the socket nevertheless, because the kernel completes their connections.
/// The socket exists from construction to destruction.
///
/// A program uses this bus as the system bus if DBUS_SYSTEM_BUS_ADDRESS contains `address()`.
class UnresponsiveBus {
  public:
    enum class Queue {
        open, ///< Programs can connect.
        full, ///< Connecting blocks, or fails with EAGAIN on a non-blocking socket.
    };

    explicit UnresponsiveBus(Queue queue = Queue::open);
    UnresponsiveBus(const UnresponsiveBus &) = delete;
    UnresponsiveBus &operator=(const UnresponsiveBus &) = delete;
    ~UnresponsiveBus();

    /// Whether the socket could be set up as requested.
    [[nodiscard]] bool isThere() const { return m_isThere; }
    [[nodiscard]] QString address() const;

  private:
    [[nodiscard]] QString path() const;

    QTemporaryDir m_folder;
    int m_socket = -1;
    std::array<int, 3> m_fillers{-1, -1, -1};
    bool m_isThere = false;
};

} // namespace lumvik::test
