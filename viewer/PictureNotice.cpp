#include "viewer/PictureNotice.h"

#include "style/Symbols.h"
#include "viewer/PictureNoticeLayout.h"

#include <QFontMetricsF>
#include <QPainter>

#include <cmath>

namespace lumvik {

namespace {

constexpr qreal cornerRadius = 8;
constexpr qreal buttonHeight = 28;
constexpr qreal buttonMargin = 14; // on each side of the text
constexpr float buttonAlpha = 0.16F;
constexpr qreal pillHeight = 24;
constexpr qreal pillMargin = 10;
constexpr qreal pillFromEdges = 12;
constexpr float pillAlpha = 0.72F;
constexpr qreal dotDiameter = 7;
constexpr qreal dotGap = 6;
constexpr int messageFlags = Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap;

const QColor liveDot(88, 200, 120);
const QColor warningDot(245, 176, 60);

QFont pillFont() {
    return systemFont(11, QFont::DemiBold);
}

QFont buttonFont() {
    return systemFont(12, QFont::Medium);
}

QFont lineFont(NoticeMessage::Line line) {
    switch (line) {
    case NoticeMessage::title:
        return systemFont(15, QFont::Medium);
    case NoticeMessage::cause:
        return systemFont(13, QFont::Normal);
    case NoticeMessage::next:
    case NoticeMessage::lineCount:
        break;
    }
    return systemFont(12, QFont::Normal);
}

/// The first line is the brightest one. All lines are easy to read on black.
float lineAlpha(NoticeMessage::Line line) {
    switch (line) {
    case NoticeMessage::title:
        return 1;
    case NoticeMessage::cause:
        return 0.86F;
    case NoticeMessage::next:
    case NoticeMessage::lineCount:
        break;
    }
    return 0.62F;
}

void paintRoundedRect(QPainter &painter, const QRectF &rect, qreal radius, const QColor &colour) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawRoundedRect(rect, radius, radius);
}

} // namespace

// ---- The buttons ----

NoticeButton::NoticeButton(const QString &text, QQuickItem *parent)
    : ViewerControl(Role::button, text, parent) {
    setVisible(false);
}

QSizeF NoticeButton::naturalSize() const {
    const qreal text = QFontMetricsF(buttonFont()).horizontalAdvance(label());
    return {std::ceil(text) + 2 * buttonMargin, buttonHeight};
}

OutlinedShape NoticeButton::outlinedShape() const {
    return {boundingRect(), cornerRadius};
}

void NoticeButton::paint(QPainter *painter) {
    paintControlGround(*painter, {boundingRect(), cornerRadius},
                       QColor::fromRgbF(1, 1, 1, buttonAlpha), look());
    const QFontMetricsF metrics(buttonFont());
    painter->setPen(Qt::white);
    painter->setFont(buttonFont());
    painter->drawText(boundingRect(), Qt::AlignCenter | Qt::TextSingleLine,
                      metrics.elidedText(label(), Qt::ElideRight, width() - buttonMargin));
}

// ---- The texts ----

void NoticePill::setText(const QString &text, bool isLive) {
    if (text == m_text && isLive == m_isLive)
        return;
    m_text = text;
    m_isLive = isLive;
    setVisible(!text.isEmpty());
    update();
}

QSizeF NoticePill::naturalSize() const {
    const qreal text = QFontMetricsF(pillFont()).horizontalAdvance(m_text);
    return {pillMargin + dotDiameter + dotGap + std::ceil(text) + pillMargin, pillHeight};
}

void NoticePill::paint(QPainter *painter) {
    const QRectF bounds = boundingRect();
    paintRoundedRect(*painter, bounds, cornerRadius, QColor::fromRgbF(0, 0, 0, pillAlpha));
    const QRectF dot(pillMargin, (bounds.height() - dotDiameter) / 2, dotDiameter, dotDiameter);
    painter->setBrush(m_isLive ? liveDot : warningDot);
    painter->drawEllipse(dot);
    painter->setPen(Qt::white);
    painter->setFont(pillFont());
    painter->drawText(bounds.adjusted(dot.right() + dotGap, 0, 0, 0),
                      Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, m_text);
}

void NoticeMessage::setTexts(const std::array<QString, lineCount> &texts) {
    if (texts == m_texts)
        return;
    m_texts = texts;
    update();
}

QString NoticeMessage::text() const {
    QStringList lines;
    for (const QString &line : m_texts) {
        if (!line.isEmpty())
            lines.append(line);
    }
    return lines.join(QLatin1Char('\n'));
}

qreal NoticeMessage::heightForWidth(Line line, qreal width) const {
    const QString &text = m_texts.at(line);
    if (text.isEmpty())
        return 0;
    return std::ceil(QFontMetricsF(lineFont(line))
                         .boundingRect(QRectF(0, 0, width, 10000), messageFlags, text)
                         .height());
}

void NoticeMessage::setFrames(const std::array<QRectF, lineCount> &frames) {
    QRectF bounds;
    for (const QRectF &frame : frames)
        bounds |= frame;
    setPosition(bounds.topLeft());
    setSize(bounds.size());
    for (std::size_t line = 0; line < lineCount; ++line)
        m_frames.at(line) = frames.at(line).translated(-bounds.topLeft());
    update();
}

void NoticeMessage::paint(QPainter *painter) {
    for (const Line line : {title, cause, next}) {
        if (m_frames.at(line).isEmpty())
            continue;
        painter->setFont(lineFont(line));
        painter->setPen(QColor::fromRgbF(1, 1, 1, lineAlpha(line)));
        painter->drawText(m_frames.at(line), messageFlags, m_texts.at(line));
    }
}

// ---- The notice ----

PictureNotice::PictureNotice(QQuickItem *content, Actions actions)
    : m_pill(new NoticePill(content))
    , m_message(new NoticeMessage(content))
    , m_tryNow(new NoticeButton(QStringLiteral("Try Now"), content))
    , m_addresses(new NoticeButton(QStringLiteral("Camera Addresses…"), content)) {
    m_tryNow->setAction(std::move(actions.tryNow));
    m_addresses->setAction(std::move(actions.showAddresses));
}

void PictureNotice::show(const PictureNoticeText &text, bool isLive) {
    if (text == m_text && isLive == m_pill->isLive())
        return;
    m_text = text;
    // The text for assistive technology is set first, so that it is right when the item appears.
    // Nobody may believe for ten seconds that a picture is live that is not.
    const bool livePictureIsLost = m_pill->isLive() && !isLive;
    m_pill->setSpokenText(text.pill.isEmpty() ? QString() : text.spoken, livePictureIsLost);
    m_message->setSpokenText(text.pill.isEmpty() ? text.spoken : QString());
    m_pill->setText(text.pill, isLive);
    m_message->setTexts({text.title, text.cause, text.next});
    placeParts();
}

void PictureNotice::layOut(const QSizeF &content, qreal controlsBottom) {
    m_content = content;
    m_controlsBottom = controlsBottom;
    placeParts();
}

void PictureNotice::placeParts() {
    const QSizeF pill = m_pill->naturalSize();
    m_pill->setPosition({pillFromEdges, m_content.height() - pillFromEdges - pill.height()});
    m_pill->setSize(pill);

    const auto heightOf = [this](NoticeMessage::Line line) {
        return [this, line](qreal width) { return m_message->heightForWidth(line, width); };
    };
    const bool offersActions = m_text.offersActions;
    const PictureNoticeFrames frames =
        pictureNoticeFrames({.content = m_content,
                             .controlsBottom = m_controlsBottom,
                             .titleHeight = heightOf(NoticeMessage::title),
                             .causeHeight = heightOf(NoticeMessage::cause),
                             .nextHeight = heightOf(NoticeMessage::next),
                             .tryNow = offersActions ? m_tryNow->naturalSize() : QSizeF(),
                             .addresses = offersActions ? m_addresses->naturalSize() : QSizeF()});
    m_message->setFrames({frames.title, frames.cause, frames.next});
    m_message->setVisible(!m_message->size().isEmpty());
    for (const auto &[button, frame] :
         {std::pair(m_tryNow, frames.tryNow), std::pair(m_addresses, frames.addresses)}) {
        button->setVisible(!frame.isNull());
        button->setPosition(frame.topLeft());
        button->setSize(frame.size());
    }
}

} // namespace lumvik
