#include "testcamera/Picture.h"

#include "testcamera/ClockPattern.h"

#include <QFont>
#include <QFontDatabase>
#include <QFontMetrics>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace lumvik::test {

namespace {

constexpr std::uint8_t blackLuma = 16;
constexpr std::uint8_t whiteLuma = 235;
constexpr std::uint8_t stripLuma = 40;
constexpr std::string_view clockCharacters = "0123456789:.";
constexpr int clockLength = 10; // 12:34:56.7

int evenFloor(double value) {
    return static_cast<int>(value) & ~1;
}

int roundUp(int value, int multiple) {
    return (value + multiple - 1) / multiple * multiple;
}

/// Renders white text on black, as luma in limited range.
QImage textImage(QSize size, const QFont &font, const QString &text, int flags) {
    QImage image(size, QImage::Format_Grayscale8);
    image.fill(Qt::black);
    {
        QPainter painter(&image);
        painter.setFont(font);
        painter.setPen(Qt::white);
        painter.drawText(image.rect(), flags, text);
    }
    for (int y = 0; y < image.height(); ++y) {
        uchar *row = image.scanLine(y);
        std::transform(row, row + image.width(), row, [](uchar grey) {
            return static_cast<uchar>(blackLuma + grey * (whiteLuma - blackLuma) / 255);
        });
    }
    return image;
}

QFont clockFont(QSize cell) {
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setBold(true);
    // The width of a fixed-width character is at most 0.62 of the font's size.
    font.setPixelSize(std::max(6, std::min(cell.height() * 7 / 10, cell.width() * 8 / 5)));
    return font;
}

} // namespace

Picture::Picture(QSize size, const QString &name, Bottom bottom) : m_size(size), m_bottom(bottom) {
    const int lumaStride = roundUp(size.width(), 4);
    const int chromaStride = roundUp(size.width() / 2, 4);
    const auto lumaSize =
        static_cast<std::size_t>(lumaStride) * static_cast<std::size_t>(size.height());
    const auto chromaSize =
        static_cast<std::size_t>(chromaStride) * static_cast<std::size_t>(size.height() / 2);
    m_planes = {{{0, lumaStride}, {lumaSize, chromaStride}, {lumaSize + chromaSize, chromaStride}}};
    m_data.resize(lumaSize + 2 * chromaSize);
    prepareDigits();
    paintStaticParts(name);
}

void Picture::paint(std::uint32_t milliseconds, QTime wallTime) {
    paintWallClock(wallTime);
    paintMotion(milliseconds);
    if (m_bottom == Bottom::ClockPattern)
        paintPattern(milliseconds);
}

Picture::YCbCr Picture::convert(PictureLayout::Colour colour) {
    const double red = colour.red / 255.0;
    const double green = colour.green / 255.0;
    const double blue = colour.blue / 255.0;
    const double luma = 0.2126 * red + 0.7152 * green + 0.0722 * blue;
    const auto round = [](double value) { return static_cast<std::uint8_t>(std::lround(value)); };
    return {round(16 + 219 * luma), round(128 + 224 * (blue - luma) / 1.8556),
            round(128 + 224 * (red - luma) / 1.5748)};
}

/// Returns the region in pixels. The edges of the result have even positions, so that no chroma
/// sample belongs to two regions.
Picture::Rectangle Picture::pixels(PictureLayout::Region region) const {
    // The small addition keeps a product such as 0.7 * 720 from being rounded down to the next
    // lower pixel.
    const auto edge = [](double share, int length) { return evenFloor(share * length + 0.001); };
    const int left = edge(region.left, m_size.width());
    const int top = edge(region.top, m_size.height());
    return {left, top, edge(region.left + region.width, m_size.width()) - left,
            edge(region.top + region.height, m_size.height()) - top};
}

void Picture::fillLuma(Rectangle area, std::uint8_t luma) {
    for (int y = area.top; y < area.top + area.height; ++y)
        std::memset(&m_data[m_planes[0].at(area.left, y)], luma,
                    static_cast<std::size_t>(area.width));
}

void Picture::fill(Rectangle area, YCbCr colour) {
    fillLuma(area, colour.y);
    for (std::size_t n = 1; n < m_planes.size(); ++n) {
        for (int y = area.top / 2; y < (area.top + area.height) / 2; ++y)
            std::memset(&m_data[m_planes[n].at(area.left / 2, y)], n == 1 ? colour.cb : colour.cr,
                        static_cast<std::size_t>(area.width / 2));
    }
}

void Picture::copyLuma(int left, int top, const QImage &grey) {
    for (int y = 0; y < grey.height(); ++y)
        std::memcpy(&m_data[m_planes[0].at(left, top + y)], grey.constScanLine(y),
                    static_cast<std::size_t>(grey.width()));
}

void Picture::paintStaticParts(const QString &name) {
    fill({0, 0, m_size.width(), m_size.height()}, {blackLuma, 128, 128});
    for (int n = 0; n < PictureLayout::barCount; ++n)
        fill(pixels(PictureLayout::bar(n)),
             convert(PictureLayout::barColours[static_cast<std::size_t>(n)]));

    const Rectangle area = pixels(PictureLayout::name);
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setBold(true);
    font.setPixelSize(std::max(6, area.height * 55 / 100));
    const int margin = area.height / 5;
    const QString shown =
        QFontMetrics(font).elidedText(name, Qt::ElideRight, std::max(0, area.width - 2 * margin));
    const QSize size(std::max(2, area.width - margin), area.height);
    copyLuma(area.left + area.width - size.width(), area.top,
             textImage(size, font, shown, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine));

    if (m_bottom != Bottom::Ramp)
        return;
    const Rectangle ramp = pixels(PictureLayout::pattern);
    for (int x = 0; x < ramp.width; ++x)
        fillLuma({x, ramp.top, 1, ramp.height},
                 static_cast<std::uint8_t>(blackLuma + (whiteLuma - blackLuma) * x / ramp.width));
}

void Picture::prepareDigits() {
    const Rectangle area = pixels(PictureLayout::wallClock);
    const QSize cell(area.width / (clockLength + 1), area.height);
    for (std::size_t n = 0; n < m_digits.size(); ++n)
        m_digits[n] = textImage(cell, clockFont(cell), QString(QLatin1Char(clockCharacters[n])),
                                Qt::AlignCenter | Qt::TextSingleLine);
}

void Picture::paintWallClock(QTime wallTime) {
    const QString text = wallTime.toString(QStringLiteral("HH:mm:ss.zzz")).left(clockLength);
    const Rectangle area = pixels(PictureLayout::wallClock);
    for (int n = 0; n < text.size(); ++n) {
        if (n < m_shownTime.size() && m_shownTime.at(n) == text.at(n))
            continue;
        const std::size_t digit = clockCharacters.find(text.at(n).toLatin1());
        if (digit < m_digits.size())
            copyLuma(area.left + n * m_digits[digit].width(), area.top, m_digits[digit]);
    }
    m_shownTime = text;
}

void Picture::paintMotion(std::uint32_t milliseconds) {
    const Rectangle strip = pixels(PictureLayout::motion);
    fillLuma(strip, stripLuma);
    const int blockWidth = static_cast<int>(strip.width * PictureLayout::blockShare);
    const auto phase = static_cast<int>(milliseconds % PictureLayout::sweepMilliseconds);
    const int left = (strip.width - blockWidth) * phase / PictureLayout::sweepMilliseconds;
    fillLuma({left, strip.top, blockWidth, strip.height}, whiteLuma);
}

void Picture::paintPattern(std::uint32_t milliseconds) {
    const Rectangle area = pixels(PictureLayout::pattern);
    const ClockPattern::Cells cells = ClockPattern::encode(milliseconds);
    for (int row = 0; row < ClockPattern::rows; ++row) {
        const int top = area.top + area.height * row / ClockPattern::rows;
        const int bottom = area.top + area.height * (row + 1) / ClockPattern::rows;
        for (int column = 0; column < ClockPattern::columns; ++column) {
            const int left = area.width * column / ClockPattern::columns;
            const int right = area.width * (column + 1) / ClockPattern::columns;
            const bool white = cells[ClockPattern::cellIndex(row, column)];
            fillLuma({left, top, right - left, bottom - top}, white ? whiteLuma : blackLuma);
        }
    }
}

} // namespace lumvik::test
