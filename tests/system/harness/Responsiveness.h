#pragma once

#include <QString>

#include <xcb/xcb.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace lumvik::test {

/// Measures how long a program blocks its window. It pings the window twenty times a second from
/// construction to destruction, as a window manager pings a window that seems to be frozen. The
/// toolkit replies from the event loop of the program's main thread.
///
/// The measurement uses a thread and an X connection of its own.
class Responsiveness {
  public:
    Responsiveness(const QString &display, xcb_window_t window);
    Responsiveness(const Responsiveness &) = delete;
    Responsiveness &operator=(const Responsiveness &) = delete;
    ~Responsiveness();

    /// The longest wait for a reply so far, including the current one.
    [[nodiscard]] std::chrono::milliseconds longest() const;
    /// The number of replies received.
    [[nodiscard]] int answers() const { return m_answers; }

  private:
    void run(xcb_connection_t *connection, xcb_window_t window);

    std::atomic_bool m_isEnding = false;
    std::atomic_int m_answers = 0;
    std::atomic<std::chrono::milliseconds::rep> m_longest = 0;
    std::thread m_thread;
};

} // namespace lumvik::test
