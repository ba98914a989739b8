#include "window/ScreenChangeMemory.h"

#include <gtest/gtest.h>

namespace lumvik {
namespace {

const QRect laptop(0, 0, 1280, 800);
const QRect monitor(1280, 0, 2560, 1440);
const QRect onMonitor(2000, 300, 960, 540);
const QRect onLaptop(100, 100, 640, 360);

class ScreenChangeMemoryTest : public testing::Test {
  protected:
    ScreenChangeMemory memory;
};

TEST_F(ScreenChangeMemoryTest, HasNoFrameBeforeTheFirstOneHasSettled) {
    EXPECT_EQ(memory.screensChanged({laptop}), std::nullopt);
    EXPECT_EQ(memory.ownFrame(), std::nullopt);
}

TEST_F(ScreenChangeMemoryTest, KeepsAWindowWhoseScreenStaysAvailable) {
    memory.frameSettled(onLaptop, {laptop, monitor});
    EXPECT_EQ(memory.screensChanged({laptop}), onLaptop);
    EXPECT_EQ(memory.ownFrame(), std::nullopt);
}

TEST_F(ScreenChangeMemoryTest, MovesTheWindowToAnAvailableScreenAndBack) {
    memory.frameSettled(onMonitor, {laptop, monitor});
    const auto temporary = memory.screensChanged({laptop});
    ASSERT_TRUE(temporary);
    EXPECT_TRUE(laptop.contains(*temporary));
    EXPECT_EQ(temporary->size(), onMonitor.size());
    EXPECT_EQ(memory.ownFrame(), onMonitor);
    memory.frameSettled(*temporary, {laptop});
    EXPECT_EQ(memory.ownFrame(), onMonitor) << "the window settled in its temporary frame";
    EXPECT_EQ(memory.screensChanged({laptop, monitor}), onMonitor);
    EXPECT_EQ(memory.ownFrame(), std::nullopt);
}

TEST_F(ScreenChangeMemoryTest, RestoresTheSizeOfAWindowThatWasReducedToFit) {
    const QRect large(1400, 100, 1920, 1080);
    memory.frameSettled(large, {laptop, monitor});
    const auto temporary = memory.screensChanged({laptop});
    ASSERT_TRUE(temporary);
    EXPECT_TRUE(laptop.contains(*temporary));
    EXPECT_EQ(memory.screensChanged({laptop, monitor}), large);
}

TEST_F(ScreenChangeMemoryTest, AFrameChosenInTheMeantimeReplacesTheOwnFrame) {
    memory.frameSettled(onMonitor, {laptop, monitor});
    ASSERT_TRUE(memory.screensChanged({laptop}));
    memory.frameSettled(onLaptop, {laptop});
    EXPECT_EQ(memory.ownFrame(), std::nullopt);
    EXPECT_EQ(memory.screensChanged({laptop, monitor}), onLaptop);
}

TEST_F(ScreenChangeMemoryTest, AFrameThatWasSetBecomesTheOwnFrameAtOnce) {
    memory.frameSettled(onMonitor, {laptop, monitor});
    const auto temporary = memory.screensChanged({laptop});
    ASSERT_TRUE(temporary);
    memory.frameWasSet(*temporary, {laptop});
    EXPECT_EQ(memory.ownFrame(), std::nullopt);
    EXPECT_EQ(memory.screensChanged({laptop, monitor}), temporary);
}

TEST_F(ScreenChangeMemoryTest, KeepsTheOwnFrameIfTheWindowSettlesSlightlySmaller) {
    memory.frameSettled(onMonitor, {laptop, monitor});
    const auto temporary = memory.screensChanged({laptop});
    ASSERT_TRUE(temporary);
    const QRect smaller = temporary->adjusted(0, 4, 0, -4);
    memory.frameSettled(smaller, {laptop});
    EXPECT_EQ(memory.ownFrame(), onMonitor);
    memory.frameSettled(smaller, {laptop});
    EXPECT_EQ(memory.ownFrame(), onMonitor);
    // After the window has settled in its temporary frame, a different frame is the user's choice.
    memory.frameSettled(*temporary, {laptop});
    EXPECT_EQ(memory.ownFrame(), std::nullopt);
}

TEST_F(ScreenChangeMemoryTest, RestoresTheOwnFrameAfterSeveralScreenChanges) {
    memory.frameSettled(onMonitor, {laptop, monitor});
    ASSERT_TRUE(memory.screensChanged({laptop}));
    ASSERT_TRUE(memory.screensChanged({QRect(0, 0, 800, 600)}));
    ASSERT_TRUE(memory.screensChanged({laptop}));
    EXPECT_EQ(memory.screensChanged({monitor}), onMonitor);
}

TEST_F(ScreenChangeMemoryTest, ACompletelyVisibleWindowStaysCompletelyVisibleOnASmallerScreen) {
    // Doubling the scale factor halves the size of a screen in points.
    const QRect place(700, 300, 560, 315);
    memory.frameSettled(place, {laptop});
    const QRect doubled(0, 0, 640, 400);
    EXPECT_EQ(memory.screensChanged({doubled}), QRect(80, 85, 560, 315));
    EXPECT_EQ(memory.ownFrame(), place);
    EXPECT_EQ(memory.screensChanged({laptop}), place);
    EXPECT_EQ(memory.ownFrame(), std::nullopt);
}

TEST_F(ScreenChangeMemoryTest, AWindowAcrossAnEdgeMayStayAcrossItOnASmallerScreen) {
    const QRect place(1000, 300, 560, 315);
    memory.frameSettled(place, {laptop});
    EXPECT_EQ(memory.screensChanged({QRect(0, 0, 1100, 800)}), place);
    EXPECT_EQ(memory.ownFrame(), std::nullopt);
}

TEST_F(ScreenChangeMemoryTest, AWindowAcrossTwoScreensMayBeCutOffWhenOneDisappears) {
    const QRect place(1200, 300, 560, 315);
    memory.frameSettled(place, {laptop, monitor});
    EXPECT_EQ(memory.screensChanged({laptop}), place);
}

TEST_F(ScreenChangeMemoryTest, KeepsTheFrameIfThereAreNoScreens) {
    memory.frameSettled(onMonitor, {laptop, monitor});
    EXPECT_EQ(memory.screensChanged({}), onMonitor);
}

TEST_F(ScreenChangeMemoryTest, ARestoredFrameIsUsedOnceItsScreenIsAvailable) {
    const auto place = memory.restoreFrame(onMonitor, monitor, {laptop});
    EXPECT_TRUE(laptop.contains(place));
    EXPECT_EQ(memory.ownFrame(), onMonitor);
    EXPECT_EQ(memory.ownScreen(), monitor);
    memory.frameSettled(place, {laptop});
    EXPECT_EQ(memory.ownFrame(), onMonitor);
    EXPECT_EQ(memory.screensChanged({laptop, monitor}), onMonitor);
    EXPECT_EQ(memory.ownFrame(), std::nullopt);
}

TEST_F(ScreenChangeMemoryTest, ARestoredFrameIsCompletelyVisibleOnlyIfItWasBefore) {
    const QRect onEdge(900, 100, 640, 360);
    const QRect wider(0, 0, 1920, 1080);
    EXPECT_EQ(memory.restoreFrame(onEdge, laptop, {laptop}), onEdge)
        << "the user left the window partly beyond the edge";
    EXPECT_EQ(memory.ownFrame(), std::nullopt);
    EXPECT_EQ(memory.restoreFrame(onEdge, wider, {laptop}), QRect(640, 100, 640, 360));
    EXPECT_EQ(memory.ownFrame(), onEdge);
    EXPECT_EQ(memory.restoreFrame(onEdge, std::nullopt, {laptop}), onEdge)
        << "it is unknown whether the window was completely visible";
    EXPECT_EQ(memory.ownFrame(), std::nullopt);
}

TEST_F(ScreenChangeMemoryTest, TheTemporaryFrameMayBeSlightlySmallerUntilItIsReached) {
    const QRect temporary = memory.restoreFrame(onMonitor, monitor, {laptop});
    const QRect smaller = temporary.adjusted(0, 0, 0, -3);
    EXPECT_TRUE(memory.isTemporaryFrame(smaller));
    memory.frameSettled(smaller, {laptop});
    EXPECT_TRUE(memory.isTemporaryFrame(smaller));
    EXPECT_FALSE(memory.isTemporaryFrame(smaller.adjusted(0, 0, 0, -3)))
        << "the user chose this frame";
    EXPECT_FALSE(memory.isTemporaryFrame(temporary));
}

TEST_F(ScreenChangeMemoryTest, ReshapingByTheProgramKeepsTheFrameTemporary) {
    const QRect temporary = memory.restoreFrame(onMonitor, monitor, {laptop});
    memory.frameSettled(temporary, {laptop});
    const QRect wider = temporary.adjusted(-40, 0, 0, -20);
    memory.frameWasReshaped(onLaptop, wider);
    EXPECT_TRUE(memory.isTemporaryFrame(temporary))
        << "the reshaped frame was not the temporary one";
    memory.frameWasReshaped(temporary, wider);
    memory.frameSettled(wider, {laptop});
    EXPECT_EQ(memory.ownFrame(), onMonitor);
    memory.frameSettled(onLaptop, {laptop});
    EXPECT_EQ(memory.ownFrame(), std::nullopt) << "the user chose this frame";
}

} // namespace
} // namespace lumvik
