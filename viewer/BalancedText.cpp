#include "viewer/BalancedText.h"

#include <QPainter>
#include <QTextOption>

#include <algorithm>

namespace lumvik {

namespace {

/// The space between two lines, in points. It leaves room for the ring around a link that has the
/// keyboard focus.
constexpr qreal lineGap = 5;

} // namespace

BalancedText::BalancedText(const QString &text, const QFont &font, qreal width,
                           const QList<QTextLayout::FormatRange> &formats)
    : m_layout(text, font) {
    m_layout.setFormats(formats);
    QTextOption option(Qt::AlignHCenter);
    option.setWrapMode(QTextOption::WordWrap);
    m_layout.setTextOption(option);
    const qreal usableWidth = std::max(width, 1.0);
    if (breakLines(usableWidth)) {
        balance(usableWidth);
        return;
    }
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    m_layout.setTextOption(option);
    breakLines(usableWidth);
}

bool BalancedText::breakLines(qreal width) {
    qreal top = 0;
    bool fits = true;
    m_layout.beginLayout();
    for (QTextLine line = m_layout.createLine(); line.isValid(); line = m_layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition({0, top});
        top += line.height() + lineGap;
        fits = fits && line.naturalTextWidth() <= width;
    }
    m_layout.endLayout();
    return fits;
}

void BalancedText::balance(qreal width) {
    // The narrowest width with the same number of lines makes the lines about equally long.
    constexpr qreal precision = 1;
    const int lines = m_layout.lineCount();
    qreal tooNarrow = 0;
    qreal sufficient = width;
    while (sufficient - tooNarrow > precision) {
        const qreal middle = (tooNarrow + sufficient) / 2;
        const bool fits = breakLines(middle) && m_layout.lineCount() == lines;
        (fits ? sufficient : tooNarrow) = middle;
    }
    breakLines(sufficient);
    m_layout.setPosition({(width - sufficient) / 2, 0});
}

qreal BalancedText::height() const {
    return m_layout.boundingRect().height();
}

QList<QRectF> BalancedText::rectangles(int start, int length) const {
    QList<QRectF> rectangles;
    for (int index = 0; index < m_layout.lineCount(); ++index) {
        const QTextLine line = m_layout.lineAt(index);
        const int first = std::max(start, line.textStart());
        const int end = std::min(start + length, line.textStart() + line.textLength());
        if (first >= end)
            continue;
        const qreal left = line.cursorToX(first);
        const qreal right = line.cursorToX(end);
        const QRectF rectangle(left, line.y(), right - left, line.height());
        rectangles.append(rectangle.normalized().translated(m_layout.position()));
    }
    return rectangles;
}

void BalancedText::draw(QPainter &painter) const {
    m_layout.draw(&painter, {});
}

} // namespace lumvik
