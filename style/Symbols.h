#pragma once

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QString>

class QPainter;

namespace lumvik::Symbols {

/// Draws the symbol `name` ("pin", "xmark", …) in one colour, scaled to fit into `rect` with its
/// proportions kept. The result is sharp at every scale of `painter`. The drawings are in
/// resources/symbols. An unknown name is a programming error: nothing is drawn and one line is
/// logged.
void draw(QPainter &painter, const QString &name, const QRectF &rect, const QColor &colour);

} // namespace lumvik::Symbols

namespace lumvik {

/// Returns the application's font in the size `points`. In the whole layout one point is one
/// device-independent pixel.
[[nodiscard]] QFont systemFont(int points, QFont::Weight weight);

} // namespace lumvik
