#include "supervision/ShownLateness.h"

#include <algorithm>
#include <utility>

namespace lumvik {

void ShownLateness::measured(double newest, double largest, TimeStamp now) {
    timeHasPassed(now);
    const double earlier = std::max(std::exchange(m_newest, newest), largest);
    if (earlier - newest < noticeableDifference)
        return;
    if (m_earlier == 0)
        m_earlierUntil = now + catchUpTime;
    m_earlier = std::max(m_earlier, earlier);
    m_frameSince = false;
}

void ShownLateness::frameWasShown(TimeStamp now) {
    m_frameSince = true;
    timeHasPassed(now);
}

void ShownLateness::connectionWasReplaced() {
    m_earlier = std::max(m_earlier, std::exchange(m_newest, 0));
    m_earlierUntil = 0; // the next frame is one of the new connection
    m_frameSince = false;
}

double ShownLateness::value() const {
    return std::max(m_newest, m_earlier);
}

std::optional<TimeStamp> ShownLateness::changesAt() const {
    return m_earlier > 0 && m_frameSince ? std::optional(m_earlierUntil) : std::nullopt;
}

void ShownLateness::timeHasPassed(TimeStamp now) {
    if (m_frameSince && now >= m_earlierUntil)
        m_earlier = 0;
}

} // namespace lumvik
