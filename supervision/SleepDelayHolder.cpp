#include "supervision/SleepDelayHolder.h"

#include <utility>

namespace lumvik {

SleepDelayHolder::SleepDelayHolder(MainQueue &queue) : m_queue(queue) {}

SleepDelayHolder::~SleepDelayHolder() {
    release();
}

void SleepDelayHolder::keep(SleepMonitor::SleepDelay delay, double longest) {
    release();
    m_delay = std::move(delay);
    m_limit = m_queue.after(longest, [this] { release(); }); // cancelled by the destructor
}

void SleepDelayHolder::release() {
    if (m_limit)
        m_limit->cancel();
    m_limit.reset();
    m_delay.reset();
}

} // namespace lumvik
