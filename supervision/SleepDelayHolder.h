#pragma once

#include "platform/MainQueue.h"
#include "platform/SleepMonitor.h"

#include <memory>

namespace lumvik {

/// How long the machine's sleep is delayed at most until the stream has stopped, in seconds. The
/// limit applies to an engine that never reports the end of its stream. It stays well below the
/// five seconds that the system grants, because the user is waiting for the machine to sleep.
inline constexpr double longestSleepDelay = 2;

/// Keeps the machine's sleep delayed while the stream is being stopped, up to a limit. Owned by the
/// controller. Its destruction drops the delay. Main thread only.
class SleepDelayHolder {
  public:
    /// `queue` must outlive the holder.
    explicit SleepDelayHolder(MainQueue &queue);
    SleepDelayHolder(const SleepDelayHolder &) = delete;
    SleepDelayHolder &operator=(const SleepDelayHolder &) = delete;
    ~SleepDelayHolder();

    /// Keeps `delay`, which may be empty, until `release` is called or `longest` seconds (at least
    /// 0) have passed. Drops the delay that it kept before.
    void keep(SleepMonitor::SleepDelay delay, double longest);
    /// Drops the delay, if there is one.
    void release();

  private:
    MainQueue &m_queue;
    SleepMonitor::SleepDelay m_delay;
    std::shared_ptr<WorkItem> m_limit; // scheduled while there is a delay
};

} // namespace lumvik
