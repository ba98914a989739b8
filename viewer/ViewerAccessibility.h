#pragma once

namespace lumvik {

/// Makes the viewer's window available to assistive technology: the picture, the messages, the
/// stream details, the menu strip with its titles, the controls, and their menus. Further calls of
/// this function do nothing. Main thread only.
///
/// Qt Quick makes items accessible by itself only after a QML engine has loaded its module, and
/// this program has no QML engine. The descriptions never contain a camera's address, which may
/// contain a password.
void describeViewerToAssistiveTechnology();

} // namespace lumvik
