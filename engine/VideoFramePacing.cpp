#include "engine/VideoFramePacing.h"

#include <algorithm>

namespace lumvik {

VideoFramePacing::Verdict VideoFramePacing::frameAnnounced(TimeStamp now) {
    // Frames pile up while the first one of all is prepared, too.
    const double sinceShown = m_lastShown ? now - *m_lastShown : standstill;
    if (sinceShown >= standstill) {
        m_catchUpEnd = now + std::clamp(sinceShown, 1.0, longestCatchUp);
        m_pauses = 0;
        return Verdict::draw;
    }
    if (now >= m_catchUpEnd)
        return Verdict::draw;
    if (sinceShown >= pause) {
        if (++m_pauses >= pausesUntilCaughtUp)
            m_catchUpEnd = now;
        return Verdict::draw;
    }
    m_pauses = 0;
    return now - m_lastDrawn >= drawingInterval ? Verdict::draw : Verdict::skip;
}

} // namespace lumvik
