#pragma once

#include <QString>

#include <compare>
#include <cstdint>
#include <optional>
#include <vector>

namespace lumvik {

/// Parses a decimal integer, which consists of ASCII digits, optionally preceded by one sign.
/// Spaces are not allowed. Returns nothing for any other text and for numbers that do not fit into
/// 64 bits.
[[nodiscard]] std::optional<std::int64_t> decimalInteger(QStringView text);

/// Returns the numbers of a version text, in order: one for each non-empty piece between dots.
///
/// The number of a piece is its leading run of numeric characters of any script, read as a decimal
/// integer: "4rc1" yields 4. A run that is not a decimal integer yields 0. The result is therefore
/// 0 for pieces without a leading number ("beta", "-1", " 2"), for runs with digits that are not
/// ASCII, and for numbers that do not fit into 64 bits.
[[nodiscard]] std::vector<std::int64_t> numericVersionParts(const QString &version);

/// Compares two versions number by number. The result is "less" if `a` is the earlier version.
/// Missing numbers count as 0: 1.2 equals 1.2.0, and 1.10 is later than 1.9.
[[nodiscard]] std::strong_ordering compareVersions(const QString &a, const QString &b);

} // namespace lumvik
