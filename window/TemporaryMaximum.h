#pragma once

#include <QRect>
#include <QSize>

#include <optional>

namespace lumvik {

/// Returns the largest frame, centred in `visibleArea`, whose content has the aspect ratio `ratio`
/// (width over height). All sizes are in points. `frame` is the window's current frame and
/// `content` the size of the content in it. The margins between the frame and the content stay as
/// they are. Without a ratio, the content keeps its own aspect ratio, unless that is narrower than
/// 1 : 4; then 1 : 4 is used.
[[nodiscard]] QRect temporaryMaximumFrame(const QRect &frame, const QSize &content,
                                          const QRect &visibleArea, std::optional<double> ratio);

} // namespace lumvik
