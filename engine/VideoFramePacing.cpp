#include "engine/VideoFramePacing.h"

#include <algorithm>

namespace lumvik {

VideoFramePacing::Verdict VideoFramePacing::frameAnnounced(TimeStamp now) {
    // A backlog also builds up while the very first frame is being prepared.
    const double sinceShown = m_lastShown ? now - *m_lastShown : shortestStall;
    if (sinceShown >= shortestStall) {
        m_catchUpEnd = now + std::clamp(sinceShown, shortestCatchUp, longestCatchUp);
        m_consecutivePauses = 0;
        return Verdict::draw;
    }
    if (now >= m_catchUpEnd)
        return Verdict::draw;
    if (sinceShown >= shortestPause) {
        if (++m_consecutivePauses >= pausesUntilCaughtUp)
            m_catchUpEnd = now;
        return Verdict::draw;
    }
    m_consecutivePauses = 0;
    return now - m_lastDrawn >= drawingInterval ? Verdict::draw : Verdict::skip;
}

} // namespace lumvik
