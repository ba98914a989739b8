#include "viewer/AreaGeometry.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>

namespace lumvik {
namespace {

std::string cropText(const QRectF &selection, const QSizeF &view,
                     const VideoSourceGeometry &geometry,
                     PictureScaling scaling = PictureScaling::fill) {
    const auto crop = videoFocusCrop(selection, view, geometry, scaling);
    if (!crop)
        return "nothing";
    return std::to_string(crop->width) + 'x' + std::to_string(crop->height) + '+' +
           std::to_string(crop->x) + '+' + std::to_string(crop->y);
}

struct CropCase {
    const char *name;
    QRectF selection;
    QSizeF view;
    VideoSourceGeometry geometry;
    const char *crop;
};

/// Prints the name of a case, so that test names are stable.
void PrintTo(const CropCase &row, std::ostream *stream) {
    *stream << row.name;
}

class AreaCropTable : public testing::TestWithParam<CropCase> {};

TEST_P(AreaCropTable, IsTheAreaUnderTheSelection) {
    const CropCase &row = GetParam();
    EXPECT_EQ(cropText(row.selection, row.view, row.geometry), row.crop);
}

const VideoSourceGeometry wide{1920, 1080, 0};
const VideoSourceGeometry square{1024, 1024, 0};
const QSizeF wideView(480, 270);   // four pixels of `wide` per point
const QSizeF tallView(270, 480);   // four pixels of the rotated `wide` per point
const QSizeF squareView(512, 512); // two pixels of `square` per point

VideoSourceGeometry turned(int rotation) {
    return {1920, 1080, rotation};
}

std::string nameOfCase(const testing::TestParamInfo<CropCase> &row) {
    return row.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    Rotations, AreaCropTable,
    testing::Values(
        CropCase{"WholeUpright", {{0, 0}, wideView}, wideView, wide, "1920x1080+0+0"},
        CropCase{"WholeQuarterTurn", {{0, 0}, tallView}, tallView, turned(90), "1920x1080+0+0"},
        CropCase{"WholeUpsideDown", {{0, 0}, wideView}, wideView, turned(180), "1920x1080+0+0"},
        CropCase{"WholeThreeQuarters", {{0, 0}, tallView}, tallView, turned(270), "1920x1080+0+0"},
        CropCase{"Upright", {30, 20, 160, 90}, wideView, wide, "640x360+120+80"},
        CropCase{"QuarterTurn", {30, 20, 100, 50}, tallView, turned(90), "200x400+80+560"},
        CropCase{"UpsideDown", {30, 20, 160, 90}, wideView, turned(180), "640x360+1160+640"},
        CropCase{"ThreeQuarters", {30, 20, 100, 50}, tallView, turned(270), "200x400+1640+120"},
        CropCase{"TopLeftOfQuarterTurn", {0, 0, 100, 50}, tallView, turned(90), "200x400+0+680"},
        CropCase{"TopLeftUpsideDown", {0, 0, 160, 90}, wideView, turned(180), "640x360+1280+720"},
        CropCase{
            "TopLeftOfThreeQuarters", {0, 0, 100, 50}, tallView, turned(270), "200x400+1720+0"},
        CropCase{
            "OddAngleCountsAsUpright", {30, 20, 160, 90}, wideView, turned(45), "640x360+120+80"}),
    nameOfCase);

INSTANTIATE_TEST_SUITE_P(
    Shapes, AreaCropTable,
    testing::Values(
        CropCase{"WindowWiderThanThePicture", {0, 0, 64, 32}, {512, 256}, square, "128x64+0+256"},
        CropCase{"WindowNarrower", {0, 0, 32, 64}, {256, 512}, square, "64x128+256+0"},
        CropCase{"WholeWiderWindow", {0, 0, 512, 256}, {512, 256}, square, "1024x512+0+256"},
        CropCase{"WholeNarrowerWindow", {0, 0, 256, 512}, {256, 512}, square, "512x1024+256+0"},
        CropCase{
            "TurnedInAWiderWindow", {0, 0, 64, 32}, {512, 256}, {1024, 1024, 90}, "64x128+256+896"},
        CropCase{"EnlargedPicture", {0, 0, 64, 64}, {512, 512}, {128, 128, 0}, "16x16+0+0"}),
    nameOfCase);

INSTANTIATE_TEST_SUITE_P(
    Edges, AreaCropTable,
    testing::Values(
        CropCase{"RoundedOutwards", {10.2, 10.2, 20.1, 20.1}, squareView, square, "41x41+20+20"},
        CropCase{"PastTopLeft", {-100, -100, 200, 200}, squareView, square, "200x200+0+0"},
        CropCase{"PastBottomRight", {400, 400, 500, 500}, squareView, square, "224x224+800+800"},
        CropCase{"PastAllEdges", {-1e18, -1e18, 2e18, 2e18}, squareView, square, "1024x1024+0+0"},
        CropCase{"BottomRightCorner", {511, 511, 1, 1}, squareView, square, "2x2+1022+1022"},
        CropCase{"Smallest", {10.1, 10.1, 0.6, 0.6}, squareView, square, "2x2+20+20"},
        CropCase{"SmallestPicture", {0, 0, 512, 512}, squareView, {2, 2, 0}, "2x2+0+0"}),
    nameOfCase);

INSTANTIATE_TEST_SUITE_P(
    NothingThere, AreaCropTable,
    testing::Values(
        CropCase{"LeftOfThePicture", {-200, 0, 100, 100}, squareView, square, "nothing"},
        CropCase{"RightOfThePicture", {600, 0, 100, 100}, squareView, square, "nothing"},
        CropCase{"AboveThePicture", {0, -200, 100, 100}, squareView, square, "nothing"},
        CropCase{"BelowThePicture", {0, 600, 100, 100}, squareView, square, "nothing"},
        CropCase{"TouchesTheEdgeFromOutside", {512, 0, 50, 50}, squareView, square, "nothing"},
        CropCase{"WithoutSize", {10, 10, 0, 0}, squareView, square, "nothing"},
        CropCase{"OnePixel", {10, 10, 0.4, 0.4}, squareView, square, "nothing"},
        CropCase{"OnePixelWide", {10, 10, 0.4, 100}, squareView, square, "nothing"},
        CropCase{"OnePixelHigh", {10, 10, 100, 0.4}, squareView, square, "nothing"},
        CropCase{"ViewWithoutWidth", {0, 0, 100, 100}, {0, 270}, wide, "nothing"},
        CropCase{"ViewWithoutHeight", {0, 0, 100, 100}, {480, 0}, wide, "nothing"},
        CropCase{"ViewOfNoNumber", {0, 0, 100, 100}, {qQNaN(), 270}, wide, "nothing"},
        CropCase{"SelectionOfNoNumber", {qQNaN(), 0, 100, 100}, squareView, square, "nothing"},
        CropCase{"PictureWithoutWidth", {0, 0, 100, 100}, wideView, {0, 1080, 0}, "nothing"},
        CropCase{"PictureWithoutHeight", {0, 0, 100, 100}, wideView, {1920, 0, 0}, "nothing"},
        CropCase{"PictureOfOneLine", {0, 0, 480, 270}, wideView, {1920, 1, 0}, "nothing"}),
    nameOfCase);

TEST(FocusCrop, LeavesOutTheBarsOfAFittedPicture) {
    const auto fitted = [](const QRectF &selection, const QSizeF &view,
                           const VideoSourceGeometry &geometry) {
        return cropText(selection, view, geometry, PictureScaling::fit);
    };
    // A picture of 512 × 512 points in a view of 1024 × 512 has bars of 256 points.
    EXPECT_EQ(fitted({0, 0, 1024, 512}, {1024, 512}, square), "1024x1024+0+0");
    EXPECT_EQ(fitted({256, 0, 64, 32}, {1024, 512}, square), "128x64+0+0");
    EXPECT_EQ(fitted({200, 100, 100, 50}, {1024, 512}, square), "88x100+0+200");
    EXPECT_EQ(fitted({740, 10, 100, 50}, {1024, 512}, square), "56x100+968+20");
    EXPECT_EQ(fitted({0, 0, 256, 512}, {1024, 512}, square), "nothing") << "a bar";
    EXPECT_EQ(fitted({0, 0, 512, 255}, {512, 1024}, square), "nothing") << "a bar";
    EXPECT_EQ(fitted({10, 256, 30, 40}, {512, 1024}, square), "60x80+20+0");
    EXPECT_EQ(fitted({30, 20, 160, 90}, wideView, wide), "640x360+120+80") << "no bars";
    EXPECT_EQ(fitted({105, 0, 60, 480}, {270, 480}, {480, 1080, 0}), "136x1080+172+0");
}

TEST(FocusCrop, CountsPixelsThatAreNotSquare) {
    const VideoSourceGeometry fourToThree{480, 360, 0, 4.0 / 3};
    EXPECT_EQ(cropText({0, 0, 640, 360}, {640, 360}, fourToThree), "480x360+0+0");
    EXPECT_EQ(cropText({64, 36, 320, 180}, {640, 360}, fourToThree), "240x180+48+36");
    const VideoSourceGeometry turnedAside{480, 360, 90, 4.0 / 3};
    EXPECT_EQ(cropText({0, 0, 360, 640}, {360, 640}, turnedAside), "480x360+0+0");
    EXPECT_EQ(cropText({0, 0, 360, 320}, {360, 640}, turnedAside), "240x360+0+0");
    const VideoSourceGeometry narrowPixels{704, 576, 0, 12.0 / 11};
    EXPECT_EQ(cropText({0, 0, 384, 288}, {768, 576}, narrowPixels), "352x288+0+0");
}

TEST(FocusCrop, ContainsTheSizeOfItsSource) {
    const auto crop = videoFocusCrop({30, 20, 100, 50}, tallView, turned(90), PictureScaling::fill);
    ASSERT_TRUE(crop);
    EXPECT_EQ(crop->sourceSize, QSizeF(1920, 1080))
        << "the source size is that before the rotation";
}

// ---- Any selection in any view of any picture ----

struct RandomCase {
    QRectF selection;
    QSizeF view;
    VideoSourceGeometry geometry;
    PictureScaling scaling = PictureScaling::fill;
};

class RandomCases {
  public:
    RandomCase next() {
        RandomCase made;
        made.geometry = {integer(2, 4000), integer(2, 4000), 90 * static_cast<int>(integer(0, 3))};
        made.view = {number(1, 3000), number(1, 3000)};
        made.scaling = integer(0, 1) == 0 ? PictureScaling::fill : PictureScaling::fit;
        const qreal beyond = integer(0, 3) == 0 ? 300 : 0;
        const auto point = [&] {
            return QPointF(number(-beyond, made.view.width() + beyond),
                           number(-beyond, made.view.height() + beyond));
        };
        made.selection = QRectF(point(), point()).normalized();
        if (integer(0, 9) == 0)
            made.selection.setSize({number(0, 5), number(0, 5)});
        return made;
    }

  private:
    std::int64_t integer(std::int64_t from, std::int64_t to) {
        return std::uniform_int_distribution<std::int64_t>(from, to)(m_generator);
    }
    qreal number(qreal from, qreal to) {
        return std::uniform_real_distribution<qreal>(from, to)(m_generator);
    }

    std::mt19937_64 m_generator{20240611}; // a fixed seed, so that every run has the same cases
};

constexpr int randomCases = 20000;

/// The mapping from the picture of a case to its view.
struct Projection {
    explicit Projection(const RandomCase &of)
        : geometry(of.geometry)
        , shown(static_cast<qreal>(geometry.displayedWidth()),
                static_cast<qreal>(geometry.displayedHeight()))
        , scale(of.scaling == PictureScaling::fill
                    ? std::max(of.view.width() / shown.width(), of.view.height() / shown.height())
                    : std::min(of.view.width() / shown.width(), of.view.height() / shown.height()))
        , picture(QPointF(of.view.width() - shown.width() * scale,
                          of.view.height() - shown.height() * scale) /
                      2,
                  shown * scale) {}

    /// Returns the position in the view of a point of the source, after clockwise rotation.
    [[nodiscard]] QPointF toScreen(QPointF source) const {
        qreal width = static_cast<qreal>(geometry.width);
        qreal height = static_cast<qreal>(geometry.height);
        for (int turn = 0; turn < geometry.rotation; turn += 90) {
            source = {height - source.y(), source.x()};
            std::swap(width, height);
        }
        return picture.topLeft() + source * scale;
    }
    [[nodiscard]] QRectF toScreen(const VideoFocusCrop &crop) const {
        const QRectF source(static_cast<qreal>(crop.x), static_cast<qreal>(crop.y),
                            static_cast<qreal>(crop.width), static_cast<qreal>(crop.height));
        return QRectF(toScreen(source.topLeft()), toScreen(source.bottomRight())).normalized();
    }

    VideoSourceGeometry geometry;
    QSizeF shown;   // the picture as it is seen, in pixels
    qreal scale;    // points per pixel
    QRectF picture; // in view coordinates; may extend beyond the view, or leave bars
};

std::string described(const RandomCase &made) {
    const auto text = [](qreal number) { return std::to_string(number) + ' '; };
    return text(made.selection.x()) + text(made.selection.y()) + text(made.selection.width()) +
           text(made.selection.height()) + "in " + text(made.view.width()) +
           text(made.view.height()) + "of " + std::to_string(made.geometry.width) + 'x' +
           std::to_string(made.geometry.height) + '@' + std::to_string(made.geometry.rotation);
}

TEST(AnyAreaCrop, LiesWithinTheSource) {
    RandomCases cases;
    int crops = 0;
    for (int count = 0; count < randomCases; ++count) {
        const RandomCase made = cases.next();
        const auto crop = videoFocusCrop(made.selection, made.view, made.geometry, made.scaling);
        if (!crop)
            continue;
        ++crops;
        ASSERT_GE(crop->x, 0) << described(made);
        ASSERT_GE(crop->y, 0) << described(made);
        ASSERT_LE(crop->x, made.geometry.width - 2) << described(made);
        ASSERT_LE(crop->y, made.geometry.height - 2) << described(made);
        ASSERT_GE(crop->width, 2) << described(made);
        ASSERT_GE(crop->height, 2) << described(made);
        ASSERT_LE(crop->x + crop->width, made.geometry.width) << described(made);
        ASSERT_LE(crop->y + crop->height, made.geometry.height) << described(made);
    }
    EXPECT_GT(crops, randomCases / 2);
}

TEST(AnyAreaCrop, ExceedsTheSelectionByLessThanAPixel) {
    RandomCases cases;
    for (int count = 0; count < randomCases; ++count) {
        const RandomCase made = cases.next();
        const auto crop = videoFocusCrop(made.selection, made.view, made.geometry, made.scaling);
        if (!crop)
            continue;
        const Projection projection(made);
        const QRectF selected = made.selection.intersected(projection.picture);
        const QRectF shown = projection.toScreen(*crop);
        const qreal inexact = 1e-6 * projection.scale;
        const std::array<qreal, 4> excess{
            selected.left() - shown.left(), selected.top() - shown.top(),
            shown.right() - selected.right(), shown.bottom() - selected.bottom()};
        for (const qreal side : excess) {
            ASSERT_GE(side, -inexact) << described(made);
            ASSERT_LT(side, projection.scale + inexact) << described(made);
        }
    }
}

TEST(AnyAreaCrop, IsMissingOnlyIfHardlyAnyPictureIsSelected) {
    RandomCases cases;
    int missing = 0;
    for (int count = 0; count < randomCases; ++count) {
        const RandomCase made = cases.next();
        if (videoFocusCrop(made.selection, made.view, made.geometry, made.scaling))
            continue;
        ++missing;
        const Projection projection(made);
        const QRectF selected = made.selection.intersected(projection.picture);
        ASSERT_LE(std::min(selected.width(), selected.height()), projection.scale * (1 + 1e-6))
            << described(made);
    }
    EXPECT_GT(missing, 100);
}

} // namespace
} // namespace lumvik
