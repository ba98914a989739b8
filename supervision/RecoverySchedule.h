#pragma once

#include <QString>

#include <cstdint>

namespace lumvik {

/// How soon an attempt at recovery is made: after the delay for its number, or at once whatever its
/// number, for failures whose cause is known to be over.
enum class RecoveryUrgency { afterBackOff, immediate };

/// What an attempt at recovery does to the player instance.
enum class PlayerRecreation {
    ifDue,  ///< Reloads the camera; every third attempt in a row makes a new instance instead.
    forced, ///< Makes a new instance.
};

/// A request for an attempt at recovery.
struct PlaybackRecovery {
    QString reason; ///< For the log.
    RecoveryUrgency urgency = RecoveryUrgency::afterBackOff;
    PlayerRecreation recreation = PlayerRecreation::ifDue;
};

/// One attempt at recovery: when, and what it does.
struct RecoveryAttempt {
    double delay = 0;             ///< Seconds from now, 0.5 to 30.35.
    bool recreatesPlayer = false; ///< A new player instance, not just a reload.
};

/// The attempt with this number (1 for the first since frames were drawn or a camera was chosen).
/// The delay grows from 0.5 s to 30 s over seven attempts; `random`, in [0, 1), adds up to 0.35 s,
/// so that viewers that lost the same camera together do not all come back together.
[[nodiscard]] RecoveryAttempt recoveryAttempt(std::int64_t number, RecoveryUrgency urgency,
                                              PlayerRecreation recreation, double random);

} // namespace lumvik
