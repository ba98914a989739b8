#pragma once

#include <QString>

#include <array>
#include <cstdint>

namespace lumvik {

/// When recovery attempts are made and what they do. Times are in seconds.
struct RecoveryPolicy {
    /// The delays before consecutive attempts, in order. Later attempts use the last delay.
    std::array<double, 7> backOffDelays;
    /// The short delay before an attempt that is made because the cause of the failure is over.
    double immediateDelay;
    /// A random part of this time is added to every delay.
    double longestJitter;
    /// Every attempt whose number is a multiple of this number re-creates the player.
    std::int64_t attemptsPerRecreation;
    /// Once a stream has shown pictures for this long, the next attempt counts as the first.
    double shortestProvenStream;
};

/// The policy of the program.
///
/// A short interruption is repaired within a second, while a camera that is switched off for days
/// costs one attempt every 30 s. Half a second is enough for an interface that has just come up to
/// accept connections. The jitter keeps several viewers that have lost the same camera from
/// returning to it at the same moment. A reload does not help if the engine itself is in a bad
/// state, so every third attempt in a row replaces it. A camera that ends each stream after a few
/// pictures, for example because it serves too many viewers, must not be asked twice a second: such
/// streams count as failures.
inline constexpr RecoveryPolicy recoveryPolicy{
    .backOffDelays = {0.5, 1.0, 2.0, 4.0, 8.0, 15.0, 30.0},
    .immediateDelay = 0.5,
    .longestJitter = 0.35,
    .attemptsPerRecreation = 3,
    .shortestProvenStream = 5.0,
};

/// How soon a recovery attempt is made.
enum class RecoveryUrgency {
    afterBackOff, ///< After the delay for its number.
    immediate,    ///< After `immediateDelay`, because the cause of the failure is over.
};

/// Whether a recovery attempt re-creates the player instance.
enum class PlayerRecreation {
    ifDue,  ///< Reloads the camera, unless the policy requires a new instance for this attempt.
    forced, ///< Always creates a new instance.
};

/// A request for a recovery attempt.
struct PlaybackRecovery {
    QString reason; ///< For the log.
    RecoveryUrgency urgency = RecoveryUrgency::afterBackOff;
    PlayerRecreation recreation = PlayerRecreation::ifDue;
};

/// A planned recovery attempt.
struct RecoveryAttempt {
    double delay = 0;             ///< In seconds from now.
    bool recreatesPlayer = false; ///< Whether the player is re-created rather than reloaded.
};

/// Plans the attempt with the given number, according to `recoveryPolicy`. Attempt 1 is the first
/// one since a frame was drawn or a camera was chosen. `random` is in [0, 1) and selects the
/// jitter.
[[nodiscard]] RecoveryAttempt recoveryAttempt(std::int64_t number, RecoveryUrgency urgency,
                                              PlayerRecreation recreation, double random);

} // namespace lumvik
