#include "style/RoundedMask.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

namespace lumvik {
namespace {

TEST(RoundedMask, HasEveryPixelOfTheShapeAndNoOther) {
    for (const qreal radius : {0.0, 1.0, 6.5, 7.0, 8.0, 15.0}) {
        const QRect rect(3, 2, 40, 30);
        QImage shape(50, 40, QImage::Format_ARGB32_Premultiplied);
        shape.fill(Qt::transparent);
        {
            QPainter painter(&shape);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setPen(Qt::NoPen);
            painter.setBrush(Qt::white);
            painter.drawRoundedRect(rect, radius, radius);
        }
        const QRegion mask = roundedMask(rect, radius);
        for (int y = 0; y < shape.height(); ++y) {
            for (int x = 0; x < shape.width(); ++x) {
                // The curve of the painter differs from a circle by a few hundredths of a pixel.
                constexpr int visible = 16;
                const int covered = qAlpha(shape.pixel(x, y));
                if (covered > visible) {
                    EXPECT_TRUE(mask.contains(QPoint(x, y))) << radius << ' ' << x << ' ' << y;
                } else if (covered == 0) {
                    EXPECT_FALSE(mask.contains(QPoint(x, y))) << radius << ' ' << x << ' ' << y;
                }
            }
        }
    }
}

} // namespace
} // namespace lumvik
