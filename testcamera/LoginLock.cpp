#include "testcamera/LoginLock.h"

namespace lumvik::test {

bool LoginLock::accepts(bool isRight, double now) {
    // A camera that starts has not read its users yet, so nobody is counted.
    const bool isStarting = now < m_rules.refuseFirst;
    if (!isStarting && !isLocked(now)) {
        m_wrong = isRight ? 0 : m_wrong + 1;
        if (isRight)
            return true;
        if (m_rules.lockAfter > 0 && m_wrong >= m_rules.lockAfter) {
            m_lockedUntil = now + m_rules.lockTime;
            m_wrong = 0;
        }
    }
    ++m_refusals;
    return false;
}

} // namespace lumvik::test
