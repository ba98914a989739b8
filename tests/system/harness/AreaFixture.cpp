#include "AreaFixture.h"

#include "ColourBars.h"
#include "Eventually.h"
#include "Pixels.h"

#include <mpv/client.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace lumvik::test {

using namespace std::chrono_literals;

namespace {

/// The share of the picture's brightness that remains when the picture is dimmed.
constexpr double dimmed = 0.58;

/// A part of the colour bars that the controls do not cover, as fractions of the width and height
/// of an unrotated picture.
constexpr QRectF steadyBars{0.6, 0.2, 0.3, 0.25};

int evenFloor(double value) {
    return static_cast<int>(value + 0.001) & ~1;
}

/// The parts of the camera's picture that never change and contain no text: the colour bars, the
/// upper edge of the black band below the bars, and the grey ramp. All other pixels are
/// transparent.
QImage knownPicture(QSize size) {
    QImage picture(size, QImage::Format_ARGB32);
    picture.fill(Qt::transparent);
    const int barsEnd = evenFloor(size.height() * PictureLayout::bars.height);
    for (int bar = 0; bar < PictureLayout::barCount; ++bar) {
        const auto &colour = PictureLayout::barColours.at(static_cast<std::size_t>(bar));
        const auto region = PictureLayout::bar(bar);
        const int right = evenFloor((region.left + region.width) * size.width());
        for (int x = evenFloor(region.left * size.width()); x < right; ++x) {
            for (int y = 0; y < barsEnd; ++y)
                picture.setPixel(x, y, qRgb(colour.red, colour.green, colour.blue));
        }
    }
    // The camera draws no text in the upper tenth of the black band.
    const int band = evenFloor(size.height() * PictureLayout::name.height);
    for (int x = 0; x < size.width(); ++x) {
        for (int y = barsEnd; y < barsEnd + band / 10; ++y)
            picture.setPixel(x, y, qRgb(0, 0, 0));
        const int grey = 255 * x / size.width();
        for (int y = evenFloor(size.height() * PictureLayout::pattern.top); y < size.height(); ++y)
            picture.setPixel(x, y, qRgb(grey, grey, grey));
    }
    return picture;
}

QTransform turned(int degrees) {
    return QTransform().rotate(degrees);
}

/// The distance over which blurred borders and scaling can affect a pixel's colour, in pixels of
/// the camera's picture.
constexpr int reach = 2;

/// Whether the outermost pixels of an area may take a share of their colour from outside the area.
/// This happens with the property "video-crop" of libmpv 0.36 and later. The property only selects
/// the part of the whole picture's textures that is drawn. Every scaler except "nearest" also reads
/// neighbouring pixels, and the renderer does not keep these reads inside the crop. The mixing
/// reaches half a pixel beyond the edge for brightness. For colour, the mixing reaches a whole
/// pixel, because most streams store colour at half the resolution. libmpv has no property that
/// prevents this. A crop filter, which is used with older versions, does not mix pixels in this
/// way.
constexpr bool edgesAreMixed = MPV_CLIENT_API_VERSION > MPV_MAKE_VERSION(2, 0);

/// The largest share that pixels outside the area can contribute to a pixel at its edge. This share
/// is three quarters for the colour of a pixel that shares its colour sample with a pixel beyond
/// the edge, and less for the brightness.
constexpr double largestShare = 0.75;

/// The colour of a pixel. Empty unless all nearby pixels inside `area` are known and have this
/// colour.
std::optional<QColor> evenColour(const QImage &picture, QPoint pixel, QRect area) {
    const QRect around =
        QRect(pixel - QPoint(reach, reach), pixel + QPoint(reach, reach)).intersected(area);
    const QColor colour = picture.pixelColor(pixel);
    for (int y = around.top(); y <= around.bottom(); ++y) {
        for (int x = around.left(); x <= around.right(); ++x) {
            const QColor other = picture.pixelColor(x, y);
            if (other.alpha() != 255 || colourDistance(other, colour) > 2)
                return std::nullopt;
        }
    }
    return colour;
}

/// The largest difference between `colour` and the colours near a pixel. Empty unless all of these
/// colours are known.
std::optional<int> spreadAround(const QImage &picture, QPoint pixel, const QColor &colour) {
    int spread = 0;
    const QRect around = QRect(pixel - QPoint(reach, reach), pixel + QPoint(reach, reach))
                             .intersected(picture.rect());
    for (int y = around.top(); y <= around.bottom(); ++y) {
        for (int x = around.left(); x <= around.right(); ++x) {
            const QColor other = picture.pixelColor(x, y);
            if (other.alpha() != 255)
                return std::nullopt;
            spread = std::max(spread, colourDistance(other, colour));
        }
    }
    return spread;
}

/// Sample positions from 0 to `length` - 1, denser at both ends.
QList<int> samples(int length) {
    QList<int> positions;
    constexpr int steps = 24;
    for (int step = 1; step < steps; ++step)
        positions.append(length * step / steps);
    for (int near = 0; near < 12; ++near)
        positions << near << length - 1 - near;
    return positions;
}

} // namespace

CameraProcess *AreaFixture::showCamera(int degrees, const ViewerProcess::Variables &variables) {
    m_degrees = degrees;
    CameraSetup setup;
    setup.size = pictureSize;
    setup.framesPerSecond = 10;
    setup.keyFrameInterval = 10;
    const bool isUpright = degrees % 180 != 0;
    if (isUpright) {
        setup.size = QSize(896, 504);
        home.setPreference(QStringLiteral("mainWindowFrame"),
                           QStringLiteral("{{100, 50}, {504, 896}}"));
    }
    CameraProcess *camera = startListedCamera(setup);
    if (camera == nullptr)
        return nullptr;
    if (degrees != 0)
        camera->command("rotate " + QByteArray::number(degrees));
    startViewer(variables);
    const auto isLive = viewer->waitForLiveVideo();
    EXPECT_TRUE(isLive);
    const QSize size = isUpright ? setup.size.transposed() : setup.size;
    const auto isThere = eventually(20s, [&] { return viewer->geometry().size() == size * scale; });
    EXPECT_TRUE(isThere) << "the window is " << viewer->geometry().width() << "x"
                         << viewer->geometry().height();
    const auto isShown = showsWholePicture();
    EXPECT_TRUE(isShown);
    if (!isLive || !isThere || !isShown)
        return nullptr;
    const QImage picture = screen.window(viewer->window()).transformed(turned(degrees).inverted());
    m_undimmedBars = meanColour(
        picture, pixelsOf({steadyBars.x(), steadyBars.y(), steadyBars.width(), steadyBars.height()},
                          picture.size()));
    return camera;
}

double AreaFixture::brightness() const {
    const QImage picture =
        screen.window(viewer->window()).transformed(turned(m_degrees).inverted());
    const QColor now = meanColour(
        picture, pixelsOf({steadyBars.x(), steadyBars.y(), steadyBars.width(), steadyBars.height()},
                          picture.size()));
    return static_cast<double>(now.red() + now.green() + now.blue()) /
           (m_undimmedBars.red() + m_undimmedBars.green() + m_undimmedBars.blue());
}

testing::AssertionResult AreaFixture::becomesDimmed() const {
    double is = 0;
    if (eventually(20s, [&] { return std::abs((is = brightness()) - dimmed) < 0.02; }))
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "the picture has " << is << " of its brightness";
}

testing::AssertionResult AreaFixture::becomesUndimmed() const {
    double is = 0;
    if (eventually(20s, [&] { return std::abs((is = brightness()) - 1) < 0.02; }))
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "the picture has " << is << " of its brightness";
}

void AreaFixture::beginSelection() {
    ASSERT_NO_FATAL_FAILURE(clickControl(controls().area()));
    ASSERT_TRUE(becomesDimmed());
}

void AreaFixture::dragWithoutRelease(QPoint from, QPoint to) {
    pointer.moveTo(onScreen(from * scale));
    pointer.press();
    pointer.glideTo(onScreen(to * scale), 4);
}

void AreaFixture::selectArea(QRect area) {
    ASSERT_NO_FATAL_FAILURE(beginSelection());
    dragWithoutRelease(area.topLeft(), area.topLeft() + QPoint(area.width(), area.height()));
    pointer.release();
    movePointerAway();
}

void AreaFixture::showOriginalView() {
    ASSERT_NO_FATAL_FAILURE(clickControl(controls().area()));
    movePointerAway();
}

testing::AssertionResult AreaFixture::showsWholePicture() const {
    return screen.waitUntil(
        viewer->window(),
        [this](const QImage &picture) {
            return showsColourBars(picture.transformed(turned(m_degrees).inverted()));
        },
        40s);
}

testing::AssertionResult AreaFixture::showsArea(QRect area) const {
    return screen.waitUntil(
        viewer->window(), [&](const QImage &picture) { return isArea(picture, area); }, 40s);
}

testing::AssertionResult AreaFixture::isArea(const QImage &picture, QRect area) const {
    constexpr int tolerance = 24;
    const QImage known = knownPicture(cameras.front()->setup().size).transformed(turned(m_degrees));
    const double scaleX = static_cast<double>(area.width()) / picture.width();
    const double scaleY = static_cast<double>(area.height()) / picture.height();
    // When the colours beyond an edge are unknown, pixels closer to the edge than `atX` or `atY`
    // cannot be checked.
    const int atX = edgesAreMixed ? static_cast<int>(std::ceil((reach + 1) / scaleX)) : 0;
    const int atY = edgesAreMixed ? static_cast<int>(std::ceil((reach + 1) / scaleY)) : 0;
    std::array<int, 4> compared{}; // pixels at the left, right, upper and lower edge
    for (const int y : samples(picture.height())) {
        for (const int x : samples(picture.width())) {
            const QPoint source(area.x() + static_cast<int>((x + 0.5) * scaleX),
                                area.y() + static_cast<int>((y + 0.5) * scaleY));
            const auto expected = evenColour(known, source, area);
            // A pixel is checked only if all neighbouring colours that may be mixed into it are
            // known.
            const auto spread = edgesAreMixed && expected ? spreadAround(known, source, *expected)
                                                          : std::optional(0);
            if (!expected || !spread)
                continue;
            compared[0] += static_cast<int>(x <= atX);
            compared[1] += static_cast<int>(x >= picture.width() - 1 - atX);
            compared[2] += static_cast<int>(y <= atY);
            compared[3] += static_cast<int>(y >= picture.height() - 1 - atY);
            const QColor is = picture.pixelColor(x, y);
            if (colourDistance(is, *expected) > tolerance + largestShare * *spread) {
                return testing::AssertionFailure()
                       << "pixel " << x << ", " << y << " of " << picture.width() << "x"
                       << picture.height() << " is " << is.name().toStdString() << " instead of "
                       << expected->name().toStdString();
            }
        }
    }
    for (const int count : compared) {
        if (count < 4)
            return testing::AssertionFailure()
                   << "too few pixels at an edge of this area can be checked";
    }
    return testing::AssertionSuccess();
}

} // namespace lumvik::test
