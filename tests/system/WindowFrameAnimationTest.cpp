// Tests that the window changes from one window frame to another without jumps.

#include "system/harness/AreaFixture.h"
#include "system/harness/Eventually.h"

#include <QElapsedTimer>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

/// Records the sequence of window frames through which an animation passes.
class WindowFrameAnimationTest : public AreaFixture {
  protected:
    [[nodiscard]] QList<QRect> pathTo(QRect end) const {
        QList<QRect> path{viewer->geometry()};
        QElapsedTimer time;
        QElapsedTimer sinceLast;
        time.start();
        sinceLast.start();
        while (time.elapsed() < 20000 && !(path.last() == end && sinceLast.elapsed() > 1500)) {
            if (const QRect now = viewer->geometry(); now != path.last()) {
                path.append(now);
                sinceLast.start();
            }
        }
        return path;
    }
    /// Whether the window's width only grows or only shrinks along `path`.
    [[nodiscard]] static testing::AssertionResult neverTurnsBack(const QList<QRect> &path) {
        const bool grows = path.last().width() > path.first().width();
        for (qsizetype n = 1; n < path.size(); ++n) {
            // A window manager that keeps an aspect ratio may round the width by a pixel.
            const int way = path.at(n).width() - path.at(n - 1).width();
            if (grows ? way < -1 : way > 1) {
                return testing::AssertionFailure() << "from " << path.at(n - 1).width() << " to "
                                                   << path.at(n).width() << " points wide";
            }
        }
        return testing::AssertionSuccess();
    }
};

TEST_F(WindowFrameAnimationTest, EnlargedWindowReturnsToItsFrameWithoutAJump) {
    ASSERT_TRUE(showCamera());
    const QRect before = viewer->geometry();
    const QRect maximum(0, 50, 1600, 900);
    pointer.moveTo(before.center());
    for (int round = 0; round < 3; ++round) {
        pointer.click(Pointer::Button::right);
        EXPECT_TRUE(neverTurnsBack(pathTo(maximum)));
        pointer.click(Pointer::Button::right);
        EXPECT_TRUE(neverTurnsBack(pathTo(before)));
    }
}

TEST_F(WindowFrameAnimationTest, OriginalViewReturnsWithoutAJumpOrAHeightChange) {
    ASSERT_TRUE(showCamera());
    const QRect before = viewer->geometry();
    ASSERT_NO_FATAL_FAILURE(selectArea({160, 0, 320, 314}));
    ASSERT_TRUE(reachesFrame({479, 185, 642, 630}));
    ASSERT_NO_FATAL_FAILURE(showOriginalView());
    const auto path = pathTo(before);
    EXPECT_TRUE(neverTurnsBack(path));
    for (const QRect &frame : path)
        EXPECT_EQ(frame.height(), 630) << "at a width of " << frame.width();
}

} // namespace
} // namespace lumvik::test
