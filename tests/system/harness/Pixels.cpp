#include "Pixels.h"

#include <QPainter>

#include <algorithm>
#include <cstdlib>

namespace lumvik::test {

namespace {

/// The share of the pixels inside `area` for which `matches` returns true.
template<typename Matches>
double share(const QImage &picture, QRect area, Matches matches) {
    area &= picture.rect();
    if (area.isEmpty())
        return 0;
    qint64 count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x)
            count += matches(picture.pixel(x, y)) ? 1 : 0;
    }
    return static_cast<double>(count) / (static_cast<double>(area.width()) * area.height());
}

} // namespace

QColor meanColour(const QImage &picture, QRect area) {
    area &= picture.rect();
    if (area.isEmpty())
        return {};
    qint64 red = 0;
    qint64 green = 0;
    qint64 blue = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            const QRgb pixel = picture.pixel(x, y);
            red += qRed(pixel);
            green += qGreen(pixel);
            blue += qBlue(pixel);
        }
    }
    const qint64 pixels = qint64{area.width()} * area.height();
    return QColor(static_cast<int>(red / pixels), static_cast<int>(green / pixels),
                  static_cast<int>(blue / pixels));
}

int colourDistance(const QColor &one, const QColor &other) {
    return std::max({std::abs(one.red() - other.red()), std::abs(one.green() - other.green()),
                     std::abs(one.blue() - other.blue())});
}

double shareOfDifferentPixels(const QImage &one, const QImage &other) {
    constexpr int codingNoise = 24;
    if (one.size() != other.size())
        return 1;
    qint64 different = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            const QRgb first = one.pixel(x, y);
            const QRgb second = other.pixel(x, y);
            const bool differs = std::abs(qRed(first) - qRed(second)) > codingNoise ||
                                 std::abs(qGreen(first) - qGreen(second)) > codingNoise ||
                                 std::abs(qBlue(first) - qBlue(second)) > codingNoise;
            different += differs ? 1 : 0;
        }
    }
    return static_cast<double>(different) / (static_cast<double>(one.width()) * one.height());
}

double shareOfLightPixels(const QImage &picture, QRect area, int level) {
    return share(picture, area, [level](QRgb pixel) { return qGray(pixel) >= level; });
}

bool isDark(const QImage &picture, QRect area, int level) {
    return share(picture, area, [level](QRgb pixel) { return qGray(pixel) > level; }) == 0;
}

QRect pillArea(const QImage &window) {
    return {12, window.height() - 36, 160, 24};
}

bool isDarkApartFromTexts(const QImage &window) {
    constexpr int black = 8;
    // Texts and buttons are grey and cover a small part of the window.
    constexpr double mostText = 0.1;
    QImage rest = window;
    QPainter(&rest).fillRect(pillArea(window), Qt::black);
    const auto isColoured = [](QRgb pixel) {
        const auto [low, high] = std::minmax({qRed(pixel), qGreen(pixel), qBlue(pixel)});
        return high - low > 24;
    };
    return share(rest, rest.rect(), isColoured) == 0 &&
           share(rest, rest.rect(), [](QRgb pixel) { return qGray(pixel) > black; }) < mostText;
}

bool hasWarningPill(const QImage &window) {
    // The dot of the pill is amber.
    const auto isAmber = [](QRgb pixel) {
        return std::abs(qRed(pixel) - 245) < 12 && std::abs(qGreen(pixel) - 176) < 12 &&
               std::abs(qBlue(pixel) - 60) < 12;
    };
    constexpr double smallestDot = 0.005;
    return share(window, pillArea(window), isAmber) > smallestDot;
}

} // namespace lumvik::test
