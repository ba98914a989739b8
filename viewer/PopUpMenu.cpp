#include "viewer/PopUpMenu.h"

#include <QMenu>
#include <QWindow>

namespace lumvik {

void popUpMenu(QMenu &menu, QWindow &window, const QPoint &position, QAction *active) {
    menu.winId(); // makes the menu's own window
    menu.windowHandle()->setTransientParent(&window);
    menu.popup(window.mapToGlobal(position));
    if (active != nullptr)
        menu.setActiveAction(active);
}

} // namespace lumvik
