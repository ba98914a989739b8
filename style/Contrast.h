#pragma once

class QColor;

namespace lumvik {

/// Returns the contrast ratio of two opaque colours as the Web Content Accessibility Guidelines 2.1
/// define it: from 1 for equal colours to 21 for black and white. The guidelines ask for 4.5 for
/// text and for 3 for symbols and the edges of controls.
[[nodiscard]] double contrast(const QColor &one, const QColor &other);

} // namespace lumvik
