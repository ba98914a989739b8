#pragma once

#include "viewer/KeyboardFocusRing.h"

#include <QColor>

class QPainter;

namespace lumvik {

/// What a control shows about itself and the pointer.
enum class ControlLook {
    idle,
    hovered,  ///< The pointer is over the control.
    pressed,  ///< The mouse button is held on the control, or the control's menu is open.
    disabled, ///< The control does nothing.
};

/// The opacity of the symbol and the text of a control with this look, from 0 to 1.
[[nodiscard]] qreal contentOpacity(ControlLook look);

/// Draws the ground of a control: `shape` filled with `fill`, which is brighter while the pointer
/// is over the control, and brighter still while the control is pressed. A light line along the
/// inner edge makes the control visible on a black picture, where a dark fill alone would not be.
/// The line is one pixel wide at every scale of `painter`, which must not rotate. Main thread only.
void paintControlGround(QPainter &painter, const OutlinedShape &shape, const QColor &fill,
                        ControlLook look);

} // namespace lumvik
