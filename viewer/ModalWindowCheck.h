#pragma once

namespace lumvik {

/// Whether an alert waits for the user, who can do nothing with the viewer before: one for the
/// whole program, or one that hangs on the viewer. What does not come by pointer or key, which the
/// toolkit holds back itself, asks this: assistive technology, and other starts of the program.
/// Main thread only.
[[nodiscard]] bool modalWindowBlocksViewer();

} // namespace lumvik
