#include "supervision/RecoverySchedule.h"

#include <algorithm>

namespace lumvik {

namespace {

double backOffDelay(std::int64_t number) {
    const auto &delays = recoveryPolicy.backOffDelays;
    const auto last = static_cast<std::int64_t>(delays.size()) - 1;
    return delays.at(
        static_cast<std::size_t>(std::clamp(number - 1, static_cast<std::int64_t>(0), last)));
}

} // namespace

RecoveryAttempt recoveryAttempt(std::int64_t number, RecoveryUrgency urgency,
                                PlayerRecreation recreation, double random) {
    const double delay = urgency == RecoveryUrgency::immediate ? recoveryPolicy.immediateDelay
                                                               : backOffDelay(number);
    const bool recreationIsDue = number % recoveryPolicy.attemptsPerRecreation == 0;
    return {.delay = delay + random * recoveryPolicy.longestJitter,
            .recreatesPlayer = recreation == PlayerRecreation::forced || recreationIsDue};
}

} // namespace lumvik
