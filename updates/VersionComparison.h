#pragma once

#include <QString>

#include <compare>
#include <cstdint>
#include <optional>
#include <vector>

namespace lumvik {

/// The number that `text` is: ASCII digits with at most one sign before them and nothing else, not
/// even spaces, within 64 bits.
[[nodiscard]] std::optional<std::int64_t> decimalInteger(QStringView text);

/// The numbers of a version text, in order: one for each non-empty piece between dots.
///
/// Of a piece counts its leading run of numeric characters ("4rc1" is 4), in whichever script they
/// are written. That run is read as a decimal integer; what does not read as one is 0. So 0 stands
/// for a piece without a number in front ("beta", "-1", " 2"), for digits that are not ASCII, and
/// for a number beyond 64 bits.
[[nodiscard]] std::vector<std::int64_t> numericVersionParts(const QString &version);

/// Whether version `a` is earlier than, the same as or later than `b`, by their numbers. Numbers
/// that one of them lacks count as 0: 1.2 and 1.2.0 are the same, and 1.10 is later than 1.9.
[[nodiscard]] std::strong_ordering compareVersions(const QString &a, const QString &b);

} // namespace lumvik
