#pragma once

#include <QColor>

#include <algorithm>
#include <cmath>

namespace lumvik::test {

/// Returns the relative luminance of an opaque colour, from 0 for black to 1 for white, as the Web
/// Content Accessibility Guidelines 2.1 define it.
inline double relativeLuminance(const QColor &colour) {
    const auto linear = [](double part) {
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

/// Returns the contrast ratio of two opaque colours according to the same guidelines, from 1 to 21.
/// The guidelines ask for 4.5 for text and for 3 for symbols and the outlines of controls.
inline double contrast(const QColor &one, const QColor &other) {
    const double first = relativeLuminance(one);
    const double second = relativeLuminance(other);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

} // namespace lumvik::test
