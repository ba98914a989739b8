#include "ColourBars.h"

#include "Pixels.h"
#include "testcamera/ClockPattern.h"

#include <ctime>

namespace lumvik::test {

namespace {

/// The inner half of a rectangle. The edges are left out because they are blurred.
QRect middleOf(const QRect &area) {
    const int dx = area.width() / 4;
    const int dy = area.height() / 4;
    return area.adjusted(dx, dy, -dx, -dy);
}

/// The current time, in milliseconds, of the clock that the camera shows in its picture.
quint32 clockNow() {
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<quint32>(static_cast<quint64>(time.tv_sec) * 1000 +
                                static_cast<quint64>(time.tv_nsec) / 1000000);
}

} // namespace

QRect pixelsOf(const PictureLayout::Region &region, QSize size) {
    return QRectF(region.left * size.width(), region.top * size.height(),
                  region.width * size.width(), region.height * size.height())
        .toRect();
}

testing::AssertionResult showsColourBars(const QImage &picture, int tolerance) {
    for (int bar = 0; bar < PictureLayout::barCount; ++bar) {
        const auto &expected = PictureLayout::barColours.at(static_cast<std::size_t>(bar));
        const QColor colour(expected.red, expected.green, expected.blue);
        const QRect area = middleOf(pixelsOf(PictureLayout::bar(bar), picture.size()));
        const QColor seen = meanColour(picture, area);
        if (!seen.isValid() || colourDistance(seen, colour) > tolerance) {
            return testing::AssertionFailure()
                   << "bar " << bar << " of a picture of " << picture.width() << "x"
                   << picture.height() << " is " << seen.name().toStdString() << " instead of "
                   << colour.name().toStdString();
        }
    }
    return testing::AssertionSuccess();
}

std::optional<quint32> captureTime(const QImage &picture) {
    return ClockPattern::read(picture.width(), picture.height(),
                              [&](int x, int y) { return qGray(picture.pixel(x, y)); });
}

std::optional<int> pictureAge(const QImage &picture) {
    const auto captured = captureTime(picture);
    if (!captured)
        return std::nullopt;
    // The difference is correct even when the 32-bit value wraps around.
    return static_cast<int>(clockNow() - *captured);
}

} // namespace lumvik::test
