#include "style/Contrast.h"

#include <QColor>

#include <algorithm>
#include <cmath>

namespace lumvik {

namespace {

/// Returns the intensity of a component of an sRGB colour. The constants are those of sRGB, as the
/// guidelines state them.
double linearIntensity(double component) {
    return component <= 0.03928 ? component / 12.92 : std::pow((component + 0.055) / 1.055, 2.4);
}

/// From 0 for black to 1 for white.
double relativeLuminance(const QColor &colour) {
    return 0.2126 * linearIntensity(colour.redF()) + 0.7152 * linearIntensity(colour.greenF()) +
           0.0722 * linearIntensity(colour.blueF());
}

} // namespace

double contrast(const QColor &one, const QColor &other) {
    constexpr double flare = 0.05; // the light that a screen reflects, according to the guidelines
    const double first = relativeLuminance(one);
    const double second = relativeLuminance(other);
    return (std::max(first, second) + flare) / (std::min(first, second) + flare);
}

} // namespace lumvik
