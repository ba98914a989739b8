#pragma once

#include <QDateTime>

#include <cstdint>
#include <optional>

namespace lumvik {

/// The shortest time between two automatic checks, in seconds: one day.
inline constexpr std::int64_t automaticUpdateCheckPeriod = 86'400;

/// Returns whether an automatic update check is due at `now`, when the last successful check was at
/// `last`. A date that lies a whole period or more in the future was stored while the clock was
/// wrong and is ignored.
[[nodiscard]] bool automaticUpdateCheckIsDue(const std::optional<QDateTime> &last,
                                             const QDateTime &now);

} // namespace lumvik
