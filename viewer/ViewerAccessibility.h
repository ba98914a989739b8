#pragma once

namespace lumvik {

/// Describes the viewer's window to assistive technology, from now on: the picture, the message of
/// the empty state, the menu strip with its titles, the controls, and the menus of both. Harmless
/// when repeated. Main thread only.
///
/// Qt Quick does that itself only once a QML engine has loaded its module, and there is none here.
/// Nothing of it ever holds a camera's address, which may hold a password.
void describeControlsToAssistiveTechnology();

} // namespace lumvik
