#pragma once

#include <QString>

#include <xcb/xcb.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace lumvik::test {

/// How long a program lets the user wait: asks its window twenty times a second, from construction
/// to destruction, for a sign of life, as a window manager does of a window that seems to hang. The
/// toolkit answers from the event loop of the program's main thread.
///
/// It works on a thread and a connection of its own.
class Responsiveness {
  public:
    Responsiveness(const QString &display, xcb_window_t window);
    Responsiveness(const Responsiveness &) = delete;
    Responsiveness &operator=(const Responsiveness &) = delete;
    ~Responsiveness();

    /// The longest wait for an answer so far, that for one which has not come included.
    [[nodiscard]] std::chrono::milliseconds longest() const;
    /// How many answers have come.
    [[nodiscard]] int answers() const { return m_answers; }

  private:
    void run(xcb_connection_t *connection, xcb_window_t window);

    std::atomic_bool m_isEnding = false;
    std::atomic_int m_answers = 0;
    std::atomic<std::chrono::milliseconds::rep> m_longest = 0;
    std::thread m_thread;
};

} // namespace lumvik::test
