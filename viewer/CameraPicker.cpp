#include "viewer/CameraPicker.h"

#include "style/Symbols.h"
#include "viewer/MenuAccessibility.h"
#include "window/PopUpMenu.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QQuickWindow>
#include <QWheelEvent>

namespace lumvik {

namespace {

constexpr qreal cornerRadius = CameraMenuStyle::cornerRadius;
constexpr qreal textMargin = 8;  // on each side of the title, within the title's rectangle
constexpr qreal arrowSpace = 12; // to the right of the title, for the arrow
constexpr QSizeF arrowSize{8, 10};
constexpr qreal arrowMargin = 7; // between the arrow and the right edge
constexpr qreal menuGap = 4;     // between the picker and its menu
constexpr float groundAlpha = 0.66F;

/// Returns `name` with control characters replaced by spaces. In a menu item, a tab character would
/// separate the text from a keyboard shortcut.
QString inOneLine(QString name) {
    for (QChar &each : name) {
        if (each.category() == QChar::Other_Control)
            each = QLatin1Char(' ');
    }
    return name;
}

QFont titleFont() {
    return systemFont(10, QFont::Medium);
}

} // namespace

QRectF ViewerCameraPickerCell::titleRect(const QRectF &bounds, qreal titleHeight) {
    return {bounds.left(), bounds.center().y() - titleHeight / 2, bounds.width() - arrowSpace,
            titleHeight};
}

CameraPicker::CameraPicker(CameraPickerDelegate delegate, QQuickItem *parent)
    : ViewerControl(Role::popUpButton, QStringLiteral("Choose a camera"), parent)
    , m_delegate(std::move(delegate))
    , m_menuStyle([this](const QAction *item) { return viewOfItem(item); })
    , m_menu(std::make_unique<QMenu>()) {
    m_menu->setStyle(&m_menuStyle);
    m_menu->setAttribute(Qt::WA_TranslucentBackground); // for the round corners
    describeMenuOf(*m_menu, *this);
    setAction([this] { openMenu(); });
    connect(m_menu.get(), &QMenu::aboutToShow, this, [this] {
        markSelectedItem();
        update(); // the picker looks pressed
        if (m_delegate.menuWillOpen)
            m_delegate.menuWillOpen();
    });
    connect(m_menu.get(), &QMenu::hovered, this, [this] { markSelectedItem(); });
    connect(m_menu.get(), &QMenu::aboutToHide, this, [this] {
        update();
        if (m_delegate.menuDidClose)
            m_delegate.menuDidClose();
    });
}

CameraPicker::~CameraPicker() = default;

void CameraPicker::setItems(const QStringList &names) {
    if (m_menu->isVisible())
        m_menu->close();
    m_names.clear();
    for (const QString &name : names)
        m_names.append(inOneLine(name));
    m_selected = names.isEmpty() ? -1 : 0;
    styleCameraPickerMenu();
    accessibleValueChanged();
    update();
}

void CameraPicker::selectItem(int index) {
    if (index < 0 || index >= m_names.size())
        return;
    m_selected = index;
    markSelectedItem();
    accessibleValueChanged();
    update();
}

qreal CameraPicker::naturalWidth() const {
    const qreal title =
        m_selected < 0 ? 0 : QFontMetricsF(titleFont()).horizontalAdvance(m_names.at(m_selected));
    return std::ceil(title) + 2 * textMargin + arrowSpace;
}

void CameraPicker::styleCameraPickerMenu() {
    m_menu->clear();
    m_itemViews.clear();
    for (int index = 0; index < m_names.size(); ++index) {
        const QString &name = m_names.at(index);
        // In a menu, "&" would turn the next letter into an access key.
        QAction *item =
            m_menu->addAction(QString(name).replace(QLatin1Char('&'), QLatin1String("&&")));
        item->setCheckable(true); // for assistive technology; the view draws the check mark
        item->setData(index);
        m_itemViews.push_back(std::make_unique<MirelCameraMenuItemView>(item, name, [this, index] {
            if (m_delegate.cameraChosen)
                m_delegate.cameraChosen(index);
        }));
        connect(item, &QAction::triggered, this, [this, index] { itemView(index).activate(); });
    }
    markSelectedItem();
}

void CameraPicker::markSelectedItem() {
    for (const auto &view : m_itemViews) {
        view->isSelected = view->menuItem && view->menuItem->data().toInt() == m_selected;
        if (view->menuItem)
            view->menuItem->setChecked(view->isSelected);
    }
    m_menu->update();
}

const MirelCameraMenuItemView *CameraPicker::viewOfItem(const QAction *item) const {
    const auto index = static_cast<std::size_t>(item->data().toInt());
    return index < m_itemViews.size() ? m_itemViews.at(index).get() : nullptr;
}

void CameraPicker::openMenu() {
    if (window() == nullptr || m_names.isEmpty())
        return;
    popUpMenu(*m_menu, *window(), mapToScene(QPointF(0, height() + menuGap)).toPoint(),
              m_menu->actions().value(m_selected));
}

void CameraPicker::wheelEvent(QWheelEvent *event) {
    event->accept();
    if (event->phase() == Qt::ScrollMomentum)
        return; // the fingers have left the touchpad
    m_wheelAngle -= event->angleDelta().y();
    const int notches = m_wheelAngle / QWheelEvent::DefaultDeltasPerStep;
    m_wheelAngle %= QWheelEvent::DefaultDeltasPerStep;
    if (notches != 0 && m_delegate.wheelTurned)
        m_delegate.wheelTurned(notches);
}

OutlinedShape CameraPicker::outlinedShape() const {
    return {boundingRect(), cornerRadius};
}

void CameraPicker::paint(QPainter *painter) {
    const QRectF bounds = boundingRect();
    paintControlGround(*painter, {bounds, cornerRadius}, QColor::fromRgbF(0, 0, 0, groundAlpha),
                       look());
    painter->setOpacity(contentOpacity(look()));
    if (m_selected >= 0) {
        const QFontMetricsF metrics(titleFont());
        const QRectF title = ViewerCameraPickerCell::titleRect(bounds, metrics.height())
                                 .adjusted(textMargin, 0, -textMargin, 0);
        painter->setPen(Qt::white);
        painter->setFont(titleFont());
        painter->drawText(
            title, Qt::AlignCenter | Qt::TextSingleLine,
            metrics.elidedText(m_names.at(m_selected), Qt::ElideRight, title.width()));
    }
    const QPointF arrow(bounds.right() - arrowMargin - arrowSize.width(),
                        bounds.center().y() - arrowSize.height() / 2);
    Symbols::draw(*painter, QStringLiteral("chevron.up.chevron.down"), QRectF(arrow, arrowSize),
                  Qt::white);
}

} // namespace lumvik
