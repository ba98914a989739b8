#pragma once

#include <QColor>

namespace lumvik::LumvikPalette {

/// The house accent colour, sRGB 203, 93, 82, opaque: selections, first buttons of alerts, the pin
/// that is on.
[[nodiscard]] const QColor &mirel();

} // namespace lumvik::LumvikPalette
