#pragma once

#include <QFont>
#include <QList>
#include <QRectF>
#include <QTextLayout>

class QPainter;

namespace lumvik {

/// A centred text in as few lines as its width allows, all of about the same length. Without this
/// balance, the last line often has a single word. A word that is wider than the text is broken;
/// the lines are then not balanced. Main thread only.
class BalancedText {
  public:
    /// Lays out `text` within `width` points (at least 1). `formats` are the parts of the text that
    /// look different.
    BalancedText(const QString &text, const QFont &font, qreal width,
                 const QList<QTextLayout::FormatRange> &formats = {});
    BalancedText(const BalancedText &) = delete;
    BalancedText &operator=(const BalancedText &) = delete;
    ~BalancedText() = default;

    /// The height of all lines, in points.
    [[nodiscard]] qreal height() const;
    [[nodiscard]] int lineCount() const { return m_layout.lineCount(); }
    /// Returns the rectangles, one per line, of the `length` characters from `start` on, in points
    /// from the top left corner of the text.
    [[nodiscard]] QList<QRectF> rectangles(int start, int length) const;

    /// Draws the text in the pen's colour, with the top left corner of the text at the origin.
    void draw(QPainter &painter) const;

  private:
    /// Breaks the text into lines of at most `width`. Returns whether every line fits.
    bool breakLines(qreal width);
    void balance(qreal width);

    QTextLayout m_layout;
};

} // namespace lumvik
