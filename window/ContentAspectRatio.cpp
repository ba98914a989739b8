#include "window/ContentAspectRatio.h"

#include <algorithm>
#include <cmath>

namespace lumvik {

QSize sizeWithAspectRatio(const QSize &size, ContentAspectRatio ratio, const QSize &minimum,
                          const QSize &maximum) {
    if (ratio.isEmpty() || size.isEmpty())
        return size;
    const double quotient = static_cast<double>(ratio.width) / ratio.height;
    if (std::abs(size.width() - size.height() * quotient) <= 1.0 ||
        std::abs(size.height() - size.width() / quotient) <= 1.0)
        return size;

    double width = std::sqrt(static_cast<double>(size.width()) * size.height() * quotient);
    if (!maximum.isEmpty())
        width =
            std::min({width, static_cast<double>(maximum.width()), maximum.height() * quotient});
    width = std::max({width, static_cast<double>(minimum.width()), minimum.height() * quotient});
    return {static_cast<int>(std::lround(width)), static_cast<int>(std::lround(width / quotient))};
}

QSize smallestSizeOnScreen(const QSize &wanted, ContentAspectRatio ratio, const QSize &available) {
    if (ratio.isEmpty() || available.isEmpty())
        return wanted;
    const QSize largest = QSize(ratio.width, ratio.height).scaled(available, Qt::KeepAspectRatio);
    return wanted.boundedTo(largest.expandedTo({1, 1}));
}

} // namespace lumvik
