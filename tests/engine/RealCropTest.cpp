// An area of a real camera's picture, cut out by the real engine: by its own crop where it has one,
// else by a filter. Either must show the same pixels.

#include "ColourBars.h"
#include "Pixels.h"
#include "RealViewTest.h"
#include "engine/VideoFocusCrop.h"

#include <QTransform>

#include <cmath>
#include <ostream>
#include <string>

namespace lumvik::test {
namespace {

struct Stream {
    QSize size;
    int degrees;

    friend std::ostream &operator<<(std::ostream &out, const Stream &stream) {
        return out << stream.size.width() << 'x' << stream.size.height() << " turned by "
                   << stream.degrees;
    }
};

CameraSetup setupFor(const Stream &stream) {
    CameraSetup setup;
    setup.size = stream.size;
    return setup;
}

/// Rows of the black band below the bars that the letters in it keep clear of.
constexpr int blackRows = 10;

/// The second and the third bar from half their height down, and a little of the black below them.
VideoFocusCrop twoBars(QSize size) {
    const int bar = size.width() / PictureLayout::barCount;
    const int height = size.height() / 4;
    return {bar, height, qint64{2} * bar, height + blackRows, size};
}

testing::AssertionResult isColour(const QImage &picture, int x, int y, QColor wanted) {
    constexpr int tolerance = 24;
    const QColor is = picture.pixelColor(x, y);
    if (colourDistance(is, wanted) <= tolerance)
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << x << ", " << y << " of " << picture.width() << 'x' << picture.height() << " is "
           << is.name().toStdString() << " instead of " << wanted.name().toStdString();
}

/// Whether `picture`, which is not turned, is that area of the camera's picture and nothing else.
testing::AssertionResult isTwoBars(const QImage &picture, const VideoFocusCrop &area) {
    const QColor yellow(191, 191, 0);
    const QColor cyan(0, 191, 191);
    const QColor black(0, 0, 0);
    // Borders are blurred by about two pixels of the source.
    const int blurX = picture.width() * 3 / static_cast<int>(area.width) + 1;
    const int blurY = picture.height() * 3 / static_cast<int>(area.height) + 1;
    const int right = picture.width() - 1;
    const int bottom = picture.height() - 1;
    const int borderX = picture.width() / 2;
    const int borderY =
        picture.height() - picture.height() * blackRows / static_cast<int>(area.height);
    for (const int y : {0, 1, picture.height() / 3, borderY - blurY}) {
        for (const int x : {0, 1, borderX / 2, borderX - blurX}) {
            if (const auto result = isColour(picture, x, y, yellow); !result)
                return result;
        }
        for (const int x : {borderX + blurX, borderX * 3 / 2, right - 1, right}) {
            if (const auto result = isColour(picture, x, y, cyan); !result)
                return result;
        }
    }
    for (const int y : {borderY + blurY, bottom - 1, bottom}) {
        for (const int x : {0, borderX, right}) {
            if (const auto result = isColour(picture, x, y, black); !result)
                return result;
        }
    }
    return testing::AssertionSuccess();
}

class RealCropTest : public RealViewTest, public testing::WithParamInterface<Stream> {
  protected:
    RealCropTest() : RealViewTest(setupFor(GetParam())) {}

    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(RealViewTest::SetUp());
        if (GetParam().degrees != 0)
            camera.command("rotate " + QByteArray::number(GetParam().degrees));
        ASSERT_NO_FATAL_FAILURE(play(5));
        // As the program sets them for an area: the picture fills the window, stretched as may be.
        ASSERT_GE(mpv_set_property_string(player, "keepaspect", "no"), 0);
        ASSERT_GE(mpv_set_property_string(player, "panscan", "0"), 0);
    }
    /// What the window shows, turned back.
    [[nodiscard]] QImage uprightPicture() const {
        return shownPicture().transformed(QTransform().rotate(GetParam().degrees).inverted());
    }
    template<class Look>
    [[nodiscard]] testing::AssertionResult comesToShow(Look look) const {
        testing::AssertionResult result = testing::AssertionFailure();
        static_cast<void>(eventually(
            deadline, [&] { return static_cast<bool>(result = look(uprightPicture())); }));
        return result;
    }
    [[nodiscard]] testing::AssertionResult comesToShowTwoBars() const {
        return comesToShow(
            [](const QImage &picture) { return isTwoBars(picture, twoBars(GetParam().size)); });
    }
    [[nodiscard]] testing::AssertionResult comesToShowTheWholePicture() const {
        return comesToShow([](const QImage &picture) { return showsColourBars(picture); });
    }
    [[nodiscard]] std::string property(const char *name) const {
        char *text = mpv_get_property_string(player, name);
        std::string value = text == nullptr ? "(none)" : text;
        mpv_free(text);
        return value;
    }
};

TEST_P(RealCropTest, ShowsTheAreaToThePixelAndTheWholePictureAgain) {
    ASSERT_TRUE(comesToShowTheWholePicture());
    const VideoFocusCrop area = twoBars(GetParam().size);
    setVideoCrop(player, area);
    EXPECT_TRUE(comesToShowTwoBars());
    hideVideoCrop(player);
    EXPECT_TRUE(comesToShowTheWholePicture());
    setVideoCrop(player, area);
    EXPECT_TRUE(comesToShowTwoBars());
    removeVideoCrop(player);
    EXPECT_TRUE(comesToShowTheWholePicture());
}

TEST_P(RealCropTest, LeavesDecoderAndGeometryAlone) {
    const bool hasOwnCrop = !property("mpv-version").starts_with("mpv 0.35");
    const std::string decoder = property("hwdec-current");
    const VideoFocusCrop area = twoBars(GetParam().size);
    setVideoCrop(player, area);
    ASSERT_TRUE(comesToShowTwoBars());
    EXPECT_EQ(property("video-crop"), hasOwnCrop ? videoCropText(area) : "(none)");
    EXPECT_EQ(property("vf").empty(), hasOwnCrop) << property("vf");
    // Here frames are decoded into memory, where a filter reaches them, too.
    EXPECT_EQ(property("hwdec"), "auto-safe");
    EXPECT_EQ(property("hwdec-current"), decoder);
    // The geometry that areas are computed from is the whole picture's, whatever is shown of it.
    EXPECT_EQ(property("video-params/w"), std::to_string(GetParam().size.width()));
    EXPECT_EQ(property("video-params/h"), std::to_string(GetParam().size.height()));
    removeVideoCrop(player);
    EXPECT_TRUE(comesToShowTheWholePicture());
    EXPECT_EQ(property("vf"), "");
    EXPECT_EQ(property("hwdec"), "auto-safe");
    EXPECT_EQ(property("hwdec-current"), decoder);
}

// Sizes of which a seventh of the width is even, as is a quarter of the height.
INSTANTIATE_TEST_SUITE_P(Shapes, RealCropTest,
                         testing::Values(Stream{{896, 504}, 0}, Stream{{896, 504}, 90},
                                         Stream{{896, 504}, 180}, Stream{{896, 504}, 270},
                                         Stream{{896, 672}, 0}, Stream{{896, 672}, 90}));

} // namespace
} // namespace lumvik::test
