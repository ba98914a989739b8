#pragma once

namespace lumvik {

/// Whether an open alert blocks the viewer: an alert for the whole program, or one that is attached
/// to the viewer. Qt itself blocks the pointer and the keyboard during an alert. Qt does not block
/// actions of assistive technology and requests of later instances, so their handlers must call
/// this function. Main thread only.
[[nodiscard]] bool modalWindowBlocksViewer();

} // namespace lumvik
