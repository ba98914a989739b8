#include "supervision/DelayMeter.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace lumvik {

namespace {

constexpr double span = 3; // in seconds
constexpr std::size_t fewestSamples = 3;

void add(std::deque<TimeStamp> &times, TimeStamp time) {
    times.push_back(time);
    while (times.front() < time - span)
        times.pop_front();
}

} // namespace

void DelayMeter::pictureArrived(TimeStamp time) {
    add(m_arrivals, time);
}

void DelayMeter::frameWasShown(TimeStamp time) {
    add(m_frames, time);
}

std::optional<double> DelayMeter::median() const {
    std::vector<double> delays;
    for (const TimeStamp arrival : m_arrivals) {
        const auto frame = std::lower_bound(m_frames.begin(), m_frames.end(), arrival);
        if (frame != m_frames.end() && arrival >= m_frames.front())
            delays.push_back(*frame - arrival);
    }
    if (delays.size() < fewestSamples)
        return std::nullopt;
    const auto middle = delays.begin() + static_cast<std::ptrdiff_t>(delays.size() / 2);
    std::nth_element(delays.begin(), middle, delays.end());
    return *middle;
}

} // namespace lumvik
