#pragma once

#include <QList>
#include <QMenu>
#include <QQuickPaintedItem>

#include <functional>

namespace lumvik {

/// The main menu's titles in a small strip over the picture. A press on a title opens its menu; the
/// arrow keys then walk from one menu to the next. Main thread only.
class MainMenuStrip final : public QQuickPaintedItem {
    Q_OBJECT

  public:
    /// `menus` stay the caller's and must outlive the strip.
    MainMenuStrip(QList<QMenu *> menus, QQuickItem *parent);

    /// Told true when one of the menus opens, false when the last one closed.
    void setMenuOpenChanged(std::function<void(bool isOpen)> menuOpenChanged) {
        m_menuOpenChanged = std::move(menuOpenChanged);
    }

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

  private:
    [[nodiscard]] QRectF titleRect(int index) const;
    [[nodiscard]] int openMenuIndex() const;
    void menuVisibilityChanged();

    QList<QMenu *> m_menus;
    std::function<void(bool)> m_menuOpenChanged;
    int m_openIndex = -1; // the menu whose title is highlighted
};

} // namespace lumvik
