#pragma once

#include <functional>
#include <thread>

namespace lumvik {

/// Notices that the other end of a connection has gone, on a thread of its own: for one whose owner
/// may be held up by that very event, as a graphics driver is that goes on sending pictures to a
/// display server that no longer exists.
///
/// Nothing is read from the connection.
class DisplayConnectionMonitor {
  public:
    /// Watches the socket `descriptor`, which stays open, and its owner's, for as long as the watch
    /// lives. `hungUp` is called once at most, on the watch's thread.
    DisplayConnectionMonitor(int descriptor, std::function<void()> hungUp);
    DisplayConnectionMonitor(const DisplayConnectionMonitor &) = delete;
    DisplayConnectionMonitor &operator=(const DisplayConnectionMonitor &) = delete;
    /// Waits for `hungUp` to return, should it be running.
    ~DisplayConnectionMonitor();

  private:
    int m_wakeUp = -1; // an eventfd: the watch is over
    std::thread m_thread;
};

} // namespace lumvik
