#include "editor/MirelCameraRowView.h"

#include "CameraSettingsFixture.h"
#include "style/Contrast.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace lumvik {
namespace {

using namespace test;

constexpr QSize rowSize{200, 44};
constexpr QColor band(200, 215, 225);

QPalette palette() {
    QPalette palette(Qt::yellow);
    palette.setColor(QPalette::Window, QColor(235, 235, 235));
    palette.setColor(QPalette::AlternateBase, band);
    return palette;
}

/// Returns the image that `draw` draws in a row at `origin`, without the area around the row.
template<typename Draw>
QImage drawn(Draw draw, QPoint origin = {}) {
    QImage image(QSize(origin.x(), origin.y()) + rowSize + QSize(20, 20),
                 QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        draw(painter, QRectF(origin, rowSize));
    }
    return image.copy(QRect(origin, rowSize));
}

QImage background(const MirelCameraRowView &row, QPoint origin = {}) {
    return drawn([&](QPainter &painter,
                     const QRectF &bounds) { row.drawBackground(painter, bounds, palette()); },
                 origin);
}

QImage selection(const MirelCameraRowView &row) {
    return drawn(
        [&](QPainter &painter, const QRectF &bounds) { row.drawSelection(painter, bounds); });
}

bool isEmpty(const QImage &image) {
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y).alpha() != 0)
                return false;
        }
    }
    return true;
}

/// Returns the transparent area of a rounded corner in pixels. Partly covered pixels count in
/// proportion. `corner` is the outermost pixel and `step` the direction into the shape.
qreal missingInCorner(const QImage &image, QPoint corner, QPoint step) {
    qreal missing = 0;
    for (int y = 0; y < 14; ++y) {
        for (int x = 0; x < 14; ++x) {
            const QPoint pixel(corner.x() + x * step.x(), corner.y() + y * step.y());
            missing += 1 - image.pixelColor(pixel).alphaF();
        }
    }
    return missing;
}

/// Expects a rounded rectangle that is inset by 2 points at the left and right and by 1 point at
/// the top and bottom. The corners have a radius of 7 points.
void expectInsetRoundedShape(const QImage &image, const QColor &colour) {
    const int right = rowSize.width() - 1;
    const int bottom = rowSize.height() - 1;
    const int middleX = rowSize.width() / 2;
    const int middleY = rowSize.height() / 2;
    for (const QPoint pixel :
         {QPoint(middleX, middleY), QPoint(2, middleY), QPoint(right - 2, middleY),
          QPoint(middleX, 1), QPoint(middleX, bottom - 1)})
        EXPECT_EQ(image.pixelColor(pixel), colour) << pixel.x() << ' ' << pixel.y();
    for (int x = 0; x <= right; ++x) {
        EXPECT_EQ(image.pixelColor(x, 0).alpha(), 0) << x;
        EXPECT_EQ(image.pixelColor(x, bottom).alpha(), 0) << x;
    }
    for (int y = 0; y <= bottom; ++y) {
        for (const int x : {0, 1, right - 1, right})
            EXPECT_EQ(image.pixelColor(x, y).alpha(), 0) << x << ' ' << y;
    }
    // A quarter circle leaves (1 - pi/4) of its square empty. With a radius of 6 or 8 points, the
    // area would differ by about 3 pixels.
    const qreal expected = (1 - std::numbers::pi / 4) * 7 * 7;
    EXPECT_NEAR(missingInCorner(image, {2, 1}, {1, 1}), expected, 0.7);
    EXPECT_NEAR(missingInCorner(image, {right - 2, 1}, {-1, 1}), expected, 0.7);
    EXPECT_NEAR(missingInCorner(image, {2, bottom - 1}, {1, -1}), expected, 0.7);
    EXPECT_NEAR(missingInCorner(image, {right - 2, bottom - 1}, {-1, -1}), expected, 0.7);
}

TEST(MirelCameraRowView, HasNeitherBandNorSelectionByDefault) {
    const MirelCameraRowView row;
    EXPECT_FALSE(row.usesAlternateBackground);
    EXPECT_TRUE(isEmpty(background(row)));
    EXPECT_TRUE(isEmpty(selection(row)));
}

TEST(MirelCameraRowView, BandIsAnInsetRoundedShapeInTheAlternateColour) {
    MirelCameraRowView row;
    row.usesAlternateBackground = true;
    expectInsetRoundedShape(background(row), band);
}

/// A window's background and text, and the alternate colour of the theme.
struct ThemeColours {
    QColor ground;
    QColor text;
    QColor alternate;
};

QColor bandOf(const ThemeColours &theme) {
    QPalette palette;
    palette.setColor(QPalette::Window, theme.ground);
    palette.setColor(QPalette::WindowText, theme.text);
    palette.setColor(QPalette::AlternateBase, theme.alternate);
    return MirelCameraRowView::bandColour(palette);
}

TEST(MirelCameraRowView, BandIsVisibleAndSubtleInEveryTheme) {
    for (const ThemeColours &theme :
         {ThemeColours{QColor(239, 239, 239), Qt::black, QColor(247, 247, 247)},
          ThemeColours{QColor(239, 239, 239), Qt::black, QColor(239, 239, 239)},
          ThemeColours{QColor(34, 32, 32), Qt::white, QColor(92, 91, 90)},
          ThemeColours{QColor(34, 32, 32), Qt::white, QColor(34, 32, 32)},
          ThemeColours{Qt::black, Qt::white, Qt::black},
          ThemeColours{Qt::white, Qt::black, Qt::white},
          ThemeColours{QColor(34, 32, 32), Qt::white, QColor(247, 247, 247)}}) {
        const double difference = contrast(bandOf(theme), theme.ground);
        EXPECT_GE(difference, 1.1) << qPrintable(theme.ground.name());
        EXPECT_LE(difference, 1.4) << qPrintable(theme.ground.name());
    }
}

TEST(MirelCameraRowView, BandHasTheColourOfTheThemeWhereItIsVisibleAndSubtle) {
    const QColor alternate(220, 225, 235);
    EXPECT_EQ(bandOf({QColor(239, 239, 239), Qt::black, alternate}), alternate);
}

TEST(MirelCameraRowView, BandIsDrawnAtThePositionOfTheRow) {
    MirelCameraRowView row;
    row.usesAlternateBackground = true;
    EXPECT_EQ(background(row, {11, 88}), background(row));
}

TEST(MirelCameraRowView, SelectionDoesNotChangeTheBand) {
    MirelCameraRowView row;
    row.isSelected = true;
    EXPECT_TRUE(isEmpty(background(row))) << "a row without usesAlternateBackground has no band";
    row.usesAlternateBackground = true;
    expectInsetRoundedShape(background(row), band);
}

TEST(MirelCameraRowView, SelectionIsAnInsetRoundedShapeInTheAccentColour) {
    MirelCameraRowView row;
    row.isSelected = true;
    expectInsetRoundedShape(selection(row), accent);
    row.usesAlternateBackground = true;
    expectInsetRoundedShape(selection(row), accent);
}

TEST(MirelCameraRowView, DeselectedRowDrawsNoSelection) {
    MirelCameraRowView row;
    row.usesAlternateBackground = true;
    row.isSelected = true;
    EXPECT_FALSE(isEmpty(selection(row)));
    row.isSelected = false;
    EXPECT_TRUE(isEmpty(selection(row)));
}

TEST(MirelCameraRowView, DoesNotChangeTheStateOfThePainter) {
    MirelCameraRowView row;
    row.usesAlternateBackground = true;
    row.isSelected = true;
    const QPen pen(Qt::green, 3);
    drawn([&](QPainter &painter, const QRectF &bounds) {
        painter.setPen(pen);
        row.drawBackground(painter, bounds, palette());
        row.drawSelection(painter, bounds);
        EXPECT_EQ(painter.pen(), pen);
        EXPECT_EQ(painter.brush(), QBrush());
        EXPECT_FALSE(painter.testRenderHint(QPainter::Antialiasing));
    });
}

} // namespace
} // namespace lumvik
