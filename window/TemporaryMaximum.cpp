#include "window/TemporaryMaximum.h"

#include <algorithm>
#include <cmath>

namespace lumvik {

QRect temporaryMaximumFrame(const QRect &frame, const QSize &content, const QRect &visibleArea,
                            std::optional<double> ratio) {
    constexpr double narrowest = 0.25;
    const int chromeWidth = std::max(frame.width() - content.width(), 0);
    const int chromeHeight = std::max(frame.height() - content.height(), 0);
    const double availableWidth = std::max(visibleArea.width() - chromeWidth, 1);
    const double availableHeight = std::max(visibleArea.height() - chromeHeight, 1);
    const double shape = ratio.value_or(
        std::max(static_cast<double>(content.width()) / std::max(content.height(), 1), narrowest));

    const bool heightLimits = shape < availableWidth / availableHeight;
    const double contentWidth = heightLimits ? availableHeight * shape : availableWidth;
    const double contentHeight = heightLimits ? availableHeight : availableWidth / shape;
    const QSize size(static_cast<int>(std::lround(contentWidth)) + chromeWidth,
                     static_cast<int>(std::lround(contentHeight)) + chromeHeight);
    return {{visibleArea.x() + (visibleArea.width() - size.width()) / 2,
             visibleArea.y() + (visibleArea.height() - size.height()) / 2},
            size};
}

} // namespace lumvik
