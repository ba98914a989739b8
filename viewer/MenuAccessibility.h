#pragma once

#include <QString>

class QAccessibleInterface;
class QMenu;
class QObject;

namespace lumvik {

class ViewerControl;

/// Lets assistive technology find `menu` under the control that opens it, and its items in it, open
/// or not. The toolkit knows a menu as a window of its own only, which nobody finds while it is
/// closed. Main thread only.
void describeMenuOf(QMenu &menu, ViewerControl &control);

/// Makes what assistive technology sees of such a menu or of an item in one; null for every other
/// object. To be called by the accessibility factory, with the object's class as it gets it.
[[nodiscard]] QAccessibleInterface *makeAccessibleMenu(const QString &className, QObject *object);

} // namespace lumvik
