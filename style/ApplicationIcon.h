#pragma once

#include <QIcon>
#include <QImage>

namespace lumvik {

/// Renders the program's icon at `pixels` by `pixels`, with transparent corners. Up to 24 pixels a
/// simpler drawing is used. The drawings are in resources/icons.
[[nodiscard]] QImage applicationIconImage(int pixels);

/// Returns the program's icon. It is rendered separately at each requested size, so it is sharp at
/// every scale. Main thread only.
[[nodiscard]] QIcon applicationIcon();

} // namespace lumvik
