#pragma once

#include "platform/FileDescriptor.h"

#include <functional>
#include <thread>

namespace lumvik {

/// Detects, on a separate thread, that the display server has closed its end of the connection. The
/// main thread may be unable to notice this, because a graphics driver can block it while sending
/// frames to a display server that no longer exists.
///
/// The monitor reads no data from the connection, because all data is for the toolkit.
class DisplayConnectionMonitor {
  public:
    /// Monitors the socket `descriptor`. The socket belongs to the caller, who must keep it open
    /// while the monitor exists. `closed` is called at most once, on the monitor's thread.
    DisplayConnectionMonitor(int descriptor, std::function<void()> closed);
    DisplayConnectionMonitor(const DisplayConnectionMonitor &) = delete;
    DisplayConnectionMonitor &operator=(const DisplayConnectionMonitor &) = delete;
    /// Waits for `closed` to return if it is running.
    ~DisplayConnectionMonitor();

  private:
    FileDescriptor m_stop; ///< An eventfd that tells the thread to end.
    std::thread m_thread;
};

} // namespace lumvik
