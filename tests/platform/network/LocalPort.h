#pragma once

#include "platform/FileDescriptor.h"

#include <cstdint>
#include <vector>

namespace lumvik::test {

/// A port that is bound to a local address while this object exists, and whose behaviour towards
/// clients can be chosen. The port belongs to the network namespace of the thread that creates it.
class LocalPort {
  public:
    enum class Behaviour {
        refusing,  ///< Bound but not listening.
        listening, ///< Connections are accepted.
        full,      ///< The backlog is full, so further connections get no answer.
    };

    explicit LocalPort(Behaviour behaviour, const char *address = "127.0.0.1");

    /// Returns false if the system has no such address or does not support its family.
    [[nodiscard]] bool isBound() const { return m_isBound; }
    [[nodiscard]] std::uint16_t port() const { return m_port; }

    /// Accepts the next connection. Returns false if none arrives within the deadline.
    [[nodiscard]] bool accept();
    /// Accepts and closes all connections so far, so that the backlog does not fill.
    void acceptAndCloseAll() const;
    /// Returns whether the accepted connection is open and no data has arrived over it.
    [[nodiscard]] bool peerIsIdle() const;
    /// Returns whether the accepted connection ends without any data and without a reset.
    [[nodiscard]] bool peerEndsCleanly() const;

  private:
    FileDescriptor m_listener;
    FileDescriptor m_peer;
    bool m_isBound = false;
    std::uint16_t m_port = 0;
    std::vector<FileDescriptor> m_fillers;
};

} // namespace lumvik::test
