#include "style/RoundedMask.h"

#include <algorithm>
#include <cmath>

namespace lumvik {

QRegion roundedMask(const QRect &rect, qreal radius) {
    const auto corner = static_cast<int>(std::ceil(radius));
    QRegion covered(rect.adjusted(0, corner, 0, -corner));
    for (int row = 0; row < corner; ++row) {
        // The shape is widest at the inner edge of a row of pixels.
        const qreal height = std::max(radius - (row + 1), 0.0);
        const auto inset = static_cast<int>(radius - std::sqrt(radius * radius - height * height));
        const QRect line(rect.left() + inset, rect.top() + row, rect.width() - 2 * inset, 1);
        covered += line;
        covered += line.translated(0, rect.height() - 1 - 2 * row);
    }
    return covered;
}

} // namespace lumvik
