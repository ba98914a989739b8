#include "window/WindowFrameMemory.h"

namespace lumvik {

void WindowFrameMemory::note(const QString &saved, TimeStamp now) {
    // The first frame is the one that the window was created with. The first frame counts as
    // settled, because there is no earlier frame.
    if (m_settled.isEmpty())
        m_settled = saved;
    else if (now - m_latestAt >= settlingTime)
        m_settled = m_latest;
    m_latest = saved;
    m_latestAt = now;
}

std::optional<QString> WindowFrameMemory::frameBeforeChange(TimeStamp now) const {
    if (m_settled.isEmpty() || now - m_latestAt >= settlingTime || m_settled == m_latest)
        return std::nullopt;
    return m_settled;
}

} // namespace lumvik
