#pragma once

#include <functional>

namespace lumvik {

class SerialQueue;

/// What the machine's network can be used for, as four answers. Two are equal when all answers are.
struct NetworkPathSignature {
    bool isSatisfied = false;  ///< A camera could be reached: some interface is in use.
    bool usesWiFi = false;     ///< A wireless interface is in use.
    bool usesEthernet = false; ///< A wired Ethernet interface is in use.
    bool usesOther = false;    ///< An interface of another kind is in use: a tunnel, a modem.

    friend bool operator==(const NetworkPathSignature &, const NetworkPathSignature &) = default;
};

/// Watches which network interfaces can be used, from `start` until `cancel`.
class NetworkPathMonitor {
  public:
    using UpdateHandler = std::function<void(const NetworkPathSignature &)>;

    NetworkPathMonitor() = default;
    NetworkPathMonitor(const NetworkPathMonitor &) = delete;
    NetworkPathMonitor &operator=(const NetworkPathMonitor &) = delete;
    /// Cancels.
    virtual ~NetworkPathMonitor() = default;

    /// `handler` runs on the queue given to `start`: once with the present state, then at every
    /// change. Set before `start`.
    virtual void setPathUpdateHandler(UpdateHandler handler) = 0;
    /// Begins to watch, once. `queue` must outlive the monitor.
    virtual void start(SerialQueue &queue) = 0;
    /// Stops watching; once this has returned the handler does not run any more. Harmless when
    /// repeated, and before `start`. Not to be called on the queue itself.
    virtual void cancel() = 0;
};

} // namespace lumvik
