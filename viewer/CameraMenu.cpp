#include "viewer/CameraMenu.h"

#include "style/LumvikPalette.h"
#include "style/RoundedMask.h"
#include "style/Symbols.h"
#include "window/PopUpMenu.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QStyleFactory>
#include <QStyleOptionMenuItem>

#include <utility>

namespace lumvik {

namespace {

constexpr qreal highlightInsetX = 3;
constexpr qreal highlightInsetY = 1;
constexpr qreal highlightRadius = 6;
constexpr QRectF checkMark{9, 8, 12, 12};
constexpr qreal titleLeft = 29;
constexpr qreal titleFromBottom = 6; // from the descenders of the title to the bottom of the row
constexpr qreal titleRight = 10;
constexpr int scrollerHeight = 14;
constexpr int menuMargin = 5; // above the first and below the last row

QColor menuColour() {
    return {38, 38, 40};
}
QColor frameColour() {
    return {84, 84, 88};
}
/// The colour of text on the dark background, which is less bright than the text of the highlighted
/// row.
QColor labelColour() {
    return QColor::fromRgbF(1, 1, 1, 0.85F);
}

QFont titleFont() {
    return systemFont(12, QFont::Medium);
}

QPalette menuPalette() {
    QPalette palette;
    for (const auto role : {QPalette::Window, QPalette::Base, QPalette::Button})
        palette.setColor(role, menuColour());
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(role, labelColour());
    return palette;
}

} // namespace

// ---- The rows ----

MirelCameraMenuItemView::MirelCameraMenuItemView(QAction *item, const QString &name,
                                                 std::function<void()> handler)
    : menuItem(item)
    , activationHandler(std::move(handler))
    , m_name(name) {}

void MirelCameraMenuItemView::draw(QPainter &painter, const QRectF &bounds,
                                   bool isHighlighted) const {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(bounds.topLeft());
    if (isHighlighted) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(LumvikPalette::mirelBehindText());
        painter.drawRoundedRect(
            QRectF(QPointF(), bounds.size())
                .adjusted(highlightInsetX, highlightInsetY, -highlightInsetX, -highlightInsetY),
            highlightRadius, highlightRadius);
    }
    if (isSelected) {
        Symbols::draw(painter, QStringLiteral("checkmark"), checkMark,
                      isHighlighted ? QColor(Qt::white) : LumvikPalette::mirel());
    }
    const QFontMetricsF metrics(titleFont());
    painter.setFont(titleFont());
    painter.setPen(isHighlighted ? QColor(Qt::white) : labelColour());
    painter.drawText(
        QPointF(titleLeft, bounds.height() - titleFromBottom - metrics.descent()),
        metrics.elidedText(m_name, Qt::ElideRight, bounds.width() - titleLeft - titleRight));
    painter.restore();
}

void MirelCameraMenuItemView::activate() const {
    closePopUpMenus();
    // The handler is copied, because the handler may replace the items and thereby destroy this
    // view.
    const auto handler = activationHandler;
    if (handler)
        handler();
}

// ---- The menu ----

CameraMenuStyle::CameraMenuStyle(ViewOfItem viewOfItem)
    : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion")))
    , m_viewOfItem(std::move(viewOfItem)) {}

void CameraMenuStyle::polish(QWidget *widget) {
    QProxyStyle::polish(widget);
    widget->setPalette(menuPalette()); // for the scroll arrows, which the rows do not draw
}

void CameraMenuStyle::drawControl(ControlElement element, const QStyleOption *option,
                                  QPainter *painter, const QWidget *widget) const {
    const auto *menu = qobject_cast<const QMenu *>(widget);
    if (element == CE_MenuItem && menu != nullptr) {
        // The first and the last visible row of a long menu may be partly hidden, so the item is
        // looked up at the centre of the row's visible part.
        const QAction *item = menu->actionAt(option->rect.intersected(menu->rect()).center());
        if (const auto *view = item == nullptr ? nullptr : m_viewOfItem(item)) {
            view->draw(*painter, QRectF(option->rect), option->state.testFlag(State_Selected));
            return;
        }
    }
    if (element == CE_MenuEmptyArea)
        return; // the background has been drawn already
    QProxyStyle::drawControl(element, option, painter, widget);
}

void CameraMenuStyle::drawPrimitive(PrimitiveElement element, const QStyleOption *option,
                                    QPainter *painter, const QWidget *widget) const {
    switch (static_cast<int>(element)) {
    case PE_PanelMenu:
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(frameColour());
        painter->setBrush(menuColour());
        painter->drawRoundedRect(QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5),
                                 cornerRadius - 0.5, cornerRadius - 0.5);
        painter->restore();
        break;
    case PE_FrameMenu:
        break; // the panel includes the frame, of which the corners reach into the panel
    default:
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        break;
    }
}

QSize CameraMenuStyle::sizeFromContents(ContentsType type, const QStyleOption *option,
                                        const QSize &size, const QWidget *widget) const {
    return type == CT_MenuItem ? MirelCameraMenuItemView::size
                               : QProxyStyle::sizeFromContents(type, option, size, widget);
}

int CameraMenuStyle::pixelMetric(PixelMetric metric, const QStyleOption *option,
                                 const QWidget *widget) const {
    switch (static_cast<int>(metric)) {
    case PM_MenuPanelWidth:
        return 1;
    case PM_MenuVMargin:
        return menuMargin - 1;
    case PM_MenuHMargin:
        return 0;
    case PM_MenuScrollerHeight:
        return scrollerHeight;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

bool CameraMenuStyle::maskMenu(const QStyleOption *option, QStyleHintReturn *result) {
    auto *mask = qstyleoption_cast<QStyleHintReturnMask *>(result);
    if (mask == nullptr || option == nullptr)
        return false;
    mask->region = roundedMask(option->rect, cornerRadius);
    return true;
}

int CameraMenuStyle::styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                               QStyleHintReturn *result) const {
    switch (static_cast<int>(hint)) {
    case SH_Menu_Mask:
        return maskMenu(option, result) ? 1 : 0;
    case SH_Menu_Scrollable: // a long list stays one column
    case SH_Menu_KeyboardSearch:
    case SH_Menu_MouseTracking:
        return 1;
    default:
        return QProxyStyle::styleHint(hint, option, widget, result);
    }
}

} // namespace lumvik
