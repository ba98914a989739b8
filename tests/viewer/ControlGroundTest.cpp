#include "viewer/ControlGround.h"

#include "Painted.h"
#include "style/Contrast.h"

namespace lumvik {
namespace {

using namespace test;

constexpr QSize groundSize{28, 24};
constexpr QPoint groundInside{14, 12};
constexpr QPoint groundEdge{0, 12};

/// The fills of the viewer's controls.
const QList<QColor> fillsOfControls{QColor::fromRgbF(0, 0, 0, 0.66F), // the camera picker
                                    QColor::fromRgbF(0, 0, 0, 0.76F), // the buttons
                                    QColor::fromRgbF(0, 0, 0, 0.9F)};

/// Returns a control's ground over a picture of the colour `picture`.
QImage paintedGround(const QColor &fill, ControlLook look, const QColor &picture, qreal inset = 0) {
    return painted(groundSize, picture, [&](QPainter &painter) {
        const QRectF bounds({}, QSizeF(groundSize));
        paintControlGround(painter, {bounds.adjusted(inset, inset, -inset, -inset), 6}, fill, look);
    });
}

TEST(ControlGround, HasAVisibleEdgeOnABlackPicture) {
    for (const QColor &fill : fillsOfControls) {
        for (const ControlLook look :
             {ControlLook::idle, ControlLook::hovered, ControlLook::pressed}) {
            const QImage image = paintedGround(fill, look, Qt::black);
            EXPECT_GE(contrast(image.pixelColor(groundEdge), Qt::black), 3);
        }
    }
}

TEST(ControlGround, IsDarkOnAWhitePicture) {
    for (const QColor &fill : fillsOfControls) {
        for (const ControlLook look :
             {ControlLook::idle, ControlLook::hovered, ControlLook::pressed}) {
            const QImage image = paintedGround(fill, look, Qt::white);
            EXPECT_GE(contrast(Qt::white, image.pixelColor(groundInside)), 4.5)
                << "white text is not readable on " << qPrintable(image.pixelColor(14, 12).name());
        }
    }
}

TEST(ControlGround, EdgeIsOnePixelWideAtEveryScale) {
    for (const int scale : {1, 2, 3}) {
        QImage image(groundSize * scale, QImage::Format_ARGB32_Premultiplied);
        image.setDevicePixelRatio(scale);
        image.fill(Qt::black);
        QPainter painter(&image);
        paintControlGround(painter, {QRectF(QPointF(), QSizeF(groundSize)), 6}, Qt::black,
                           ControlLook::idle);
        painter.end();
        const int middle = image.height() / 2;
        const int right = image.width() - 1;
        const QColor line = QColor::fromRgbF(0.36F, 0.36F, 0.36F);
        EXPECT_TRUE(pixelIs(image, {0, middle}, line)) << scale;
        EXPECT_TRUE(pixelIs(image, {1, middle}, Qt::black)) << scale;
        EXPECT_TRUE(pixelIs(image, {right, middle}, line)) << scale;
        EXPECT_TRUE(pixelIs(image, {right - 1, middle}, Qt::black)) << scale;
        EXPECT_TRUE(pixelIs(image, {image.width() / 2, 0}, line)) << scale;
        EXPECT_TRUE(pixelIs(image, {image.width() / 2, 1}, Qt::black)) << scale;
    }
}

TEST(ControlGround, EdgeCoversPixelsThatTheShapeCoversInPart) {
    const QImage image = paintedGround(Qt::black, ControlLook::idle, Qt::black, 0.5);
    EXPECT_TRUE(pixelIs(image, groundEdge, QColor::fromRgbF(0.36F, 0.36F, 0.36F)));
    EXPECT_TRUE(pixelIs(image, groundEdge + QPoint(1, 0), Qt::black));
}

TEST(ControlGround, HasRoundCorners) {
    const QImage image = paintedGround(Qt::black, ControlLook::idle, Qt::transparent);
    for (const QPoint corner : {QPoint(0, 0), QPoint(27, 0), QPoint(0, 23), QPoint(27, 23)})
        EXPECT_TRUE(pixelIs(image, corner, Qt::transparent));
}

TEST(ControlGround, LooksDifferWherePicturesAreBlackOrWhite) {
    const QColor fill = fillsOfControls.first();
    for (const QColor &picture : {QColor(Qt::black), QColor(Qt::white)}) {
        const auto inside = [&](ControlLook look) {
            return qGray(paintedGround(fill, look, picture).pixel(groundInside));
        };
        EXPECT_GE(inside(ControlLook::hovered), inside(ControlLook::idle) + 15);
        EXPECT_GE(inside(ControlLook::pressed), inside(ControlLook::hovered) + 12);
        EXPECT_EQ(inside(ControlLook::disabled), inside(ControlLook::idle));
    }
    const auto line = [&](ControlLook look) {
        return qGray(paintedGround(fill, look, Qt::black).pixel(groundEdge));
    };
    EXPECT_LT(line(ControlLook::disabled), line(ControlLook::idle) - 30);
    EXPECT_GT(line(ControlLook::hovered), line(ControlLook::idle) + 20);
}

TEST(ControlGround, OnlyDisabledControlsAreDim) {
    EXPECT_EQ(contentOpacity(ControlLook::idle), 1);
    EXPECT_EQ(contentOpacity(ControlLook::hovered), 1);
    EXPECT_EQ(contentOpacity(ControlLook::pressed), 1);
    EXPECT_LT(contentOpacity(ControlLook::disabled), 0.5);
}

TEST(ControlGround, LeavesThePainterAsItWas) {
    painted(groundSize, Qt::black, [](QPainter &painter) {
        const QPen pen(Qt::green, 3);
        painter.setPen(pen);
        paintControlGround(painter, {QRectF(0, 0, 28, 24), 6}, Qt::black, ControlLook::pressed);
        EXPECT_EQ(painter.pen(), pen);
        EXPECT_EQ(painter.brush(), QBrush());
    });
}

} // namespace
} // namespace lumvik
