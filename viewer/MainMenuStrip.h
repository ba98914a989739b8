#pragma once

#include "viewer/ViewerControl.h"

#include <QList>
#include <QMenu>
#include <QQuickPaintedItem>

#include <functional>

namespace lumvik {

/// One title of the main menu's strip: a press on it opens its menu. Main thread only.
class MainMenuTitle final : public ViewerControl {
    Q_OBJECT

  public:
    /// `menu` stays the caller's and must outlive the title.
    MainMenuTitle(QMenu &menu, QQuickItem *strip);

    /// Highlights the title while its menu is open.
    void setMenuIsOpen(bool isOpen);
    /// The width that shows the title with its margins, in points.
    [[nodiscard]] qreal naturalWidth() const;

    [[nodiscard]] QMenu *popUp() const override { return &m_menu; }
    void paint(QPainter *painter) override;

  protected:
    [[nodiscard]] OutlinedShape outlinedShape() const override;

  private:
    [[nodiscard]] QRectF highlight() const;

    QMenu &m_menu;
    bool m_menuIsOpen = false;
};

/// The main menu's titles in a small strip over the picture. A press on a title opens its menu; the
/// arrow keys then walk from one menu to the next, and from title to title while one of them has
/// the keyboard. Main thread only.
class MainMenuStrip final : public QQuickPaintedItem {
    Q_OBJECT

  public:
    /// `menus` stay the caller's and must outlive the strip.
    MainMenuStrip(QList<QMenu *> menus, QQuickItem *parent);

    /// Told true when one of the menus opens, false when the last one closed.
    void setMenuOpenChanged(std::function<void(bool isOpen)> menuOpenChanged) {
        m_menuOpenChanged = std::move(menuOpenChanged);
    }

    /// The titles, from left to right.
    [[nodiscard]] const QList<MainMenuTitle *> &titles() const { return m_titles; }

    /// The width that shows all titles, in points.
    [[nodiscard]] qreal naturalWidth() const;

    /// Opens the menu at `index` under its title, or at the window's top left corner while the
    /// strip is hidden.
    void openMenu(int index);
    /// Whether one of the menus is open.
    [[nodiscard]] bool menuIsOpen() const { return openMenuIndex() >= 0; }

    void paint(QPainter *painter) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

  protected:
    void mousePressEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData &value) override;

  private:
    [[nodiscard]] int openMenuIndex() const;
    /// The title that has the keyboard; -1 for none.
    [[nodiscard]] int keyboardIndex() const;
    /// The menu beside `index` that the left or the right arrow key leads to, around at the ends.
    [[nodiscard]] int indexBeside(int index, int key) const;
    void menuVisibilityChanged();

    QList<QMenu *> m_menus;
    QList<MainMenuTitle *> m_titles; // children, one for each menu
    std::function<void(bool)> m_menuOpenChanged;
    int m_openIndex = -1; // the menu whose title is highlighted
};

} // namespace lumvik
