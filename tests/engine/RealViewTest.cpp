// Tests the render view with the real engine, a real camera and a real window.

#include "RealViewFixture.h"

#include <algorithm>

namespace lumvik::test {
namespace {

using RealViewTest = RealViewFixture;

TEST_F(RealViewTest, DrawsTheCamerasPicture) {
    ASSERT_NO_FATAL_FAILURE(play(5));
    EXPECT_TRUE(eventually(deadline, [&] { return shownColours() >= 5; }));
    view->shutdownRenderContext();
    EXPECT_TRUE(eventually(deadline, [&] { return shownColours() == 1; }))
        << "without a renderer the window is black";
}

TEST_F(RealViewTest, HiddenWindowKeepsUpWithTheCamera) {
    ASSERT_NO_FATAL_FAILURE(play(10));
    window.hide();
    ASSERT_TRUE(eventually(deadline, [&] { return !window.isExposed(); }));
    const int drawn = static_cast<int>(drawingTimes.size());
    const int before = frames;
    constexpr int wanted = 3 * framesPerSecond;
    QElapsedTimer clock;
    clock.start();
    ASSERT_TRUE(eventually(deadline, [&] { return frames >= before + wanted; }));
    const double rate = wanted * 1000.0 / static_cast<double>(clock.elapsed());
    RecordProperty("frames-per-second", std::to_string(rate));
    EXPECT_GT(rate, framesPerSecond * 0.7)
        << "the engine must not wait for frames that are never drawn";
    EXPECT_EQ(drawingTimes.size(), drawn) << "nothing is drawn while the window is hidden";
    window.show();
    EXPECT_TRUE(eventually(deadline, [&] { return shownColours() >= 5; }));
    const int beforeReturn = frames;
    EXPECT_TRUE(eventually(deadline, [&] { return frames > beforeReturn; }))
        << "the view is still attached to the player";
}

TEST_F(RealViewTest, DrawingLeavesTheMainThreadFree) {
    // In this test, frames wait for their presentation time. If drawing waited as well, it would
    // block the main thread for most of each frame's duration.
    ASSERT_NO_FATAL_FAILURE(play(10, "no"));
    drawingTimes.clear();
    ASSERT_TRUE(eventually(deadline,
                           [&] { return drawingTimes.size() >= qsizetype{2 * framesPerSecond}; }));
    std::sort(drawingTimes.begin(), drawingTimes.end());
    const double median = drawingTimes.at(drawingTimes.size() / 2);
    RecordProperty("median-milliseconds", std::to_string(median));
    EXPECT_LT(median, 1000.0 / framesPerSecond / 3);
}

} // namespace
} // namespace lumvik::test
