#pragma once

#include <QRect>
#include <QSize>

#include <optional>

namespace lumvik {

/// Returns the largest frame, centred in `visibleArea`, whose content has the aspect ratio `ratio`
/// (width over height). All sizes are in points. `frame` is the window's current frame and
/// `content` the size of the content in it. The margins between the two stay as they are. Without a
/// ratio the content's own aspect ratio is kept, but none narrower than 1 : 4.
[[nodiscard]] QRect temporaryMaximumFrame(const QRect &frame, const QSize &content,
                                          const QRect &visibleArea, std::optional<double> ratio);

} // namespace lumvik
