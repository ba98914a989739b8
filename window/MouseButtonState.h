#pragma once

namespace lumvik {

/// Returns whether a mouse button is held down now. While the window manager moves or resizes a
/// window, Qt receives no mouse events, not even the release. On X11 this function therefore
/// queries the X server. Main thread only.
[[nodiscard]] bool mouseButtonIsDown();

} // namespace lumvik
