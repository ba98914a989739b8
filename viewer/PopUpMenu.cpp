#include "viewer/PopUpMenu.h"

#include <QApplication>
#include <QCursor>
#include <QMenu>
#include <QMouseEvent>
#include <QWindow>

namespace lumvik {

namespace {

/// Lets the first click on a menu count that was opened by a key before the pointer had ever been
/// seen.
///
/// A menu ignores a click where the pointer already was when it opened: that is the second half of
/// a double-click on what opened it. It asks the toolkit for that place, which is beyond all
/// numbers until a pointer has moved over the program; the distance to it overflows, and from
/// Qt 6.8 on a mouse that arrives in one motion, or a finger, finds its click ignored wherever it
/// is. More than six motions count as a move in any case. So before a click that is elsewhere than
/// the pointer was, the menu is told often enough that the pointer is where it is.
class PointerAtOpening : public QObject {
  public:
    void watch(QMenu &menu) {
        m_place = QCursor::pos();
        menu.installEventFilter(this);
    }

    bool eventFilter(QObject *menu, QEvent *event) override {
        if (event->type() != QEvent::MouseButtonPress)
            return false;
        const auto &press = static_cast<const QMouseEvent &>(*event);
        const QPoint moved = press.globalPosition().toPoint() - m_place;
        if (moved.manhattanLength() <= QApplication::startDragDistance())
            return false;
        constexpr int motionsThatCount = 7;
        for (int motion = 0; motion < motionsThatCount; ++motion) {
            QMouseEvent move(QEvent::MouseMove, press.position(), press.globalPosition(),
                             Qt::NoButton, Qt::NoButton, press.modifiers());
            QCoreApplication::sendEvent(menu, &move);
        }
        return false;
    }

  private:
    QPoint m_place; // on the screen
};

} // namespace

void popUpMenu(QMenu &menu, QWindow &window, const QPoint &position, QAction *active) {
    menu.winId(); // makes the menu's own window
    menu.windowHandle()->setTransientParent(&window);
    static PointerAtOpening pointer;
    pointer.watch(menu);
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
