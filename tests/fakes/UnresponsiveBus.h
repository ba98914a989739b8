#pragma once

#include <QString>
#include <QTemporaryDir>

#include <array>

namespace lumvik::test {

/// A message bus that never replies: a local socket that programs can connect to, because the
/// kernel completes the connection, but that nothing accepts connections from. It exists from
/// construction to destruction.
///
/// A program uses it as the system bus if DBUS_SYSTEM_BUS_ADDRESS contains `address()`.
class UnresponsiveBus {
  public:
    enum class Queue {
        open, ///< Programs can connect.
        full, ///< Programs wait for a connection, or are told to try again.
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
