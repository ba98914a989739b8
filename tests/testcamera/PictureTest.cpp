#include "testcamera/Picture.h"

#include "testcamera/ClockPattern.h"
#include "testcamera/PictureLayout.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

int lumaAt(const Picture &picture, int x, int y) {
    const int stride = (picture.size().width() + 3) / 4 * 4;
    return picture.data()[static_cast<std::size_t>(y * stride + x)];
}

TEST(Picture, ClockPatternContainsTheCaptureTime) {
    for (const QSize size : {QSize(1280, 720), QSize(640, 360), QSize(322, 182)}) {
        Picture picture(size, QStringLiteral("Front"), Picture::Bottom::ClockPattern);
        for (const std::uint32_t time : {0U, 123456U, 0xFFFFFFFFU}) {
            picture.paint(time, QTime(12, 34, 56, 700));
            EXPECT_EQ(ClockPattern::read(size.width(), size.height(),
                                         [&](int x, int y) { return lumaAt(picture, x, y); }),
                      time);
        }
    }
}

TEST(Picture, WithoutAClockPatternOnlyTheWallClockAndTheMotionStripChange) {
    const QSize size(640, 360);
    Picture picture(size, QStringLiteral("Front"), Picture::Bottom::Ramp);
    picture.paint(1000, QTime(12, 34, 56, 0));
    const Picture before = picture;
    picture.paint(1040, QTime(12, 34, 57, 100));
    const auto changed = [&](PictureLayout::Region region) {
        int count = 0;
        for (int y = static_cast<int>(region.top * size.height());
             y < static_cast<int>((region.top + region.height) * size.height()); ++y)
            for (int x = static_cast<int>(region.left * size.width());
                 x < static_cast<int>((region.left + region.width) * size.width()); ++x)
                count += lumaAt(picture, x, y) != lumaAt(before, x, y) ? 1 : 0;
        return count;
    };
    EXPECT_EQ(changed(PictureLayout::bars), 0);
    EXPECT_EQ(changed(PictureLayout::name), 0);
    EXPECT_EQ(changed(PictureLayout::pattern), 0);
    EXPECT_GT(changed(PictureLayout::wallClock), 0);
    EXPECT_GT(changed(PictureLayout::motion), 0);
}

} // namespace
} // namespace lumvik::test
