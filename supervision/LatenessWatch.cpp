#include "supervision/LatenessWatch.h"

namespace lumvik {

bool LatenessWatch::takeLateness(double lateness, TimeStamp now) {
    if (lateness <= tooLate) {
        m_tooLateSince.reset();
        return false;
    }
    if (!m_tooLateSince)
        m_tooLateSince = now;
    if (now - *m_tooLateSince < patience || now - m_lastReplacement < shortestInterval)
        return false;
    m_lastReplacement = now;
    m_tooLateSince.reset();
    return true;
}

} // namespace lumvik
