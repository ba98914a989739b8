#pragma once

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QString>

class QPainter;

namespace lumvik::Symbols {

/// Draws the symbol `name` ("pin", "xmark", …; the drawings are in resources/symbols) in one
/// colour, fitted into `rect` with its shape kept. Sharp at every scale of `painter`. An unknown
/// name is a programming error; nothing is drawn then and one line is logged.
void draw(QPainter &painter, const QString &name, const QRectF &rect, const QColor &colour);

} // namespace lumvik::Symbols

namespace lumvik {

/// The application's font at `points` (here the unit of the whole layout: one point is one
/// device-independent pixel).
[[nodiscard]] QFont systemFont(int points, QFont::Weight weight);

} // namespace lumvik
