#pragma once

#include <QPoint>

class QAction;
class QMenu;
class QWindow;

namespace lumvik {

/// Opens `menu` with its top left corner at `position` in `window`, and highlights `active` if it
/// is not null. The menu becomes a transient child of the window. Window managers therefore keep it
/// above a window that stays on top, and Wayland compositors can place it relative to the window.
void popUpMenu(QMenu &menu, QWindow &window, const QPoint &position, QAction *active = nullptr);

/// Closes all open menus, starting with the innermost submenu.
void closePopUpMenus();

} // namespace lumvik
