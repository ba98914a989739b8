#include "viewer/ViewerButtons.h"

#include "style/LumvikPalette.h"
#include "style/Symbols.h"

#include <QPainter>

namespace lumvik {

namespace {

constexpr qreal cornerRadius = 6;
constexpr qreal symbolSide = 13;

QColor translucentBlack(float alpha) {
    return QColor::fromRgbF(0, 0, 0, alpha);
}

} // namespace

void ViewerButton::paint(QPainter *painter) {
    const QRectF bounds = boundingRect();
    paintControlGround(*painter, {bounds.adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius},
                       fillColour(), look());
    QRectF symbol(0, 0, symbolSide, symbolSide);
    symbol.moveCenter(bounds.center());
    painter->setOpacity(contentOpacity(look()));
    Symbols::draw(*painter, symbolName(), symbol, Qt::white);
}

OutlinedShape ViewerButton::outlinedShape() const {
    return {boundingRect(), cornerRadius};
}

PinToggleButton::PinToggleButton(QQuickItem *parent)
    : ViewerButton(Role::toggle, QStringLiteral("Stay on Top"), parent) {}

void PinToggleButton::setOn(bool on) {
    m_isOn = on;
    QAccessible::State what;
    what.checked = true;
    accessibleStateChanged(what);
    update();
}

void PinToggleButton::setUnavailableOnWayland() {
    setUnavailable(QStringLiteral("Stay on Top is not possible in a Wayland session"));
}

QColor PinToggleButton::fillColour() const {
    return m_isOn ? LumvikPalette::mirel() : translucentBlack(0.76F);
}

QString PinToggleButton::symbolName() const {
    return m_isOn ? QStringLiteral("pin.fill") : QStringLiteral("pin");
}

FocusViewerButton::FocusViewerButton(QQuickItem *parent)
    : ViewerButton(Role::button, QString(), parent) {
    updateLabel();
}

void FocusViewerButton::setShowsRestoreIcon(bool shows) {
    m_showsRestoreIcon = shows;
    updateLabel();
    update();
}

void FocusViewerButton::setSelectingArea(bool selects) {
    m_isSelectingArea = selects;
    updateLabel();
    update();
}

void FocusViewerButton::updateLabel() {
    if (m_showsRestoreIcon)
        setLabel(QStringLiteral("Show Original View"));
    else if (m_isSelectingArea)
        setLabel(QStringLiteral("Cancel Area Selection"));
    else
        setLabel(QStringLiteral("Focus on an Area"));
}

QColor FocusViewerButton::fillColour() const {
    return translucentBlack(m_isSelectingArea ? 0.9F : 0.76F);
}

QString FocusViewerButton::symbolName() const {
    return m_showsRestoreIcon ? QStringLiteral("arrow.counterclockwise")
                              : QStringLiteral("viewfinder");
}

CloseViewerButton::CloseViewerButton(QQuickItem *parent)
    : ViewerButton(Role::button, QStringLiteral("Close Camera"), parent) {}

QColor CloseViewerButton::fillColour() const {
    return translucentBlack(0.76F);
}

QString CloseViewerButton::symbolName() const {
    return QStringLiteral("xmark");
}

} // namespace lumvik
