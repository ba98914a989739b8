#include "supervision/FrameIntervals.h"

#include <algorithm>
#include <utility>

namespace lumvik {

namespace {

/// The median of fewer intervals would depend on a single pause.
constexpr std::size_t fewestIntervals = 3;

} // namespace

void FrameIntervals::frameWasShown(TimeStamp now) {
    const std::optional<TimeStamp> previous = std::exchange(m_lastFrame, now);
    if (!previous)
        return;
    m_intervals.at(m_next) = std::max(0.0, now - *previous);
    m_next = (m_next + 1) % capacity;
    m_count = std::min(m_count + 1, capacity);
}

double FrameIntervals::usual() const {
    if (m_count < fewestIntervals)
        return 0;
    std::array<double, capacity> sorted = m_intervals;
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(m_count / 2);
    std::nth_element(sorted.begin(), middle, sorted.begin() + static_cast<std::ptrdiff_t>(m_count));
    return *middle;
}

} // namespace lumvik
