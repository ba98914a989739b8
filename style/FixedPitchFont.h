#pragma once

#include <QFont>

namespace lumvik {

/// Whether all characters of addresses have the same width in `font`. This is measured, because a
/// font can also be chosen in place of one that is not installed, and themes can name any font as
/// their monospaced one. Main thread only.
[[nodiscard]] bool isFixedPitch(const QFont &font);

/// Returns the desktop's monospaced font in the size `points`, or the application's font in the
/// size `otherwise` if the desktop's monospaced font has letters of different widths. One point is
/// one device-independent pixel. Main thread only.
[[nodiscard]] QFont fixedPitchFont(int points, int otherwise);

/// Returns `font` in the size `points` if it has a fixed pitch, and the application's font in the
/// size `otherwise` if it has not.
[[nodiscard]] QFont fixedPitchFont(const QFont &font, int points, int otherwise);

} // namespace lumvik
