#pragma once

#include <QString>

#include <xcb/xcb.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace lumvik::test {

/// Measures the longest time in which a program's window does not reply to a ping. From
/// construction to destruction, the object pings the window up to twenty times per second, as a
/// window manager does to detect a frozen window. The program's toolkit replies to a ping from the
/// event loop of the main thread.
///
/// The measurement uses its own thread and its own X connection.
class Responsiveness {
  public:
    Responsiveness(const QString &display, xcb_window_t window);
    Responsiveness(const Responsiveness &) = delete;
    Responsiveness &operator=(const Responsiveness &) = delete;
    ~Responsiveness();

    /// The longest wait for a reply so far, including the current wait.
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
