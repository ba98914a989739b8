// Tests that the real engine cuts an area out of a real camera's picture. The engine uses its
// "video-crop" property if it has one, and a filter otherwise. The property and the filter must
// show the same pixels.

#include "RealViewFixture.h"
#include "engine/VideoFocusCrop.h"
#include "system/harness/ColourBars.h"
#include "system/harness/Pixels.h"

#include <QTransform>

#include <array>
#include <ostream>
#include <string>

namespace lumvik::test {
namespace {

struct Stream {
    QSize size;
    int degrees;

    friend std::ostream &operator<<(std::ostream &out, const Stream &stream) {
        return out << stream.size.width() << 'x' << stream.size.height() << " rotated by "
                   << stream.degrees;
    }
};

CameraSetup setupFor(const Stream &stream) {
    CameraSetup setup;
    setup.size = stream.size;
    return setup;
}

/// How many pixels the area extends beyond the two bars on either side, and into the black below
/// them. Each edge of the area lies within one colour, because "video-crop" blends the outermost
/// pixels with their neighbours outside the area. The text in the black part begins below its first
/// ten rows.
constexpr int beside = 16;
constexpr int below = 7;

/// Returns the area that shows the lower half of the second and the third bar, with a margin.
VideoFocusCrop twoBars(QSize size) {
    const int bar = size.width() / PictureLayout::barCount;
    const int height = size.height() / 4;
    return {bar - beside, height, qint64{2} * (bar + beside), height + below, size};
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

/// Checks that the upright `picture` shows exactly `area` of the camera's picture.
testing::AssertionResult isTwoBars(const QImage &picture, const VideoFocusCrop &area) {
    const auto colour = [](int bar) {
        const auto &channels = PictureLayout::barColours.at(static_cast<std::size_t>(bar));
        return QColor(channels.red, channels.green, channels.blue);
    };
    const auto column = [&](double x) {
        return static_cast<int>(x * picture.width() / static_cast<double>(area.width));
    };
    const auto row = [&](double y) {
        return static_cast<int>(y * picture.height() / static_cast<double>(area.height));
    };
    // The width of the transition between two colours, in pixels of the source.
    constexpr double blur = 3;
    const double barWidth = static_cast<double>(area.width) / 2 - beside;
    const double blackBegins = static_cast<double>(area.height) - below;
    // The first and the last column of each bar that show its pure colour.
    const std::array<std::array<double, 2>, 4> bars{
        {{0, beside - blur},
         {beside + blur, beside + barWidth - blur},
         {beside + barWidth + blur, beside + 2 * barWidth - blur},
         {beside + 2 * barWidth + blur, static_cast<double>(area.width) - 0.01}}};
    for (const int y : {0, 1, picture.height() / 3, row(blackBegins - blur)}) {
        for (int bar = 0; bar < 4; ++bar) {
            for (const double x : bars.at(static_cast<std::size_t>(bar))) {
                if (const auto result = isColour(picture, column(x), y, colour(bar)); !result)
                    return result;
            }
        }
    }
    for (const int y : {row(blackBegins + blur), picture.height() - 1}) {
        for (const int x : {0, picture.width() / 2, picture.width() - 1}) {
            if (const auto result = isColour(picture, x, y, Qt::black); !result)
                return result;
        }
    }
    return testing::AssertionSuccess();
}

class RealCropTest : public RealViewFixture, public testing::WithParamInterface<Stream> {
  protected:
    RealCropTest() : RealViewFixture(setupFor(GetParam())) {}

    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(RealViewFixture::SetUp());
        if (GetParam().degrees != 0)
            camera.command("rotate " + QByteArray::number(GetParam().degrees));
        ASSERT_NO_FATAL_FAILURE(play(5));
        // While an area is shown, the program stretches the picture to fill the window.
        ASSERT_GE(mpv_set_property_string(player, "keepaspect", "no"), 0);
        ASSERT_GE(mpv_set_property_string(player, "panscan", "0"), 0);
    }
    /// Returns the contents of the window with the stream's rotation undone.
    [[nodiscard]] QImage uprightPicture() const {
        return shownPicture().transformed(QTransform().rotate(GetParam().degrees).inverted());
    }
    template<class Look>
    [[nodiscard]] testing::AssertionResult eventuallyShows(Look look) const {
        testing::AssertionResult result = testing::AssertionFailure();
        static_cast<void>(eventually(
            deadline, [&] { return static_cast<bool>(result = look(uprightPicture())); }));
        return result;
    }
    [[nodiscard]] testing::AssertionResult eventuallyShowsTwoBars() const {
        return eventuallyShows(
            [](const QImage &picture) { return isTwoBars(picture, twoBars(GetParam().size)); });
    }
    [[nodiscard]] testing::AssertionResult eventuallyShowsTheWholePicture() const {
        return eventuallyShows([](const QImage &picture) { return showsColourBars(picture); });
    }
    [[nodiscard]] std::string property(const char *name) const {
        char *text = mpv_get_property_string(player, name);
        std::string value = text == nullptr ? "(none)" : text;
        mpv_free(text);
        return value;
    }
};

TEST_P(RealCropTest, ShowsExactlyTheAreaAndThenTheWholePictureAgain) {
    ASSERT_TRUE(eventuallyShowsTheWholePicture());
    const VideoFocusCrop area = twoBars(GetParam().size);
    setVideoCrop(player, area);
    EXPECT_TRUE(eventuallyShowsTwoBars());
    hideVideoCrop(player);
    EXPECT_TRUE(eventuallyShowsTheWholePicture());
    setVideoCrop(player, area);
    EXPECT_TRUE(eventuallyShowsTwoBars());
    removeVideoCrop(player);
    EXPECT_TRUE(eventuallyShowsTheWholePicture());
}

TEST_P(RealCropTest, LeavesDecoderAndGeometryUnchanged) {
    const bool hasOwnCrop = !property("mpv-version").starts_with("mpv 0.35");
    const std::string decoder = property("hwdec-current");
    const VideoFocusCrop area = twoBars(GetParam().size);
    setVideoCrop(player, area);
    ASSERT_TRUE(eventuallyShowsTwoBars());
    EXPECT_EQ(property("video-crop"), hasOwnCrop ? videoCropText(area) : "(none)");
    EXPECT_EQ(property("vf").empty(), hasOwnCrop) << property("vf");
    // The decoder is unchanged, because this test decodes frames into memory, where filters can
    // access them.
    EXPECT_EQ(property("hwdec"), "auto-safe");
    EXPECT_EQ(property("hwdec-current"), decoder);
    // Areas are computed from the geometry of the whole picture, so a crop must not change it.
    EXPECT_EQ(property("video-params/w"), std::to_string(GetParam().size.width()));
    EXPECT_EQ(property("video-params/h"), std::to_string(GetParam().size.height()));
    removeVideoCrop(player);
    EXPECT_TRUE(eventuallyShowsTheWholePicture());
    EXPECT_EQ(property("vf"), "");
    EXPECT_EQ(property("hwdec"), "auto-safe");
    EXPECT_EQ(property("hwdec-current"), decoder);
}

// In all sizes, a seventh of the width and a quarter of the height are even numbers.
INSTANTIATE_TEST_SUITE_P(Shapes, RealCropTest,
                         testing::Values(Stream{{896, 504}, 0}, Stream{{896, 504}, 90},
                                         Stream{{896, 504}, 180}, Stream{{896, 504}, 270},
                                         Stream{{896, 672}, 0}, Stream{{896, 672}, 90}));

} // namespace
} // namespace lumvik::test
