#pragma once

namespace lumvik {

/// Whether a mouse button is held down now. While the window manager moves or resizes a window, the
/// toolkit hears nothing of the mouse, not even of the release; so on X11 the server is asked. Main
/// thread only.
[[nodiscard]] bool mouseButtonIsDown();

} // namespace lumvik
