#include "style/LumvikPalette.h"

namespace lumvik::LumvikPalette {

const QColor &mirel() {
    static const QColor colour(203, 93, 82);
    return colour;
}

} // namespace lumvik::LumvikPalette
