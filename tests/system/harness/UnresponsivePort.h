#pragma once

#include <QString>

#include <ostream>

namespace lumvik::test {

/// A TCP port of the loopback interface behind which no camera is, held for the object's lifetime
/// so that no other program gets it.
class UnresponsivePort {
  public:
    enum class Behaviour {
        /// Connections are refused.
        refusing,
        /// Connections are accepted, and nothing ever comes back.
        silent,
    };

    explicit UnresponsivePort(Behaviour behaviour);
    UnresponsivePort(const UnresponsivePort &) = delete;
    UnresponsivePort &operator=(const UnresponsivePort &) = delete;
    ~UnresponsivePort();

    /// An address that a camera at this port would have.
    [[nodiscard]] QString url() const;

  private:
    int m_socket = -1;
    int m_port = 0;
};

/// For the names of tests.
inline void PrintTo(UnresponsivePort::Behaviour behaviour, std::ostream *stream) {
    *stream << (behaviour == UnresponsivePort::Behaviour::refusing ? "refusing" : "silent");
}

} // namespace lumvik::test
