#pragma once

#include <QIcon>
#include <QImage>

namespace lumvik {

/// The program's icon at `pixels` by `pixels`, with the corners left transparent. Up to 24 pixels
/// it is a simpler drawing. The drawings are in resources/icons.
[[nodiscard]] QImage applicationIconImage(int pixels);

/// The program's icon, drawn anew in every size that it is asked for, so that it is sharp at every
/// scale. Main thread only.
[[nodiscard]] QIcon applicationIcon();

} // namespace lumvik
