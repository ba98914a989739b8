#pragma once

#include <QColor>

namespace lumvik::LumvikPalette {

/// The accent colour, sRGB 203, 93, 82, opaque. Used for selections, default buttons of alerts and
/// the active pin.
[[nodiscard]] const QColor &mirel();

} // namespace lumvik::LumvikPalette
