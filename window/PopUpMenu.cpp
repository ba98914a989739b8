#include "window/PopUpMenu.h"

#include <QApplication>
#include <QCursor>
#include <QMenu>
#include <QMouseEvent>
#include <QWindow>

namespace lumvik {

namespace {

/// Knows where the pointer was when a menu opened, and keeps the menu from two errors about it.
///
/// A click would not count: a menu ignores one where the pointer already was when it opened, since
/// that is the second half of a double-click on what opened it. It asks the toolkit for that place,
/// which is beyond all numbers until a pointer has moved over the program; the distance to it
/// overflows, and from Qt 6.8 on a mouse that arrives in one motion, or a finger, finds its click
/// ignored wherever it is. More than six motions count as a move in any case. So before a click
/// that is elsewhere than the pointer was, the menu is told often enough that the pointer is where
/// it is.
///
/// The active row would be lost: under Wayland, from Qt 6.8 on, a menu that was opened by a press
/// hears that the pointer left it although it never was there, and the arrow keys would begin at
/// the first row instead of at the active one.
class PointerAtOpening : public QObject {
  public:
    void watch(QMenu &menu) {
        m_place = QCursor::pos();
        m_wasInside = false;
        menu.installEventFilter(this);
    }

    bool eventFilter(QObject *object, QEvent *event) override {
        if (event->type() == QEvent::Leave)
            return !m_wasInside;
        if (event->type() == QEvent::MouseMove) {
            const QPoint place = static_cast<QMouseEvent *>(event)->position().toPoint();
            m_wasInside = m_wasInside || static_cast<QMenu *>(object)->rect().contains(place);
        } else if (event->type() == QEvent::MouseButtonPress) {
            tellThatItMoved(*object, static_cast<QMouseEvent &>(*event));
        }
        return false;
    }

  private:
    void tellThatItMoved(QObject &menu, const QMouseEvent &press) {
        const QPoint moved = press.globalPosition().toPoint() - m_place;
        if (moved.manhattanLength() <= QApplication::startDragDistance())
            return;
        constexpr int motionsThatCount = 7;
        for (int motion = 0; motion < motionsThatCount; ++motion) {
            QMouseEvent move(QEvent::MouseMove, press.position(), press.globalPosition(),
                             Qt::NoButton, Qt::NoButton, press.modifiers());
            QCoreApplication::sendEvent(&menu, &move);
        }
    }

    QPoint m_place; // on the screen
    bool m_wasInside = false;
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
