#include "viewer/BalancedText.h"

#include "Painted.h"
#include "style/Symbols.h"

#include <QFontMetricsF>

namespace lumvik {
namespace {

using namespace test;

const QString sentence =
    QStringLiteral("No cameras are configured. Use the menu to add a camera or import a list.");

QFont balancedFont() {
    return systemFont(15, QFont::Medium);
}

qreal widthOfSentence() {
    return QFontMetricsF(balancedFont()).horizontalAdvance(sentence);
}

/// Returns the rectangles of the lines of `text`.
QList<QRectF> lineRectangles(const BalancedText &text) {
    return text.rectangles(0, static_cast<int>(sentence.size()));
}

TEST(BalancedText, ShortTextIsACentredLine) {
    const qreal width = widthOfSentence() + 100;
    const BalancedText text(sentence, balancedFont(), width);
    ASSERT_EQ(text.lineCount(), 1);
    EXPECT_NEAR(lineRectangles(text).first().center().x(), width / 2, 2);
}

TEST(BalancedText, LinesAreAboutEquallyLong) {
    // At this width, the second line would otherwise have a single word.
    const qreal width = widthOfSentence() - 10;
    const BalancedText text(sentence, balancedFont(), width);
    const QList<QRectF> lines = lineRectangles(text);
    ASSERT_EQ(lines.size(), 2);
    EXPECT_NEAR(lines.at(0).width(), lines.at(1).width(), widthOfSentence() / 5);
    for (const QRectF &line : lines)
        EXPECT_NEAR(line.center().x(), width / 2, 3);
}

TEST(BalancedText, HasNoMoreLinesThanWithoutBalance) {
    for (qreal width = widthOfSentence() / 4; width < widthOfSentence(); width += 7) {
        QTextLayout plain(sentence, balancedFont());
        plain.beginLayout();
        for (QTextLine line = plain.createLine(); line.isValid(); line = plain.createLine())
            line.setLineWidth(width);
        plain.endLayout();
        const BalancedText text(sentence, balancedFont(), width);
        EXPECT_EQ(text.lineCount(), plain.lineCount()) << width;
        for (const QRectF &line : lineRectangles(text)) {
            EXPECT_GE(line.left(), -1) << width;
            EXPECT_LE(line.right(), width + 1) << width;
        }
    }
}

TEST(BalancedText, WordThatIsTooWideIsBroken) {
    const BalancedText text(QString(200, QLatin1Char('m')), balancedFont(), 300);
    EXPECT_GT(text.lineCount(), 1);
    for (const QRectF &line : text.rectangles(0, 200))
        EXPECT_LE(line.width(), 300);
}

TEST(BalancedText, AcceptsAnyWidth) {
    for (const qreal width : {-50.0, 0.0, 1.0})
        EXPECT_GT(BalancedText(sentence, balancedFont(), width).height(), 0);
    EXPECT_EQ(BalancedText(QString(), balancedFont(), 100).lineCount(), 1);
}

TEST(BalancedText, IsDrawnInItsRectangles) {
    const qreal width = widthOfSentence() * 0.6;
    const BalancedText text(sentence, balancedFont(), width);
    const QSize size = QSizeF(width, text.height()).toSize() + QSize(1, 1);
    const QImage image = painted(size, Qt::black, [&](QPainter &painter) {
        painter.setPen(Qt::white);
        text.draw(painter);
    });
    QRectF ink;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            if (qGray(image.pixel(x, y)) > 60)
                ink |= QRectF(x, y, 1, 1);
        }
    }
    QRectF lines;
    for (const QRectF &line : lineRectangles(text))
        lines |= line;
    EXPECT_TRUE(lines.adjusted(-2, -2, 2, 2).contains(ink));
    EXPECT_NEAR(lines.width(), ink.width(), 6);
}

} // namespace
} // namespace lumvik
