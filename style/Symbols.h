#pragma once

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QString>

class QPainter;

namespace lumvik::Symbols {

/// Draws the symbol `name` ("pin", "xmark", …) in one colour, scaled to fit into `rect` with its
/// proportions kept. The symbol is sharp at every scale of `painter`, which must not rotate: the
/// symbol moves by up to half a pixel, so that its corner is between pixels. The drawings are in
/// resources/symbols. Their horizontal and vertical strokes fill whole pixels at scale 1 in the
/// size in which the viewer shows them. An unknown name is a programming error: nothing is drawn
/// and one line is logged.
void draw(QPainter &painter, const QString &name, const QRectF &rect, const QColor &colour);

} // namespace lumvik::Symbols

namespace lumvik {

/// Returns the application's font in the size `points`. In the whole layout one point is one
/// device-independent pixel.
[[nodiscard]] QFont systemFont(int points, QFont::Weight weight);

} // namespace lumvik
