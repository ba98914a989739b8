#include "style/Contrast.h"

#include <QColor>

#include <gtest/gtest.h>

namespace lumvik {
namespace {

TEST(Contrast, HasTheValuesOfTheGuidelines) {
    EXPECT_NEAR(contrast(Qt::black, Qt::white), 21, 0.001);
    EXPECT_NEAR(contrast(QColor(0x77, 0x77, 0x77), Qt::white), 4.48, 0.005);
    EXPECT_NEAR(contrast(QColor(0x76, 0x76, 0x76), Qt::white), 4.54, 0.005);
    EXPECT_NEAR(contrast(QColor(255, 0, 0), Qt::white), 4.00, 0.005);
    EXPECT_NEAR(contrast(QColor(0, 0, 255), Qt::white), 8.59, 0.005);
}

TEST(Contrast, IsTheSameInBothDirections) {
    const QColor one(203, 93, 82);
    const QColor other(38, 38, 40);
    EXPECT_EQ(contrast(one, other), contrast(other, one));
    EXPECT_EQ(contrast(one, one), 1);
}

} // namespace
} // namespace lumvik
