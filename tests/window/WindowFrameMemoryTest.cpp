#include "window/WindowFrameMemory.h"

#include <gtest/gtest.h>

namespace lumvik {
namespace {

const QString own = QStringLiteral("100 50 1120 630 0 0 1600 1000");
const QString moved = QStringLiteral("0 0 1120 630 0 0 1600 1000");
const QString maximised = QStringLiteral("0 0 1600 1000 0 0 1600 1000");

TEST(WindowFrameMemory, ReturnsNothingBeforeTheFirstFrame) {
    const WindowFrameMemory memory;
    EXPECT_EQ(memory.frameBeforeChange(100), std::nullopt);
}

TEST(WindowFrameMemory, ReturnsTheFrameFromBeforeAChangeInSeveralSteps) {
    WindowFrameMemory memory;
    memory.note(own, 10);
    memory.note(moved, 20);
    memory.note(maximised, 20.1);
    EXPECT_EQ(memory.frameBeforeChange(20.2), own);
}

TEST(WindowFrameMemory, ReturnsNothingIfTheLatestFrameHasSettled) {
    WindowFrameMemory memory;
    memory.note(own, 10);
    memory.note(moved, 20);
    EXPECT_EQ(memory.frameBeforeChange(20.5), std::nullopt);
}

TEST(WindowFrameMemory, ReturnsNothingIfTheStateChangesBeforeTheFrame) {
    WindowFrameMemory memory;
    memory.note(own, 10);
    EXPECT_EQ(memory.frameBeforeChange(10.1), std::nullopt)
        << "only the original frame was recorded";
    EXPECT_EQ(memory.frameBeforeChange(60), std::nullopt);
}

TEST(WindowFrameMemory, TreatsALongDragAsOneChange) {
    WindowFrameMemory memory;
    memory.note(own, 10);
    for (int step = 0; step < 50; ++step)
        memory.note(moved, 20 + step * 0.1);
    memory.note(maximised, 25);
    EXPECT_EQ(memory.frameBeforeChange(25), own);
}

TEST(WindowFrameMemory, ReturnsTheLatestFrameThatHadSettled) {
    WindowFrameMemory memory;
    memory.note(own, 10);
    memory.note(moved, 20);
    memory.note(maximised, 30);
    EXPECT_EQ(memory.frameBeforeChange(30), moved);
}

} // namespace
} // namespace lumvik
