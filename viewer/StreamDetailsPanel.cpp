#include "viewer/StreamDetailsPanel.h"

#include "style/Symbols.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QStringList>

#include <algorithm>
#include <cmath>

namespace lumvik {

namespace {

constexpr qreal cornerRadius = 8;
constexpr qreal fromEdges = 12;
constexpr qreal fromControls = 8;
constexpr qreal margin = 10;
constexpr qreal columnGap = 12;
constexpr qreal rowHeight = 16;
constexpr qreal widestValue = 240;
constexpr float groundAlpha = 0.86F; // a text of many lines must be readable over any picture
constexpr float labelAlpha = 0.72F;

QFont labelFont() {
    return systemFont(11, QFont::Normal);
}

QFont valueFont() {
    return systemFont(11, QFont::DemiBold);
}

qreal labelWidth(const QList<StreamDetailsRow> &rows) {
    const QFontMetricsF metrics(labelFont());
    qreal width = 0;
    for (const StreamDetailsRow &row : rows)
        width = std::max(width, metrics.horizontalAdvance(row.label));
    return std::ceil(width);
}

qreal valueWidth(const QList<StreamDetailsRow> &rows) {
    const QFontMetricsF metrics(valueFont());
    qreal width = 0;
    for (const StreamDetailsRow &row : rows)
        width = std::max(width, metrics.horizontalAdvance(row.value));
    return std::min(std::ceil(width), widestValue);
}

} // namespace

void StreamDetailsPanel::setRows(const QList<StreamDetailsRow> &rows) {
    if (rows == m_rows)
        return;
    m_rows = rows;
    QStringList lines;
    for (const StreamDetailsRow &row : rows)
        lines.append(QStringLiteral("%1: %2").arg(row.label, row.value));
    setSpokenText(lines.join(u'\n'));
    place();
    update();
}

void StreamDetailsPanel::layOut(const QSizeF &content, qreal controlsBottom) {
    m_content = content;
    m_controlsBottom = controlsBottom;
    place();
}

void StreamDetailsPanel::place() {
    const qreal top = m_controlsBottom + fromControls;
    m_naturalWidth = std::max(m_naturalWidth, margin + labelWidth(m_rows) + columnGap +
                                                  valueWidth(m_rows) + margin);
    const qreal width =
        std::clamp(m_naturalWidth, 0.0, std::max(m_content.width() - 2 * fromEdges, 0.0));
    const qreal room = std::max(m_content.height() - top - fromEdges - 2 * margin, 0.0);
    const qreal rows = std::min(static_cast<qreal>(m_rows.size()), std::floor(room / rowHeight));
    setSize({width, rows > 0 ? rows * rowHeight + 2 * margin : 0});
    setPosition({m_content.width() - fromEdges - width, top});
}

void StreamDetailsPanel::paint(QPainter *painter) {
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(QColor::fromRgbF(0, 0, 0, groundAlpha));
    painter->drawRoundedRect(boundingRect(), cornerRadius, cornerRadius);
    const qreal valueLeft = margin + labelWidth(m_rows) + columnGap;
    const qreal room = std::max(width() - margin - valueLeft, 0.0);
    const QFontMetricsF values(valueFont());
    qreal top = margin;
    for (const StreamDetailsRow &row : m_rows) {
        if (top + rowHeight > height() - margin + 0.5)
            break;
        const QRectF line(margin, top, width() - 2 * margin, rowHeight);
        painter->setFont(labelFont());
        painter->setPen(QColor::fromRgbF(1, 1, 1, labelAlpha));
        painter->drawText(line, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, row.label);
        painter->setFont(valueFont());
        painter->setPen(Qt::white);
        painter->drawText(QRectF(valueLeft, top, room, rowHeight),
                          Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                          values.elidedText(row.value, Qt::ElideRight, room));
        top += rowHeight;
    }
}

} // namespace lumvik
