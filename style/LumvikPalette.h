#pragma once

#include <QColor>

namespace lumvik::LumvikPalette {

/// The accent colour, sRGB 203, 93, 82, opaque. Used for selections, default buttons of alerts and
/// the active pin.
[[nodiscard]] const QColor &mirel();

/// The background of white text in a highlighted element, sRGB 189, 85, 74, opaque. White text has
/// a contrast of 4.6:1 to this darker shade of the accent colour. The Web Content Accessibility
/// Guidelines ask for 4.5:1, and the accent colour itself has only 4.0:1.
[[nodiscard]] const QColor &mirelBehindText();

} // namespace lumvik::LumvikPalette
