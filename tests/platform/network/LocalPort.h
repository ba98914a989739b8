#pragma once

#include <cstdint>
#include <vector>

namespace lumvik::test {

/// A port of an address of this machine's, bound for as long as it lives. What connects to it finds
/// it in one of several conditions. Belongs to the network of the thread that makes it.
class LocalPort {
  public:
    enum class Behaviour {
        refusing,  ///< Bound, but nobody listens.
        listening, ///< Connections are taken.
        full,      ///< The queue of connections is full: further ones are never answered.
    };

    explicit LocalPort(Behaviour behaviour, const char *address = "127.0.0.1");
    LocalPort(const LocalPort &) = delete;
    LocalPort &operator=(const LocalPort &) = delete;
    ~LocalPort();

    /// False where the system has no such address, or no such kind of address.
    [[nodiscard]] bool isBound() const { return m_isBound; }
    [[nodiscard]] std::uint16_t port() const { return m_port; }

    /// Takes the next connection; false when none comes.
    [[nodiscard]] bool accept();
    /// Takes and closes what has come so far, so that the queue of connections does not fill.
    void takeAll() const;
    /// Whether the taken connection is open and nothing was sent over it.
    [[nodiscard]] bool peerIsSilent() const;
    /// Whether the taken connection ends without a byte and without a reset.
    [[nodiscard]] bool peerEnds() const;

  private:
    void hangUp();

    int m_listener = -1;
    int m_peer = -1;
    bool m_isBound = false;
    std::uint16_t m_port = 0;
    std::vector<int> m_fillers;
};

} // namespace lumvik::test
