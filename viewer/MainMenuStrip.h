#pragma once

#include "viewer/ViewerControl.h"

#include <QList>
#include <QMenu>
#include <QQuickPaintedItem>

#include <functional>

namespace lumvik {

/// One title in the strip of the main menu. Pressing the title opens its menu. Main thread only.
class MainMenuTitle final : public ViewerControl {
    Q_OBJECT

  public:
    /// The caller owns `menu`, which must outlive the title.
    MainMenuTitle(QMenu &menu, QQuickItem *strip);

    /// Highlights the title while its menu is open.
    void setMenuIsOpen(bool isOpen);
    /// Returns the width of the title with its margins, in points.
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

/// A small strip over the picture with the titles of the main menu. Pressing a title opens its
/// menu. The left and right arrow keys move from one open menu to the next, and from title to title
/// while a title has the keyboard focus. Main thread only.
class MainMenuStrip final : public QQuickPaintedItem {
    Q_OBJECT

  public:
    /// The caller owns `menus`, which must outlive the strip.
    MainMenuStrip(QList<QMenu *> menus, QQuickItem *parent);

    /// `menuOpenChanged` runs with true when one of the menus opens and with false when the last
    /// one has closed.
    void setMenuOpenChanged(std::function<void(bool isOpen)> menuOpenChanged) {
        m_menuOpenChanged = std::move(menuOpenChanged);
    }

    /// The titles, from left to right.
    [[nodiscard]] const QList<MainMenuTitle *> &titles() const { return m_titles; }

    /// Returns the width of all titles together, in points.
    [[nodiscard]] qreal naturalWidth() const;

    /// Opens the menu at `index` below its title, or in the top left corner of the window while the
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
    /// Returns the index of the title that has the keyboard focus, or -1.
    [[nodiscard]] int keyboardIndex() const;
    /// Returns the index of the menu to which the left or the right arrow key moves from `index`.
    /// The index wraps around at the ends.
    [[nodiscard]] int indexBeside(int index, int key) const;
    void menuVisibilityChanged();

    QList<QMenu *> m_menus;
    QList<MainMenuTitle *> m_titles; // children, one per menu
    std::function<void(bool)> m_menuOpenChanged;
    int m_openIndex = -1; // the menu whose title is highlighted
};

} // namespace lumvik
