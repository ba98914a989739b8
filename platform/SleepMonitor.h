#pragma once

#include <functional>
#include <memory>

namespace lumvik {

/// Tells when the machine is about to sleep and when it has woken. Main thread only.
class SleepMonitor {
  public:
    /// Holds the machine's sleep off for as long as it lives, within the few seconds that the
    /// system grants.
    using SleepDelay = std::shared_ptr<void>;

    SleepMonitor() = default;
    SleepMonitor(const SleepMonitor &) = delete;
    SleepMonitor &operator=(const SleepMonitor &) = delete;
    virtual ~SleepMonitor() = default;

    /// Begins to watch, once. `willSleep` runs before the machine sleeps, which waits for the given
    /// delay to be dropped (the delay is empty where the system grants none); `didWake` runs after
    /// it has woken.
    virtual void start(std::function<void(SleepDelay)> willSleep,
                       std::function<void()> didWake) = 0;
    /// Stops watching: neither handler runs any more. Harmless when repeated, and before `start`.
    virtual void stop() = 0;
};

} // namespace lumvik
