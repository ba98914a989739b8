#pragma once

#include "platform/FileDescriptor.h"

#include <QString>

#include <ostream>

namespace lumvik::test {

/// A TCP port of the loopback interface without a camera. The port is reserved for the lifetime of
/// the object.
class UnresponsivePort {
  public:
    enum class Behaviour {
        /// Connections are refused.
        refusing,
        /// Connections are accepted but never get a reply.
        unresponsive,
    };

    explicit UnresponsivePort(Behaviour behaviour);

    /// The address of a supposed camera at this port.
    [[nodiscard]] QString url() const;

  private:
    FileDescriptor m_socket;
    int m_port = 0;
};

/// Makes GoogleTest print a behaviour as text.
inline void PrintTo(UnresponsivePort::Behaviour behaviour, std::ostream *stream) {
    *stream << (behaviour == UnresponsivePort::Behaviour::refusing ? "refusing" : "unresponsive");
}

} // namespace lumvik::test
