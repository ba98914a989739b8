#pragma once

#include <QRegion>

namespace lumvik {

/// Returns the pixels that `rect` with round corners of the radius `radius` covers completely or in
/// part. As the mask of a window with a translucent background, this region leaves out the corners
/// where no compositor blends windows, and does not change the soft edges elsewhere. All lengths
/// are in points, and the radius is at most half of the shorter side.
[[nodiscard]] QRegion roundedMask(const QRect &rect, qreal radius);

} // namespace lumvik
