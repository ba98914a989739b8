#include "window/PopUpMenu.h"

#include <QApplication>
#include <QCursor>
#include <QMenu>
#include <QMouseEvent>
#include <QWindow>

namespace lumvik {

namespace {

/// Remembers where the pointer was when a menu opened, and works around two faults in QMenu.
///
/// The first fault concerns clicks. A menu ignores a click at the position that the pointer had
/// when the menu opened, because the click may be the second half of a double-click on the control
/// that opened the menu. Until the pointer has moved over one of the program's windows, Qt reports
/// an infinite pointer position, and the calculation of the distance from this position to the
/// click overflows. From Qt 6.8 on, the menu then ignores every tap, and every click of a mouse
/// whose pointer arrived in one motion. After more than six mouse moves, QMenu accepts any click.
/// Before a click at a different position, this filter therefore sends the menu enough mouse moves.
///
/// The second fault concerns the highlighted row. Under Wayland, from Qt 6.8 on, a menu that was
/// opened by a press receives a leave event although the pointer was never inside the menu. The
/// leave event would remove the highlight, and the arrow keys would start at the first row.
class MenuEventFilter : public QObject {
  public:
    void watch(QMenu &menu) {
        m_openingPosition = QCursor::pos();
        m_wasInside = false;
        menu.installEventFilter(this);
    }

    bool eventFilter(QObject *object, QEvent *event) override {
        if (event->type() == QEvent::Leave)
            return !m_wasInside;
        if (event->type() == QEvent::MouseMove) {
            const QPoint position = static_cast<QMouseEvent *>(event)->position().toPoint();
            m_wasInside = m_wasInside || static_cast<QMenu *>(object)->rect().contains(position);
        } else if (event->type() == QEvent::MouseButtonPress) {
            sendMouseMoves(*object, static_cast<QMouseEvent &>(*event));
        }
        return false;
    }

  private:
    void sendMouseMoves(QObject &menu, const QMouseEvent &press) {
        const QPoint moved = press.globalPosition().toPoint() - m_openingPosition;
        if (moved.manhattanLength() <= QApplication::startDragDistance())
            return;
        constexpr int sufficientMoves = 7;
        for (int motion = 0; motion < sufficientMoves; ++motion) {
            QMouseEvent move(QEvent::MouseMove, press.position(), press.globalPosition(),
                             Qt::NoButton, Qt::NoButton, press.modifiers());
            QCoreApplication::sendEvent(&menu, &move);
        }
    }

    QPoint m_openingPosition; // in screen coordinates
    bool m_wasInside = false;
};

} // namespace

void popUpMenu(QMenu &menu, QWindow &window, const QPoint &position, QAction *active) {
    menu.winId(); // creates the menu's window handle
    menu.windowHandle()->setTransientParent(&window);
    static MenuEventFilter filter;
    filter.watch(menu);
    menu.popup(window.mapToGlobal(position));
    if (active != nullptr)
        menu.setActiveAction(active);
}

void closePopUpMenus() {
    QWidget *last = nullptr;
    for (QWidget *popup = QApplication::activePopupWidget(); popup != nullptr && popup != last;
         popup = QApplication::activePopupWidget()) {
        last = popup; // avoids an endless loop if a menu refuses to close
        popup->close();
    }
}

} // namespace lumvik
