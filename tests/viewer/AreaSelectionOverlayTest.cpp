#include "viewer/AreaSelectionOverlay.h"

#include "Painted.h"
#include "style/Symbols.h"

#include <QFontMetricsF>

namespace lumvik {
namespace {

using namespace test;

const QColor overlayGround(100, 150, 200);
const QColor dimmed = darkened(overlayGround, 0.42);
const QColor badgeColour = darkened(dimmed, 0.78);

class AreaSelectionOverlayTest : public testing::Test {
  protected:
    AreaSelectionOverlayTest() { overlay.setSize({480, 270}); }

    [[nodiscard]] QImage paint(const std::optional<QRectF> &selection, bool isDragging = true) {
        overlay.setSelection(selection, isDragging);
        return paintedItem(overlay, overlayGround);
    }
    static QRectF badge(bool isDragging) {
        const QFontMetricsF metrics(systemFont(12, QFont::DemiBold));
        const QString text = AreaSelectionOverlay::hint(isDragging);
        return AreaSelectionOverlay::badgeRect({480, 270},
                                               {metrics.horizontalAdvance(text), metrics.height()});
    }

    const QRectF area{100, 60, 200, 100};
    AreaSelectionOverlay overlay{nullptr};
};

TEST_F(AreaSelectionOverlayTest, IsHiddenAtFirst) {
    EXPECT_FALSE(overlay.isVisible());
}

TEST_F(AreaSelectionOverlayTest, DimsEverythingWithoutASelection) {
    for (const std::optional<QRectF> &none :
         {std::optional<QRectF>(), std::optional(QRectF(100, 60, 0, 0))}) {
        const QImage image = paint(none);
        for (const QPoint place :
             {QPoint(0, 0), QPoint(479, 269), QPoint(100, 60), QPoint(240, 120)})
            EXPECT_TRUE(pixelIs(image, place, dimmed));
    }
}

TEST_F(AreaSelectionOverlayTest, DimsAllButTheSelection) {
    const QImage image = paint(area);
    for (const QPoint outside : {QPoint(0, 0), QPoint(479, 269), QPoint(97, 100), QPoint(303, 100),
                                 QPoint(200, 57), QPoint(200, 163)})
        EXPECT_TRUE(pixelIs(image, outside, dimmed));
    for (const QPoint inside : {QPoint(104, 64), QPoint(200, 100), QPoint(295, 155)})
        EXPECT_TRUE(pixelIs(image, inside, overlayGround));
}

TEST_F(AreaSelectionOverlayTest, OutlinesTheSelectionInWhiteDashes) {
    const QImage image = paint(area);
    // The upper line has dashes of six points and gaps of four, starting at the corner.
    for (const int dash : {103, 113, 123, 193, 283})
        EXPECT_TRUE(pixelIs(image, {dash, 60}, Qt::white));
    for (const int gap : {108, 118, 128, 198, 288})
        EXPECT_TRUE(pixelIs(image, {gap, 60}, overlayGround));
}

TEST_F(AreaSelectionOverlayTest, OutlinesAllFourSides) {
    const QImage image = paint(area);
    EXPECT_GT(pixelsLike(image, {100, 64, 1, 90}, Qt::white), 40);
    EXPECT_GT(pixelsLike(image, {299, 64, 1, 90}, Qt::white), 40);
    EXPECT_GT(pixelsLike(image, {104, 60, 190, 1}, Qt::white), 80);
    EXPECT_GT(pixelsLike(image, {104, 159, 190, 1}, Qt::white), 80);
    EXPECT_EQ(pixelsLike(image, {103, 63, 194, 94}, Qt::white), 0)
        << "nothing white is within the outline";
}

TEST_F(AreaSelectionOverlayTest, HasNoOutlineWithoutASelection) {
    EXPECT_EQ(pixelsLike(paint(QRectF(100, 60, 0, 0)), {90, 50, 220, 120}, Qt::white), 0);
}

TEST_F(AreaSelectionOverlayTest, HintsDescribeTheNextStep) {
    EXPECT_EQ(AreaSelectionOverlay::hint(false), QStringLiteral("Drag to select an area"));
    EXPECT_EQ(AreaSelectionOverlay::hint(true), QStringLiteral("Release to focus"));
}

TEST_F(AreaSelectionOverlayTest, BadgeIs18PointsAboveTheLowerEdge) {
    EXPECT_EQ(AreaSelectionOverlay::badgeRect({480, 270}, {100, 15}),
              QRectF(240 - 50 - 12, 270 - 18 - 25, 124, 25));
}

TEST_F(AreaSelectionOverlayTest, BadgeIsDrawnAsWideAsItsText) {
    for (const bool isDragging : {false, true}) {
        const QImage image = paint(std::nullopt, isDragging);
        const QRectF place = badge(isDragging);
        ASSERT_GT(place.width(), 24);
        const int middle = static_cast<int>(place.center().y());
        EXPECT_TRUE(pixelIs(image, {240, 251}, badgeColour)) << "the lowest line of the badge";
        EXPECT_TRUE(pixelIs(image, {240, 252}, dimmed)) << "below the badge";
        EXPECT_TRUE(pixelIs(image, {240, qCeil(place.top()) + 1}, badgeColour));
        EXPECT_TRUE(pixelIs(image, {240, qFloor(place.top()) - 1}, dimmed)) << "above the badge";
        EXPECT_TRUE(pixelIs(image, {qCeil(place.left()) + 1, middle}, badgeColour));
        EXPECT_TRUE(pixelIs(image, {qFloor(place.left()) - 1, middle}, dimmed));
        EXPECT_TRUE(pixelIs(image, {qFloor(place.right()) - 2, middle}, badgeColour));
        EXPECT_TRUE(pixelIs(image, {qCeil(place.right()) + 1, middle}, dimmed));
    }
    EXPECT_NE(badge(false).width(), badge(true).width());
}

TEST_F(AreaSelectionOverlayTest, BadgeHasRoundCornersAndWhiteText) {
    const QImage image = paint(std::nullopt, false);
    const QRectF place = badge(false);
    EXPECT_TRUE(pixelIs(image, {qFloor(place.left()) + 1, 251}, dimmed)) << "a corner of the badge";
    const QRect text = place.adjusted(12, 5, -12, -5).toAlignedRect();
    int brightest = 0;
    for (int y = text.top(); y <= text.bottom(); ++y) {
        for (int x = text.left(); x <= text.right(); ++x)
            brightest = std::max(brightest, image.pixelColor(x, y).red());
    }
    EXPECT_GT(brightest, 200);
}

TEST_F(AreaSelectionOverlayTest, BadgeCoversTheSelection) {
    const QImage image = paint(QRectF(0, 0, 480, 270));
    EXPECT_TRUE(pixelIs(image, {240, 251}, darkened(overlayGround, 0.78)));
}

} // namespace
} // namespace lumvik
