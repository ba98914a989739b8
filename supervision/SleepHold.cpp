#include "supervision/SleepHold.h"

#include <utility>

namespace lumvik {

SleepHold::SleepHold(MainQueue &queue) : m_queue(queue) {}

SleepHold::~SleepHold() {
    release();
}

void SleepHold::keep(SleepMonitor::SleepDelay delay, double longest) {
    release();
    m_delay = std::move(delay);
    m_limit = m_queue.after(longest, [this] { release(); }); // cancelled before this is gone
}

void SleepHold::release() {
    if (m_limit)
        m_limit->cancel();
    m_limit.reset();
    m_delay.reset();
}

} // namespace lumvik
