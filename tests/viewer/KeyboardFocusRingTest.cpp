#include "viewer/KeyboardFocusRing.h"

#include "Painted.h"

namespace lumvik {
namespace {

using namespace test;

class KeyboardFocusRingTest : public testing::Test {
  protected:
    KeyboardFocusRingTest() { outline.surround({QRectF(0, 0, 28, 24), 6}); }

    QQuickItem control;
    KeyboardFocusRing outline{&control};
};

TEST_F(KeyboardFocusRingTest, IsNotShownAtFirst) {
    EXPECT_FALSE(outline.isVisible());
}

TEST_F(KeyboardFocusRingTest, SurroundsItsControl) {
    EXPECT_EQ(QRectF(outline.position(), outline.size()), QRectF(-4, -4, 36, 32));
}

TEST_F(KeyboardFocusRingTest, DoesNotCoverItsControl) {
    const QImage image = paintedItem(outline, Qt::transparent);
    EXPECT_EQ(pixelsLike(image, QRect(6, 6, 24, 20), Qt::transparent), 24 * 20);
}

TEST_F(KeyboardFocusRingTest, IsWhiteBetweenDarkLinesOnEveryBackground) {
    for (const QColor &ground : {QColor(Qt::black), QColor(Qt::white), QColor(203, 93, 82)}) {
        const QImage image = paintedItem(outline, ground);
        for (const int line : {1, 2}) {
            EXPECT_TRUE(pixelIs(image, {18, line}, Qt::white));
            EXPECT_TRUE(pixelIs(image, {line, 16}, Qt::white));
        }
        for (const int line : {0, 3}) {
            EXPECT_TRUE(pixelIs(image, {18, line}, darkened(ground, 0.72)));
            EXPECT_TRUE(pixelIs(image, {line, 16}, darkened(ground, 0.72)));
        }
    }
}

} // namespace
} // namespace lumvik
