#include "viewer/EmptyStateLabel.h"

#include "style/Symbols.h"
#include "viewer/BalancedText.h"

#include <QAccessible>
#include <QCursor>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace lumvik {

namespace {

/// Above the surface that receives the pointer events and below the controls.
constexpr qreal labelZ = 0.5;

/// The text is less bright than a title, but still easy to read on black. Links are brighter.
constexpr float textAlpha = 0.62F;
constexpr float linkAlpha = 0.92F;

/// How far the ground of a link extends beyond its words, in points.
constexpr qreal linkMargin = 3;
constexpr qreal linkRadius = 4;
constexpr float hoveredAlpha = 0.14F;
constexpr float pressedAlpha = 0.24F;

QFont labelFont() {
    return systemFont(15, QFont::Medium);
}

QColor white(float alpha) {
    return QColor::fromRgbF(1, 1, 1, alpha);
}

QTextLayout::FormatRange linkFormat(int start, int length) {
    QTextLayout::FormatRange range;
    range.start = start;
    range.length = length;
    range.format.setForeground(white(linkAlpha));
    range.format.setFontUnderline(true);
    return range;
}

} // namespace

// ---- The links ----

EmptyStateLink::EmptyStateLink(const QString &words, QQuickItem *message)
    : ViewerControl(Role::button, words, message) {
    setVisible(false);
}

void EmptyStateLink::surround(const QList<QRectF> &rectangles) {
    QRectF bounds;
    for (const QRectF &rectangle : rectangles)
        bounds |= rectangle;
    bounds.adjust(-linkMargin, 0, linkMargin, 0);
    m_rectangles.clear();
    for (const QRectF &rectangle : rectangles) {
        m_rectangles.append(
            rectangle.adjusted(-linkMargin, 0, linkMargin, 0).translated(-bounds.topLeft()));
    }
    setPosition(bounds.topLeft());
    setSize(bounds.size());
    setVisible(!rectangles.isEmpty());
    update();
}

bool EmptyStateLink::contains(const QPointF &point) const {
    return std::any_of(m_rectangles.begin(), m_rectangles.end(),
                       [&](const QRectF &rectangle) { return rectangle.contains(point); });
}

OutlinedShape EmptyStateLink::outlinedShape() const {
    // The ring is close to the words, because other words follow on the same line.
    return {boundingRect().adjusted(linkMargin, 0, -linkMargin, 0), linkRadius};
}

void EmptyStateLink::hoverEnterEvent(QHoverEvent *event) {
    ViewerControl::hoverEnterEvent(event);
    setCursor(Qt::PointingHandCursor);
}

void EmptyStateLink::paint(QPainter *painter) {
    if (look() != ControlLook::hovered && look() != ControlLook::pressed)
        return;
    painter->setRenderHint(QPainter::Antialiasing);
    QPainterPath ground;
    for (const QRectF &rectangle : m_rectangles)
        ground.addRoundedRect(rectangle, linkRadius, linkRadius);
    painter->fillPath(ground, white(look() == ControlLook::pressed ? pressedAlpha : hoveredAlpha));
}

// ---- The message ----

EmptyStateLabel::EmptyStateLabel(QQuickItem *parent) : QQuickPaintedItem(parent) {
    setVisible(false);
    setZ(labelZ);
}

void EmptyStateLabel::setText(const QString &text) {
    if (text == m_text)
        return;
    m_text = text;
    placeLinks();
    update();
    QAccessibleEvent renamed(this, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&renamed);
}

void EmptyStateLabel::addLink(const QString &words, std::function<void()> action) {
    auto *link = new EmptyStateLink(words, this);
    link->setAction(std::move(action));
    m_links.append(link);
    placeLinks();
    update();
}

QList<ViewerControl *> EmptyStateLabel::links() const {
    return {m_links.begin(), m_links.end()};
}

QString EmptyStateLabel::textForWidth(qreal width) const {
    QString text = m_text;
    for (const EmptyStateLink *link : m_links) {
        if (QFontMetricsF(labelFont()).horizontalAdvance(link->label()) > width)
            continue;
        QString unbroken = link->label();
        unbroken.replace(QLatin1Char(' '), QChar::Nbsp);
        text.replace(link->label(), unbroken);
    }
    return text.replace(QLatin1Char('\n'), QChar::LineSeparator);
}

qreal EmptyStateLabel::heightForWidth(qreal width) const {
    return std::ceil(BalancedText(textForWidth(width), labelFont(), width).height());
}

void EmptyStateLabel::placeLinks() {
    const BalancedText text(textForWidth(width()), labelFont(), width());
    for (EmptyStateLink *link : std::as_const(m_links)) {
        const auto start = static_cast<int>(m_text.indexOf(link->label()));
        link->surround(start < 0 ? QList<QRectF>()
                                 : text.rectangles(start, static_cast<int>(link->label().size())));
    }
}

void EmptyStateLabel::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) {
    QQuickPaintedItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size())
        placeLinks();
}

void EmptyStateLabel::itemChange(ItemChange change, const ItemChangeData &value) {
    QQuickPaintedItem::itemChange(change, value);
    if (change != ItemVisibleHasChanged)
        return;
    QAccessibleEvent shown(this, isVisible() ? QAccessible::ObjectShow : QAccessible::ObjectHide);
    QAccessible::updateAccessibility(&shown);
}

void EmptyStateLabel::paint(QPainter *painter) {
    QList<QTextLayout::FormatRange> formats;
    for (const EmptyStateLink *link : std::as_const(m_links)) {
        const auto start = static_cast<int>(m_text.indexOf(link->label()));
        if (start >= 0)
            formats.append(linkFormat(start, static_cast<int>(link->label().size())));
    }
    painter->setPen(white(textAlpha));
    BalancedText(textForWidth(width()), labelFont(), width(), formats).draw(*painter);
}

} // namespace lumvik
