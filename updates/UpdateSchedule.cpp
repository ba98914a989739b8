#include "updates/UpdateSchedule.h"

namespace lumvik {

bool automaticUpdateCheckIsDue(const std::optional<QDateTime> &last, const QDateTime &now) {
    if (!last)
        return true;
    const qint64 passed = last->secsTo(now);
    return passed >= automaticUpdateCheckPeriod || passed <= -automaticUpdateCheckPeriod;
}

} // namespace lumvik
