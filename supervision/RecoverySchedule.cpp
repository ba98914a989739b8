#include "supervision/RecoverySchedule.h"

#include <algorithm>
#include <array>

namespace lumvik {

namespace {

constexpr std::array baseDelays{0.5, 1.0, 2.0, 4.0, 8.0, 15.0, 30.0};
constexpr double immediateDelay = 0.5;
constexpr double largestJitter = 0.35;

/// A reload does not help against an engine that is itself in a bad state, so every third attempt
/// in a row replaces it, even when the failure did not ask for that.
constexpr std::int64_t attemptsUntilRecreation = 3;

double baseDelay(std::int64_t number) {
    const auto last = static_cast<std::int64_t>(baseDelays.size()) - 1;
    return baseDelays.at(
        static_cast<std::size_t>(std::clamp(number - 1, static_cast<std::int64_t>(0), last)));
}

} // namespace

RecoveryAttempt recoveryAttempt(std::int64_t number, RecoveryUrgency urgency,
                                PlayerRecreation recreation, double random) {
    const double base = urgency == RecoveryUrgency::immediate ? immediateDelay : baseDelay(number);
    return {.delay = base + random * largestJitter,
            .recreatesPlayer =
                recreation == PlayerRecreation::forced || number % attemptsUntilRecreation == 0};
}

} // namespace lumvik
