#include "viewer/MainMenuStrip.h"

#include "style/LumvikPalette.h"
#include "style/Symbols.h"
#include "viewer/MenuAccessibility.h"
#include "window/PopUpMenu.h"

#include <QFontMetricsF>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QQuickWindow>

#include <cmath>

namespace lumvik {

namespace {

constexpr qreal cornerRadius = 8;
constexpr qreal titleMargin = 7; // on each side of a title
constexpr qreal stripMargin =
    3; // between the ends of the strip and the margins of the outer titles
constexpr qreal menuGap = 4;
constexpr qreal highlightRadius = 5;
constexpr float groundAlpha = 0.66F;
constexpr float hoverAlpha = 0.16F;

QFont titleFont() {
    return systemFont(11, QFont::Medium);
}

} // namespace

// ---- The titles ----

MainMenuTitle::MainMenuTitle(QMenu &menu, QQuickItem *strip)
    : ViewerControl(Role::menuTitle, menu.title(), strip)
    , m_menu(menu) {
    describeMenuOf(menu, *this);
}

void MainMenuTitle::setMenuIsOpen(bool isOpen) {
    m_menuIsOpen = isOpen;
    update();
}

qreal MainMenuTitle::naturalWidth() const {
    return std::ceil(QFontMetricsF(titleFont()).horizontalAdvance(m_menu.title())) +
           2 * titleMargin;
}

QRectF MainMenuTitle::highlight() const {
    return boundingRect().adjusted(1, 3, -1, -3);
}

OutlinedShape MainMenuTitle::outlinedShape() const {
    return {highlight(), highlightRadius};
}

void MainMenuTitle::paint(QPainter *painter) {
    painter->setRenderHint(QPainter::Antialiasing);
    if (m_menuIsOpen || look() == ControlLook::hovered) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(m_menuIsOpen ? LumvikPalette::mirelBehindText()
                                       : QColor::fromRgbF(1, 1, 1, hoverAlpha));
        painter->drawRoundedRect(highlight(), highlightRadius, highlightRadius);
    }
    painter->setFont(titleFont());
    painter->setPen(Qt::white);
    painter->drawText(boundingRect(), Qt::AlignCenter, m_menu.title());
}

// ---- The strip ----

MainMenuStrip::MainMenuStrip(QList<QMenu *> menus, QQuickItem *parent)
    : QQuickPaintedItem(parent)
    , m_menus(std::move(menus)) {
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptHoverEvents(true);
    setCursor(Qt::ArrowCursor);
    for (int index = 0; index < m_menus.size(); ++index) {
        QMenu *menu = m_menus.at(index);
        menu->installEventFilter(this);
        auto *title = new MainMenuTitle(*menu, this);
        title->setAction([this, index] { openMenu(index); });
        m_titles.append(title);
        // The connections are queued, because an arrow key closes one menu before it opens the
        // next.
        connect(menu, &QMenu::aboutToShow, this, &MainMenuStrip::menuVisibilityChanged,
                Qt::QueuedConnection);
        connect(menu, &QMenu::aboutToHide, this, &MainMenuStrip::menuVisibilityChanged,
                Qt::QueuedConnection);
    }
}

qreal MainMenuStrip::naturalWidth() const {
    qreal width = 2 * stripMargin;
    for (const MainMenuTitle *title : m_titles)
        width += title->naturalWidth();
    return width;
}

void MainMenuStrip::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) {
    QQuickPaintedItem::geometryChange(newGeometry, oldGeometry);
    qreal left = stripMargin;
    for (MainMenuTitle *title : std::as_const(m_titles)) {
        title->setPosition({left, 0});
        title->setSize({title->naturalWidth(), newGeometry.height()});
        left += title->width();
    }
}

void MainMenuStrip::itemChange(ItemChange change, const ItemChangeData &value) {
    QQuickPaintedItem::itemChange(change, value);
    if (change != ItemVisibleHasChanged)
        return;
    QAccessibleEvent shown(this, isVisible() ? QAccessible::ObjectShow : QAccessible::ObjectHide);
    QAccessible::updateAccessibility(&shown);
}

void MainMenuStrip::openMenu(int index) {
    if (window() == nullptr || index < 0 || index >= m_menus.size())
        return;
    MainMenuTitle &title = *m_titles.at(index);
    if (keyboardIndex() >= 0)
        title.forceActiveFocus(Qt::OtherFocusReason); // the focus follows the open menu
    const QPointF below(0, title.height() + menuGap);
    const QPoint position =
        isVisible() ? title.mapToScene(below).toPoint() : QPoint(qRound(menuGap), qRound(menuGap));
    QMenu &menu = *m_menus.at(index);
    popUpMenu(menu, *window(), position, menu.actions().value(0));
    menuVisibilityChanged();
}

int MainMenuStrip::openMenuIndex() const {
    for (int index = 0; index < m_menus.size(); ++index) {
        if (m_menus.at(index)->isVisible())
            return index;
    }
    return -1;
}

void MainMenuStrip::menuVisibilityChanged() {
    const int open = openMenuIndex();
    const bool wasOpen = m_openIndex >= 0;
    m_openIndex = open;
    for (int index = 0; index < m_titles.size(); ++index)
        m_titles.at(index)->setMenuIsOpen(index == open);
    if ((open >= 0) != wasOpen && m_menuOpenChanged)
        m_menuOpenChanged(open >= 0);
}

int MainMenuStrip::keyboardIndex() const {
    for (int index = 0; index < m_titles.size(); ++index) {
        if (m_titles.at(index)->hasFocus()) // stays true while a menu is open
            return index;
    }
    return -1;
}

int MainMenuStrip::indexBeside(int index, int key) const {
    const auto count = static_cast<int>(m_menus.size());
    return (index + (key == Qt::Key_Right ? 1 : count - 1)) % count;
}

bool MainMenuStrip::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() != QEvent::KeyPress)
        return false;
    const auto index = static_cast<int>(m_menus.indexOf(static_cast<QMenu *>(watched)));
    const int key = static_cast<QKeyEvent *>(event)->key();
    if (index < 0 || (key != Qt::Key_Left && key != Qt::Key_Right))
        return false;
    m_menus.at(index)->close();
    openMenu(indexBeside(index, key));
    return true;
}

void MainMenuStrip::keyPressEvent(QKeyEvent *event) {
    const int index = keyboardIndex();
    const int key = event->key();
    if (index >= 0 && (key == Qt::Key_Left || key == Qt::Key_Right))
        m_titles.at(indexBeside(index, key))->forceActiveFocus(Qt::OtherFocusReason);
    else
        QQuickPaintedItem::keyPressEvent(event);
}

void MainMenuStrip::mousePressEvent(QMouseEvent *event) {
    event->accept(); // a press between the titles must not drag the window
}

void MainMenuStrip::paint(QPainter *painter) {
    paintControlGround(*painter, {boundingRect(), cornerRadius},
                       QColor::fromRgbF(0, 0, 0, groundAlpha), ControlLook::idle);
}

} // namespace lumvik
