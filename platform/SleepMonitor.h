#pragma once

#include <functional>
#include <memory>

namespace lumvik {

/// Reports when the machine is about to sleep and when it has woken. Main thread only.
class SleepMonitor {
  public:
    /// Delays the machine's sleep while the object exists, for at most the few seconds that the
    /// system grants.
    using SleepDelay = std::shared_ptr<void>;

    SleepMonitor() = default;
    SleepMonitor(const SleepMonitor &) = delete;
    SleepMonitor &operator=(const SleepMonitor &) = delete;
    virtual ~SleepMonitor() = default;

    /// Starts monitoring. Only the first call has an effect. `willSleep` runs before the machine
    /// sleeps; the machine waits until the given delay is dropped. The delay is empty where the
    /// system grants none. `didWake` runs after the machine has woken.
    virtual void start(std::function<void(SleepDelay)> willSleep,
                       std::function<void()> didWake) = 0;
    /// Stops monitoring. Neither handler runs afterwards. `stop` may be called repeatedly, and
    /// before `start`.
    virtual void stop() = 0;
};

} // namespace lumvik
