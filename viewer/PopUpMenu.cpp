#include "viewer/PopUpMenu.h"

#include <QApplication>
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

void closePopUpMenus() {
    QWidget *last = nullptr;
    for (QWidget *popup = QApplication::activePopupWidget(); popup != nullptr && popup != last;
         popup = QApplication::activePopupWidget()) {
        last = popup; // one that refuses would be met again
        popup->close();
    }
}

} // namespace lumvik
