#include "style/ApplicationIcon.h"

#include "style/LumvikPalette.h"

#include <QPixmap>

#include <gtest/gtest.h>

#include <cstdlib>

namespace lumvik {
namespace {

bool isAlike(const QColor &one, const QColor &other) {
    return std::abs(one.red() - other.red()) + std::abs(one.green() - other.green()) +
               std::abs(one.blue() - other.blue()) <
           48;
}

class ApplicationIconTest : public testing::TestWithParam<int> {};

TEST_P(ApplicationIconTest, IsARingInTheAccentColourAroundADarkLens) {
    const int size = GetParam();
    const QImage image = applicationIconImage(size);
    ASSERT_EQ(image.size(), QSize(size, size));
    EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0);
    EXPECT_EQ(image.pixelColor(size - 1, size - 1).alpha(), 0);
    const QColor ring = image.pixelColor(size / 2, size * 9 / 10);
    EXPECT_EQ(ring.alpha(), 255);
    EXPECT_TRUE(isAlike(ring, LumvikPalette::mirel())) << ring.name().toStdString();
    EXPECT_LT(image.pixelColor(size / 2, size / 2).lightness(), 90);
}

TEST_P(ApplicationIconTest, IsRenderedAtTheRequestedSize) {
    const int size = GetParam();
    EXPECT_EQ(applicationIcon().pixmap(QSize(size, size), 1).toImage(), applicationIconImage(size));
    const QPixmap twice = applicationIcon().pixmap(QSize(size, size), 2);
    EXPECT_EQ(twice.size(), QSize(2 * size, 2 * size));
    EXPECT_EQ(twice.devicePixelRatio(), 2);
}

INSTANTIATE_TEST_SUITE_P(Sizes, ApplicationIconTest,
                         testing::Values(16, 22, 24, 25, 32, 48, 64, 128, 256, 512));

TEST(ApplicationIconSizesTest, OffersSmallAndLargeSizes) {
    const QList<QSize> sizes = applicationIcon().availableSizes();
    EXPECT_TRUE(sizes.contains(QSize(16, 16)));
    EXPECT_TRUE(sizes.contains(QSize(128, 128)));
}

} // namespace
} // namespace lumvik
