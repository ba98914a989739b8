#include "style/LumvikPalette.h"

namespace lumvik::LumvikPalette {

const QColor &mirel() {
    static const QColor colour(203, 93, 82);
    return colour;
}

const QColor &mirelBehindText() {
    static const QColor colour(189, 85, 74);
    return colour;
}

} // namespace lumvik::LumvikPalette
