#pragma once

#include <QImage>
#include <QPainter>
#include <QQuickPaintedItem>

#include <gtest/gtest.h>

#include <cstdlib>

namespace lumvik::test {

/// Returns what `draw` paints on a background of one colour, at one pixel per point.
template<typename Draw>
QImage painted(const QSize &size, const QColor &ground, Draw draw) {
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(ground);
    QPainter painter(&image);
    draw(painter);
    return image;
}

/// Returns what an item paints, at the size of the item.
inline QImage paintedItem(QQuickPaintedItem &item, const QColor &ground) {
    return painted(item.size().toSize(), ground, [&](QPainter &painter) { item.paint(&painter); });
}

/// Whether two colours are equal apart from rounding errors of blending.
inline bool looksLike(const QColor &one, const QColor &other, int tolerance = 2) {
    return std::abs(one.red() - other.red()) <= tolerance &&
           std::abs(one.green() - other.green()) <= tolerance &&
           std::abs(one.blue() - other.blue()) <= tolerance &&
           std::abs(one.alpha() - other.alpha()) <= tolerance;
}

/// Returns `ground` darkened by black of the given opacity.
inline QColor darkened(const QColor &ground, double alpha) {
    const auto dark = [&](int part) { return static_cast<int>(part * (1 - alpha) + 0.5); };
    return {dark(ground.red()), dark(ground.green()), dark(ground.blue())};
}

/// Returns the number of pixels in `area` that have the colour `colour`.
inline int pixelsLike(const QImage &image, const QRect &area, const QColor &colour) {
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x)
            count += looksLike(image.pixelColor(x, y), colour) ? 1 : 0;
    }
    return count;
}

/// Fails with the position and both colours unless the pixel has the expected colour.
inline testing::AssertionResult pixelIs(const QImage &image, const QPoint &place,
                                        const QColor &colour) {
    const QColor found = image.pixelColor(place);
    if (looksLike(found, colour))
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "at " << place.x() << ", " << place.y() << " is "
                                       << found.name(QColor::HexArgb).toStdString() << ", not "
                                       << colour.name(QColor::HexArgb).toStdString();
}

} // namespace lumvik::test
