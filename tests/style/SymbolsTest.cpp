#include "style/Symbols.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

namespace lumvik {
namespace {

/// A symbol that the viewer draws, and the size in which it draws the symbol.
struct DrawnSymbol {
    const char *name;
    QSize size; // in points
};

constexpr DrawnSymbol drawnSymbols[]{{"pin", {13, 13}},
                                     {"pin.fill", {13, 13}},
                                     {"viewfinder", {13, 13}},
                                     {"arrow.counterclockwise", {13, 13}},
                                     {"xmark", {13, 13}},
                                     {"checkmark", {12, 12}},
                                     {"chevron.up.chevron.down", {8, 10}}};

/// Returns the symbol on a transparent background, with its rectangle at `origin`.
QImage drawn(const DrawnSymbol &symbol, const QPointF &origin, qreal scale = 1) {
    QImage image(QSizeF(QSizeF(20, 20) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    Symbols::draw(painter, QString::fromLatin1(symbol.name), QRectF(origin, QSizeF(symbol.size)),
                  Qt::white);
    return image;
}

int opacity(const QImage &image, int x, int y) {
    return qAlpha(image.pixel(x, y));
}

/// Whether the line of pixels from `first` to `last`, which has no diagonal, is covered completely.
testing::AssertionResult isFilled(const QImage &image, const QPoint &first, const QPoint &last) {
    for (int y = first.y(); y <= last.y(); ++y) {
        for (int x = first.x(); x <= last.x(); ++x) {
            if (opacity(image, x, y) < 250)
                return testing::AssertionFailure()
                       << "the opacity at " << x << ", " << y << " is " << opacity(image, x, y);
        }
    }
    return testing::AssertionSuccess();
}

/// Whether nothing is drawn on the line of pixels from `first` to `last`.
testing::AssertionResult isClear(const QImage &image, const QPoint &first, const QPoint &last) {
    for (int y = first.y(); y <= last.y(); ++y) {
        for (int x = first.x(); x <= last.x(); ++x) {
            if (opacity(image, x, y) > 5)
                return testing::AssertionFailure()
                       << "the opacity at " << x << ", " << y << " is " << opacity(image, x, y);
        }
    }
    return testing::AssertionSuccess();
}

TEST(Symbols, HalfAPixelBesideTheGridIsDrawnOnTheGrid) {
    for (const DrawnSymbol &symbol : drawnSymbols) {
        const QImage onGrid = drawn(symbol, {3, 2});
        EXPECT_EQ(drawn(symbol, {3.5, 2.5}), onGrid) << symbol.name;
        EXPECT_EQ(drawn(symbol, {2.75, 2.25}), onGrid) << symbol.name;
        EXPECT_EQ(drawn(symbol, {3.25, 2.25}, 2), drawn(symbol, {3, 2}, 2)) << symbol.name;
        EXPECT_NE(drawn(symbol, {4, 2}), onGrid) << symbol.name;
    }
}

TEST(Symbols, StayInTheirRectangle) {
    for (const DrawnSymbol &symbol : drawnSymbols) {
        const QImage image = drawn(symbol, {3, 2});
        const QRect place(QPoint(3, 2), symbol.size);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (!place.contains(x, y)) {
                    EXPECT_EQ(opacity(image, x, y), 0) << symbol.name << ' ' << x << ' ' << y;
                }
            }
        }
    }
}

TEST(Symbols, ViewfinderHasStrokesOfWholePixelsAtScaleOne) {
    const QImage image = drawn({"viewfinder", {13, 13}}, {});
    EXPECT_TRUE(isFilled(image, {5, 6}, {7, 6}));
    EXPECT_TRUE(isFilled(image, {6, 5}, {6, 7}));
    for (const int edge : {1, 11}) {
        EXPECT_TRUE(isFilled(image, {edge, 3}, {edge, 3}));
        EXPECT_TRUE(isFilled(image, {edge, 9}, {edge, 9}));
        EXPECT_TRUE(isFilled(image, {3, edge}, {3, edge}));
        EXPECT_TRUE(isFilled(image, {9, edge}, {9, edge}));
    }
    for (const int beside : {0, 12}) {
        EXPECT_TRUE(isClear(image, {beside, 0}, {beside, 12}));
        EXPECT_TRUE(isClear(image, {0, beside}, {12, beside}));
    }
    for (const int beside : {5, 7})
        EXPECT_TRUE(isClear(image, {beside, 4}, {beside, 5})) << "beside the upright of the cross";
}

TEST(Symbols, PinHasStrokesOfWholePixelsAtScaleOne) {
    const QImage image = drawn({"pin", {13, 13}}, {});
    EXPECT_TRUE(isFilled(image, {4, 1}, {8, 1})) << "the head";
    EXPECT_TRUE(isFilled(image, {4, 2}, {4, 4})) << "the left side";
    EXPECT_TRUE(isFilled(image, {8, 2}, {8, 4})) << "the right side";
    EXPECT_TRUE(isClear(image, {5, 2}, {7, 4})) << "between the sides";
    EXPECT_TRUE(isFilled(image, {3, 8}, {9, 8})) << "the base";
    EXPECT_TRUE(isFilled(image, {6, 9}, {6, 11})) << "the needle";
    EXPECT_TRUE(isClear(image, {5, 10}, {5, 12})) << "beside the needle";
    EXPECT_TRUE(isClear(image, {7, 10}, {7, 12})) << "beside the needle";
}

TEST(Symbols, DiagonalsRunThroughTheMiddleOfPixelsAtScaleOne) {
    const QImage cross = drawn({"xmark", {13, 13}}, {});
    for (int step = 4; step <= 8; ++step) {
        EXPECT_TRUE(isFilled(cross, {step, step}, {step, step}));
        EXPECT_TRUE(isFilled(cross, {12 - step, step}, {12 - step, step}));
    }
    const QImage arrows = drawn({"chevron.up.chevron.down", {8, 10}}, {});
    for (const QPoint middle : {QPoint(2, 2), QPoint(5, 2), QPoint(2, 7), QPoint(5, 7)}) {
        EXPECT_GT(opacity(arrows, middle.x(), middle.y()), 220) << middle.x() << ' ' << middle.y();
    }
}

} // namespace
} // namespace lumvik
