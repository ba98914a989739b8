#include "viewer/BriefNotice.h"

#include "style/Symbols.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumvik {

namespace {

constexpr qreal cornerRadius = 8;
constexpr qreal noticeHeight = 36;
constexpr qreal margin = 12;
constexpr qreal buttonMargin = 4; // around the button
constexpr qreal fromEdges = 12;
constexpr qreal aboveThePill = 44; // the pill in the corner has its own line
constexpr float groundAlpha = 0.78F;

QFont textFont() {
    return systemFont(12, QFont::Medium);
}

} // namespace

BriefNotice::BriefNotice(QQuickItem *content)
    : SpokenItem(content)
    , m_button(new NoticeButton(QStringLiteral("Show"), content)) {}

void BriefNotice::show(const QString &text, std::function<void()> action) {
    m_text = text;
    m_hasAction = static_cast<bool>(action);
    m_button->setAction(std::move(action));
    setSpokenText(text);
    place();
    setVisible(true);
    m_button->setVisible(m_hasAction);
    update();
}

void BriefNotice::hide() {
    setVisible(false);
    m_button->setVisible(false);
}

void BriefNotice::layOut(const QSizeF &content) {
    m_content = content;
    place();
}

void BriefNotice::place() {
    const QSizeF button = m_hasAction ? m_button->naturalSize() : QSizeF(0, 0);
    const qreal text = std::ceil(QFontMetricsF(textFont()).horizontalAdvance(m_text));
    const qreal natural =
        margin + text + (m_hasAction ? margin + button.width() + buttonMargin : margin);
    const qreal width = std::clamp(natural, 0.0, std::max(m_content.width() - 2 * fromEdges, 0.0));
    setSize({width, noticeHeight});
    setPosition({std::round((m_content.width() - width) / 2),
                 m_content.height() - aboveThePill - noticeHeight});
    m_button->setSize({button.width(), noticeHeight - 2 * buttonMargin});
    m_button->setPosition({x() + width - buttonMargin - button.width(), y() + buttonMargin});
}

void BriefNotice::paint(QPainter *painter) {
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(QColor::fromRgbF(0, 0, 0, groundAlpha));
    painter->drawRoundedRect(boundingRect(), cornerRadius, cornerRadius);
    const qreal right = m_hasAction ? m_button->width() + buttonMargin + margin : margin;
    const QRectF line = boundingRect().adjusted(margin, 0, -right, 0);
    painter->setPen(Qt::white);
    painter->setFont(textFont());
    painter->drawText(
        line, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
        QFontMetricsF(textFont()).elidedText(m_text, Qt::ElideRight, line.width() + 1));
}

} // namespace lumvik
