#include "window/WindowFrameMemory.h"

#include <gtest/gtest.h>

namespace lumvik {
namespace {

const QString own = QStringLiteral("100 50 1120 630 0 0 1600 1000");
const QString moved = QStringLiteral("0 0 1120 630 0 0 1600 1000");
const QString maximised = QStringLiteral("0 0 1600 1000 0 0 1600 1000");

TEST(WindowFrameMemory, HasNothingToPutRightBeforeTheFirstFrame) {
    const WindowFrameMemory memory;
    EXPECT_EQ(memory.frameBeforeChange(100), std::nullopt);
}

TEST(WindowFrameMemory, GivesTheFrameFromBeforeAChangeOfSeveralSteps) {
    WindowFrameMemory memory;
    memory.note(own, 10);
    memory.note(moved, 20);
    memory.note(maximised, 20.1);
    EXPECT_EQ(memory.frameBeforeChange(20.2), own);
}

TEST(WindowFrameMemory, LeavesAFrameThatHasSettled) {
    WindowFrameMemory memory;
    memory.note(own, 10);
    memory.note(moved, 20);
    EXPECT_EQ(memory.frameBeforeChange(20.5), std::nullopt);
}

TEST(WindowFrameMemory, LeavesTheFrameWhenTheStateComesFirst) {
    WindowFrameMemory memory;
    memory.note(own, 10);
    EXPECT_EQ(memory.frameBeforeChange(10.1), std::nullopt) << "none but the own one was noted";
    EXPECT_EQ(memory.frameBeforeChange(60), std::nullopt);
}

TEST(WindowFrameMemory, CountsALongDragAsOneChange) {
    WindowFrameMemory memory;
    memory.note(own, 10);
    for (int step = 0; step < 50; ++step)
        memory.note(moved, 20 + step * 0.1);
    memory.note(maximised, 25);
    EXPECT_EQ(memory.frameBeforeChange(25), own);
}

TEST(WindowFrameMemory, KnowsTheLatestFrameThatStoodForAWhile) {
    WindowFrameMemory memory;
    memory.note(own, 10);
    memory.note(moved, 20);
    memory.note(maximised, 30);
    EXPECT_EQ(memory.frameBeforeChange(30), moved);
}

} // namespace
} // namespace lumvik
