#pragma once

#include "platform/MainQueue.h"
#include "platform/SleepMonitor.h"

#include <memory>

namespace lumvik {

/// Holds the machine's sleep off while something is finished, and for no longer than that may take.
/// Owned by the controller; letting go of it lets the machine sleep. Main thread only.
class SleepDelayHolder {
  public:
    /// `queue` must outlive the hold.
    explicit SleepDelayHolder(MainQueue &queue);
    SleepDelayHolder(const SleepDelayHolder &) = delete;
    SleepDelayHolder &operator=(const SleepDelayHolder &) = delete;
    ~SleepDelayHolder();

    /// Keeps `delay`, which may be empty, until `release`, or until `longest` seconds (at least 0)
    /// have passed. One that it kept before is dropped.
    void keep(SleepMonitor::SleepDelay delay, double longest);
    /// Drops the delay. Harmless without one.
    void release();

  private:
    MainQueue &m_queue;
    SleepMonitor::SleepDelay m_delay;
    std::shared_ptr<WorkItem> m_limit; // due while there is a delay
};

} // namespace lumvik
