// Tests that the wheel, the pointer and the keys magnify the picture and move the visible part.

#include "system/harness/AreaFixture.h"
#include "system/harness/Eventually.h"
#include "system/harness/Pixels.h"
#include "testcamera/PictureLayout.h"

#include <cmath>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

/// What one notch of the wheel at `wheelPosition` shows: four fifths of the picture.
constexpr QPoint wheelPosition{800, 100};
constexpr QRect fourFifths{160, 20, 896, 504};

class MagnificationTest : public AreaFixture {
  protected:
    void magnify() {
        pointer.moveTo(onScreen(wheelPosition));
        pointer.click(Pointer::Button::wheelUp);
        movePointerAway();
    }

    /// Waits until the window shows `part` of the picture. The colour bars tell: their edges are
    /// where they belong, to within four pixels.
    [[nodiscard]] testing::AssertionResult showsPart(QRect part) const {
        return screen.waitUntil(
            viewer->window(), [&](const QImage &picture) { return isPart(picture, part); }, 10s);
    }

    static constexpr int closeBy = 4;

    [[nodiscard]] static testing::AssertionResult isColour(const QImage &picture, QPoint at,
                                                           PictureLayout::Colour colour) {
        constexpr int tolerance = 30;
        const QColor is = picture.pixelColor(at);
        if (std::abs(is.red() - colour.red) <= tolerance &&
            std::abs(is.green() - colour.green) <= tolerance &&
            std::abs(is.blue() - colour.blue) <= tolerance)
            return testing::AssertionSuccess();
        return testing::AssertionFailure()
               << "pixel " << at.x() << ", " << at.y() << " is " << is.name().toStdString();
    }

    [[nodiscard]] static testing::AssertionResult isPart(const QImage &picture, QRect part) {
        const double scaleX = static_cast<double>(picture.width()) / part.width();
        const double scaleY = static_cast<double>(picture.height()) / part.height();
        const auto bottom = static_cast<int>(
            std::lround((pictureSize.height() * PictureLayout::bars.height - part.y()) * scaleY));
        int compared = 0;
        for (int bar = 1; bar < PictureLayout::barCount; ++bar) {
            const auto edge = static_cast<int>(std::lround(
                (pictureSize.width() * PictureLayout::bar(bar).left - part.x()) * scaleX));
            if (edge < closeBy || edge >= picture.width() - closeBy)
                continue;
            ++compared;
            const auto index = static_cast<std::size_t>(bar);
            for (const auto &[at, colour] :
                 {std::pair(QPoint(edge - closeBy, bottom / 2),
                            PictureLayout::barColours.at(index - 1)),
                  std::pair(QPoint(edge + closeBy, bottom / 2),
                            PictureLayout::barColours.at(index)),
                  std::pair(QPoint(edge + closeBy, bottom - closeBy),
                            PictureLayout::barColours.at(index)),
                  std::pair(QPoint(edge + closeBy, bottom + closeBy), PictureLayout::Colour())}) {
                if (const auto is = isColour(picture, at, colour); !is)
                    return is;
            }
        }
        return compared >= 2 ? testing::AssertionSuccess()
                             : testing::AssertionFailure() << "too few bars are visible";
    }
};

TEST_F(MagnificationTest, WheelMagnifiesAtThePointerAndAKeyShowsTheWholePicture) {
    ASSERT_TRUE(showCamera());
    const QRect frame = viewer->geometry();
    magnify();
    EXPECT_TRUE(showsPart(fourFifths));
    keyboard.press(u"ctrl+0"_s);
    EXPECT_TRUE(pictureFillsTheWindow());
    magnify();
    EXPECT_TRUE(showsPart(fourFifths));
    keyboard.press(u"Escape"_s);
    EXPECT_TRUE(pictureFillsTheWindow());
    EXPECT_EQ(viewer->geometry(), frame);
}

TEST_F(MagnificationTest, MiddleButtonAndArrowKeysMoveThePicture) {
    ASSERT_TRUE(showCamera());
    const QRect frame = viewer->geometry();
    magnify();
    ASSERT_TRUE(showsPart(fourFifths));
    pointer.moveTo(onScreen(QPoint(600, 300)));
    pointer.press(Pointer::Button::middle);
    pointer.glideTo(onScreen(QPoint(650, 320)));
    pointer.release(Pointer::Button::middle);
    movePointerAway();
    EXPECT_TRUE(showsPart(fourFifths.translated(-40, -16)));
    for (int times = 0; times < 3; ++times)
        keyboard.press(u"Down"_s); // a tenth of the window each, which is more than what is left
    EXPECT_TRUE(showsPart({120, 126, 896, 504}));
    EXPECT_EQ(viewer->geometry(), frame);
}

TEST_F(MagnificationTest, TurnedPictureIsMagnifiedAtThePointer) {
    ASSERT_TRUE(showCamera(180));
    magnify();
    const QRect turned({pictureSize.width() - fourFifths.right() - 1,
                        pictureSize.height() - fourFifths.bottom() - 1},
                       fourFifths.size());
    EXPECT_TRUE(screen.waitUntil(
        viewer->window(),
        [&](const QImage &picture) {
            return isPart(picture.transformed(QTransform().rotate(180)), turned);
        },
        10s));
}

TEST_F(MagnificationTest, AreaIsChosenInAMagnifiedPicture) {
    ASSERT_TRUE(showCamera());
    magnify();
    ASSERT_TRUE(showsPart(fourFifths));
    // From the edge between the white and the yellow bar, which is the window's, to the edge
    // between the cyan and the green bar.
    ASSERT_NO_FATAL_FAILURE(selectArea({0, 100, 400, 200}));
    EXPECT_TRUE(showsArea({160, 100, 320, 160}));
}

} // namespace
} // namespace lumvik::test
