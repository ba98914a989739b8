#pragma once

namespace lumvik {

/// Describes the viewer's window, its menu strip and its controls to assistive technology, from now
/// on. Harmless when repeated. Main thread only.
///
/// Qt Quick does that itself only once a QML engine has loaded its module, and there is none here.
void describeControlsToAssistiveTechnology();

} // namespace lumvik
