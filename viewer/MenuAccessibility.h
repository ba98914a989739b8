#pragma once

#include <QString>

class QAccessibleInterface;
class QMenu;
class QObject;

namespace lumvik {

class ViewerControl;

/// Makes `menu` and its items available to assistive technology as children of the control that
/// opens the menu, whether or not the menu is open. Qt exposes a menu only as a top-level window,
/// which assistive technology cannot find while the menu is closed. Main thread only.
void describeMenuOf(QMenu &menu, ViewerControl &control);

/// Creates the accessible interface of a menu passed to `describeMenuOf`, or of one of its items.
/// Returns null for all other objects. The accessibility factory calls this function with the class
/// name that the factory receives from Qt.
[[nodiscard]] QAccessibleInterface *makeAccessibleMenu(const QString &className, QObject *object);

} // namespace lumvik
