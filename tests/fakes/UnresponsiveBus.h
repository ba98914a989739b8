#pragma once

#include <QString>
#include <QTemporaryDir>

#include <array>

namespace lumvik::test {

/// What looks like a message bus and says nothing: a local socket to which programs connect, as the
/// kernel lets them, and at which nobody is. It stands from construction to destruction.
///
/// A program takes it for the system bus with `address()` in DBUS_SYSTEM_BUS_ADDRESS.
class UnresponsiveBus {
  public:
    enum class Queue {
        open, ///< Programs are connected.
        full, ///< They wait for it, or are told to try again.
    };

    explicit UnresponsiveBus(Queue queue = Queue::open);
    UnresponsiveBus(const UnresponsiveBus &) = delete;
    UnresponsiveBus &operator=(const UnresponsiveBus &) = delete;
    ~UnresponsiveBus();

    /// Whether it is what was asked for.
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
