#include "viewer/CameraPicker.h"

#include "style/Symbols.h"
#include "viewer/PopUpMenu.h"

#include <QFontMetricsF>
#include <QMouseEvent>
#include <QPainter>
#include <QQuickWindow>

namespace lumvik {

namespace {

constexpr qreal cornerRadius = 8;
constexpr qreal textMargin = 10;
constexpr qreal arrowSpace = 12; // what the title leaves at its right for the arrow
constexpr qreal arrowWidth = 8;
constexpr qreal arrowHeight = 10;

QFont titleFont() {
    return systemFont(10, QFont::Medium);
}

} // namespace

CameraPicker::CameraPicker(CameraPickerDelegate delegate, QQuickItem *parent)
    : ViewerControl(Role::popUpButton, QStringLiteral("Choose a camera"), parent)
    , m_delegate(std::move(delegate))
    , m_menu(std::make_unique<QMenu>()) {
    setAction([this] { openMenu(); });
    connect(m_menu.get(), &QMenu::aboutToShow, this, [this] {
        if (m_delegate.menuWillOpen)
            m_delegate.menuWillOpen();
    });
    connect(m_menu.get(), &QMenu::aboutToHide, this, [this] {
        if (m_delegate.menuDidClose)
            m_delegate.menuDidClose();
    });
}

CameraPicker::~CameraPicker() = default;

void CameraPicker::setItems(const QStringList &names) {
    m_names = names;
    m_selected = names.isEmpty() ? -1 : 0;
    accessibleValueChanged();
    update();
}

void CameraPicker::selectItem(int index) {
    if (index < 0 || index >= m_names.size())
        return;
    m_selected = index;
    accessibleValueChanged();
    update();
}

qreal CameraPicker::naturalWidth() const {
    const qreal title =
        m_selected < 0 ? 0 : QFontMetricsF(titleFont()).horizontalAdvance(m_names.at(m_selected));
    return std::ceil(title) + 2 * textMargin + arrowSpace;
}

void CameraPicker::populateMenu() {
    m_menu->clear();
    for (int index = 0; index < m_names.size(); ++index) {
        // In a menu "&" would underline the letter behind it.
        QString title = m_names.at(index);
        title.replace(QLatin1Char('&'), QLatin1String("&&"));
        QAction *action = m_menu->addAction(title);
        action->setCheckable(true);
        action->setActionGroup(&m_exclusive);
        action->setChecked(index == m_selected);
        connect(action, &QAction::triggered, this, [this, index] {
            if (m_delegate.cameraChosen)
                m_delegate.cameraChosen(index);
        });
    }
}

void CameraPicker::openMenu() {
    if (window() == nullptr || m_names.isEmpty())
        return;
    populateMenu();
    QAction *selected = m_selected < 0 ? nullptr : m_menu->actions().at(m_selected);
    popUpMenu(*m_menu, *window(), mapToScene(QPointF(0, height() + 4)).toPoint(), selected);
}

void CameraPicker::mousePressEvent(QMouseEvent *event) {
    // Opens on the press, so that one can press, move to an item and let go.
    event->accept();
    performClick();
    // The release goes to the menu that opened, and would be missed here for ever.
    QMetaObject::invokeMethod(
        this, [this] { ungrabMouse(); }, Qt::QueuedConnection);
}

void CameraPicker::mouseReleaseEvent(QMouseEvent *event) {
    event->accept();
}

void CameraPicker::paint(QPainter *painter) {
    const QRectF bounds = boundingRect();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(QColor::fromRgbF(0, 0, 0, 0.66F));
    painter->drawRoundedRect(bounds, cornerRadius, cornerRadius);

    painter->setPen(Qt::white);
    painter->setFont(titleFont());
    const QRectF title = bounds.adjusted(textMargin, 0, -(textMargin + arrowSpace), 0);
    if (m_selected >= 0) {
        const QString shown =
            QFontMetricsF(titleFont())
                .elidedText(m_names.at(m_selected), Qt::ElideRight, title.width());
        painter->drawText(title, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, shown);
    }
    Symbols::draw(*painter, QStringLiteral("chevron.up.chevron.down"),
                  QRectF(bounds.right() - textMargin - arrowWidth,
                         bounds.center().y() - arrowHeight / 2, arrowWidth, arrowHeight),
                  Qt::white);
}

} // namespace lumvik
