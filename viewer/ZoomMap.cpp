#include "viewer/ZoomMap.h"

#include "style/Symbols.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace lumvik {

namespace {

constexpr qreal longestSide = 112;
constexpr qreal shortestSide = 36; // a picture of an extreme shape is shown as if it were wider
constexpr qreal fromEdges = 12;
constexpr qreal cornerRadius = 4;
constexpr float groundAlpha = 0.66F;
constexpr float partAlpha = 0.32F;
constexpr qreal labelMargin = 4;

QString magnificationText(double magnification) {
    return QStringLiteral("%1 ×").arg(magnification, 0, 'f', 1);
}

} // namespace

void ZoomMap::setPart(const QRectF &part, double ratio, double magnification) {
    m_part = part;
    m_ratio = ratio;
    m_magnification = magnification;
    setSpokenText(QStringLiteral("Magnified %1 times").arg(magnification, 0, 'f', 1));
    place();
    update();
}

void ZoomMap::layOut(const QSizeF &content) {
    m_content = content;
    place();
}

void ZoomMap::place() {
    const QSizeF size = m_ratio > 1
                            ? QSizeF(longestSide, std::max(longestSide / m_ratio, shortestSide))
                            : QSizeF(std::max(longestSide * m_ratio, shortestSide), longestSide);
    const QSizeF whole(std::round(size.width()), std::round(size.height()));
    setSize(whole);
    setPosition({m_content.width() - fromEdges - whole.width(),
                 m_content.height() - fromEdges - whole.height()});
}

void ZoomMap::paint(QPainter *painter) {
    const QRectF bounds = boundingRect();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(QColor::fromRgbF(1, 1, 1, 0.5F), 1));
    painter->setBrush(QColor::fromRgbF(0, 0, 0, groundAlpha));
    painter->drawRoundedRect(bounds.adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
    const QRectF part(m_part.left() * bounds.width(), m_part.top() * bounds.height(),
                      m_part.width() * bounds.width(), m_part.height() * bounds.height());
    painter->setPen(QPen(Qt::white, 1));
    painter->setBrush(QColor::fromRgbF(1, 1, 1, partAlpha));
    painter->drawRect(part.adjusted(0.5, 0.5, -0.5, -0.5));
    painter->setFont(systemFont(10, QFont::DemiBold));
    painter->setPen(Qt::white);
    painter->drawText(bounds.adjusted(labelMargin, labelMargin, -labelMargin, -labelMargin),
                      Qt::AlignRight | Qt::AlignBottom | Qt::TextSingleLine,
                      magnificationText(m_magnification));
}

} // namespace lumvik
