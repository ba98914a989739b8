#pragma once

#include <QRect>
#include <QSize>

#include <optional>

namespace lumvik {

/// The largest frame, centred on `visibleArea` (both in points), whose content has the shape
/// `ratio` (width over height). `frame` is the window's frame now and `content` the size of what
/// lies in it; the difference is what surrounds the content, and stays. Without a ratio the
/// content's own shape is kept, but nothing narrower than 1 : 4.
[[nodiscard]] QRect temporaryMaximumFrame(const QRect &frame, const QSize &content,
                                          const QRect &visibleArea, std::optional<double> ratio);

} // namespace lumvik
