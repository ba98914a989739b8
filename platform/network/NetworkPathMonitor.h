#pragma once

#include <functional>

namespace lumvik {

class SerialQueue;

/// The kinds of network interfaces that the machine is using.
struct NetworkPathSignature {
    bool isSatisfied = false;  ///< An interface is in use, so a camera may be reachable.
    bool usesWiFi = false;     ///< A wireless interface is in use.
    bool usesEthernet = false; ///< A wired Ethernet interface is in use.
    bool usesOther = false; ///< Another kind of interface is in use, such as a tunnel or a modem.

    friend bool operator==(const NetworkPathSignature &, const NetworkPathSignature &) = default;
};

/// Monitors which network interfaces are usable, from `start` until `cancel`.
class NetworkPathMonitor {
  public:
    using UpdateHandler = std::function<void(const NetworkPathSignature &)>;

    NetworkPathMonitor() = default;
    NetworkPathMonitor(const NetworkPathMonitor &) = delete;
    NetworkPathMonitor &operator=(const NetworkPathMonitor &) = delete;
    /// Cancels the monitor.
    virtual ~NetworkPathMonitor() = default;

    /// Sets the handler, which runs on the queue given to `start`: once with the current state,
    /// then at every change. Must be called before `start`.
    virtual void setPathUpdateHandler(UpdateHandler handler) = 0;
    /// Starts monitoring. Only the first call has an effect. `queue` must outlive the monitor.
    virtual void start(SerialQueue &queue) = 0;
    /// Stops monitoring. Once this function has returned, the handler is not called again. May be
    /// called repeatedly, and before `start`, but not on the queue's thread.
    virtual void cancel() = 0;
};

} // namespace lumvik
