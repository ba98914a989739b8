#include "viewer/MainMenuStrip.h"

#include "style/LumvikPalette.h"
#include "style/Symbols.h"
#include "viewer/PopUpMenu.h"

#include <QFontMetricsF>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QQuickWindow>

#include <cmath>

namespace lumvik {

namespace {

constexpr qreal cornerRadius = 8;
constexpr qreal titleMargin = 9; // at each side of a title
constexpr qreal stripMargin = 3; // between the strip's ends and the outer titles' margins
constexpr qreal menuGap = 4;

QFont titleFont() {
    return systemFont(11, QFont::Medium);
}

qreal titleWidth(const QMenu &menu) {
    return std::ceil(QFontMetricsF(titleFont()).horizontalAdvance(menu.title())) + 2 * titleMargin;
}

} // namespace

MainMenuStrip::MainMenuStrip(QList<QMenu *> menus, QQuickItem *parent)
    : QQuickPaintedItem(parent)
    , m_menus(std::move(menus)) {
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptHoverEvents(true);
    setCursor(Qt::ArrowCursor);
    for (QMenu *menu : std::as_const(m_menus)) {
        menu->installEventFilter(this);
        // Judged in a later turn: walking from menu to menu closes one before it opens the next.
        connect(menu, &QMenu::aboutToShow, this, &MainMenuStrip::menuVisibilityChanged,
                Qt::QueuedConnection);
        connect(menu, &QMenu::aboutToHide, this, &MainMenuStrip::menuVisibilityChanged,
                Qt::QueuedConnection);
    }
}

qreal MainMenuStrip::naturalWidth() const {
    qreal width = 2 * stripMargin;
    for (const QMenu *menu : m_menus)
        width += titleWidth(*menu);
    return width;
}

QRectF MainMenuStrip::titleRect(int index) const {
    qreal left = stripMargin;
    for (int before = 0; before < index; ++before)
        left += titleWidth(*m_menus.at(before));
    return {left, 0, titleWidth(*m_menus.at(index)), height()};
}

void MainMenuStrip::openMenu(int index) {
    if (window() == nullptr || index < 0 || index >= m_menus.size())
        return;
    const QPointF below = titleRect(index).bottomLeft() + QPointF(0, menuGap);
    const QPoint position =
        isVisible() ? mapToScene(below).toPoint() : QPoint(qRound(menuGap), qRound(menuGap));
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
    update();
    if ((open >= 0) != wasOpen && m_menuOpenChanged)
        m_menuOpenChanged(open >= 0);
}

bool MainMenuStrip::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() != QEvent::KeyPress)
        return false;
    const auto index = static_cast<int>(m_menus.indexOf(static_cast<QMenu *>(watched)));
    const int key = static_cast<QKeyEvent *>(event)->key();
    if (index < 0 || (key != Qt::Key_Left && key != Qt::Key_Right))
        return false;
    const auto count = static_cast<int>(m_menus.size());
    m_menus.at(index)->close();
    openMenu((index + (key == Qt::Key_Right ? 1 : count - 1)) % count);
    return true;
}

void MainMenuStrip::mousePressEvent(QMouseEvent *event) {
    for (int index = 0; index < m_menus.size(); ++index) {
        if (titleRect(index).contains(event->position())) {
            openMenu(index);
            // The release goes to the menu that opened, and would be missed here for ever.
            QMetaObject::invokeMethod(
                this, [this] { ungrabMouse(); }, Qt::QueuedConnection);
            return;
        }
    }
}

void MainMenuStrip::paint(QPainter *painter) {
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(QColor::fromRgbF(0, 0, 0, 0.66F));
    painter->drawRoundedRect(boundingRect(), cornerRadius, cornerRadius);
    painter->setFont(titleFont());
    for (int index = 0; index < m_menus.size(); ++index) {
        const QRectF title = titleRect(index);
        if (index == m_openIndex) {
            painter->setPen(Qt::NoPen);
            painter->setBrush(LumvikPalette::mirel());
            painter->drawRoundedRect(title.adjusted(1, 3, -1, -3), 5, 5);
        }
        painter->setPen(Qt::white);
        painter->drawText(title, Qt::AlignCenter, m_menus.at(index)->title());
    }
}

} // namespace lumvik
