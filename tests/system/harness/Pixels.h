#pragma once

#include <QColor>
#include <QImage>
#include <QRect>

namespace lumvik::test {

/// The mean colour inside `area`, which must intersect the picture. Parts outside the picture are
/// ignored.
[[nodiscard]] QColor meanColour(const QImage &picture, QRect area);

/// The largest difference between two colours in any of red, green and blue, 0 to 255.
[[nodiscard]] int colourDistance(const QColor &one, const QColor &other);

/// The share, 0 to 1, of pixels that differ by more than coding noise would explain (24 in any of
/// red, green and blue). Pictures of different sizes count as completely different.
[[nodiscard]] double shareOfDifferentPixels(const QImage &one, const QImage &other);

/// The share, 0 to 1, of pixels inside `area` that are at least `level` (0 to 255) bright.
[[nodiscard]] double shareOfLightPixels(const QImage &picture, QRect area, int level);

/// Whether no pixel inside `area` is brighter than `level` (0 to 255).
[[nodiscard]] bool isDark(const QImage &picture, QRect area, int level);

/// Whether a viewer's window is black apart from grey texts and buttons, and from the pill in the
/// lower left corner.
[[nodiscard]] bool isDarkApartFromTexts(const QImage &window);
/// Whether a viewer's window shows a pill that warns, at one pixel per point.
[[nodiscard]] bool hasWarningPill(const QImage &window);
/// The area of a viewer's window that the pill may cover, at one pixel per point.
[[nodiscard]] QRect pillArea(const QImage &window);

} // namespace lumvik::test
