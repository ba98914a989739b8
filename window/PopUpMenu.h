#pragma once

#include <QPoint>

class QAction;
class QMenu;
class QWindow;

namespace lumvik {

/// Opens `menu` over `window` with its top left corner at `position` in the window, and `active`,
/// if any, highlighted. The menu belongs to the window for the window manager, so that it stays
/// above a window that stays on top and is placed right where clients cannot place windows
/// themselves.
void popUpMenu(QMenu &menu, QWindow &window, const QPoint &position, QAction *active = nullptr);

/// Closes every menu that is open, from the innermost out.
void closePopUpMenus();

} // namespace lumvik
