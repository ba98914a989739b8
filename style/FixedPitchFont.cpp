#include "style/FixedPitchFont.h"

#include "style/Symbols.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>

#include <algorithm>
#include <cmath>

namespace lumvik {

bool isFixedPitch(const QFont &font) {
    // Narrow and wide letters, digits, and the punctuation of addresses.
    static const QString letters = QStringLiteral("ilmMW01.:/@-");
    constexpr qreal roundingError = 0.01; // in points
    const QFontMetricsF metrics(font);
    const qreal width = metrics.horizontalAdvance(letters.front());
    return QFontInfo(font).fixedPitch() &&
           std::all_of(letters.begin(), letters.end(), [&](QChar letter) {
               return std::abs(metrics.horizontalAdvance(letter) - width) < roundingError;
           });
}

QFont fixedPitchFont(int points, int otherwise) {
    return fixedPitchFont(QFontDatabase::systemFont(QFontDatabase::FixedFont), points, otherwise);
}

QFont fixedPitchFont(const QFont &font, int points, int otherwise) {
    QFont sized = font;
    sized.setPixelSize(points);
    return isFixedPitch(sized) ? sized : systemFont(otherwise, QFont::Normal);
}

} // namespace lumvik
