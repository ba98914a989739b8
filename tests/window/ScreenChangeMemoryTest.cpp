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

TEST_F(ScreenChangeMemoryTest, BeforeTheFirstRestNothingIsKnown) {
    EXPECT_EQ(memory.screensChanged({laptop}), std::nullopt);
    EXPECT_EQ(memory.home(), std::nullopt);
}

TEST_F(ScreenChangeMemoryTest, AWindowWhoseScreenStaysIsNotMoved) {
    memory.frameRested(onLaptop, {laptop, monitor});
    EXPECT_EQ(memory.screensChanged({laptop}), onLaptop);
    EXPECT_EQ(memory.home(), std::nullopt);
}

TEST_F(ScreenChangeMemoryTest, GoesToAScreenThatIsThereAndComesBack) {
    memory.frameRested(onMonitor, {laptop, monitor});
    const auto refuge = memory.screensChanged({laptop});
    ASSERT_TRUE(refuge);
    EXPECT_TRUE(laptop.contains(*refuge));
    EXPECT_EQ(refuge->size(), onMonitor.size());
    EXPECT_EQ(memory.home(), onMonitor);
    memory.frameRested(*refuge, {laptop});
    EXPECT_EQ(memory.home(), onMonitor) << "it rests there for want of its screen";
    EXPECT_EQ(memory.screensChanged({laptop, monitor}), onMonitor);
    EXPECT_EQ(memory.home(), std::nullopt);
}

TEST_F(ScreenChangeMemoryTest, AWindowThatIsTooLargeGetsItsSizeBack) {
    const QRect large(1400, 100, 1920, 1080);
    memory.frameRested(large, {laptop, monitor});
    const auto refuge = memory.screensChanged({laptop});
    ASSERT_TRUE(refuge);
    EXPECT_TRUE(laptop.contains(*refuge));
    EXPECT_EQ(memory.screensChanged({laptop, monitor}), large);
}

TEST_F(ScreenChangeMemoryTest, APlaceGivenMeanwhileCounts) {
    memory.frameRested(onMonitor, {laptop, monitor});
    ASSERT_TRUE(memory.screensChanged({laptop}));
    memory.frameRested(onLaptop, {laptop});
    EXPECT_EQ(memory.home(), std::nullopt);
    EXPECT_EQ(memory.screensChanged({laptop, monitor}), onLaptop);
}

TEST_F(ScreenChangeMemoryTest, AFrameGivenOnPurposeCountsAtOnce) {
    memory.frameRested(onMonitor, {laptop, monitor});
    const auto refuge = memory.screensChanged({laptop});
    ASSERT_TRUE(refuge);
    memory.frameGiven(*refuge, {laptop});
    EXPECT_EQ(memory.home(), std::nullopt);
    EXPECT_EQ(memory.screensChanged({laptop, monitor}), refuge);
}

TEST_F(ScreenChangeMemoryTest, AWindowManagerMayLetItRestALittleSmaller) {
    memory.frameRested(onMonitor, {laptop, monitor});
    const auto refuge = memory.screensChanged({laptop});
    ASSERT_TRUE(refuge);
    const QRect smaller = refuge->adjusted(0, 4, 0, -4);
    memory.frameRested(smaller, {laptop});
    EXPECT_EQ(memory.home(), onMonitor);
    memory.frameRested(smaller, {laptop});
    EXPECT_EQ(memory.home(), onMonitor);
    // Once it has come to rest there, another frame is somebody's choice.
    memory.frameRested(*refuge, {laptop});
    EXPECT_EQ(memory.home(), std::nullopt);
}

TEST_F(ScreenChangeMemoryTest, SeveralChangesOnTheWayLeadHomeAllTheSame) {
    memory.frameRested(onMonitor, {laptop, monitor});
    ASSERT_TRUE(memory.screensChanged({laptop}));
    ASSERT_TRUE(memory.screensChanged({QRect(0, 0, 800, 600)}));
    ASSERT_TRUE(memory.screensChanged({laptop}));
    EXPECT_EQ(memory.screensChanged({monitor}), onMonitor);
}

TEST_F(ScreenChangeMemoryTest, WhatWasToBeSeenWholeIsToBeSeenWholeOnASmallerScreen) {
    // As when the scale is doubled, which leaves a screen half as many points.
    const QRect place(700, 300, 560, 315);
    memory.frameRested(place, {laptop});
    const QRect doubled(0, 0, 640, 400);
    EXPECT_EQ(memory.screensChanged({doubled}), QRect(80, 85, 560, 315));
    EXPECT_EQ(memory.home(), place);
    EXPECT_EQ(memory.screensChanged({laptop}), place);
    EXPECT_EQ(memory.home(), std::nullopt);
}

TEST_F(ScreenChangeMemoryTest, WhatHungOverAnEdgeMayDoSoOnASmallerScreen) {
    const QRect place(1000, 300, 560, 315);
    memory.frameRested(place, {laptop});
    EXPECT_EQ(memory.screensChanged({QRect(0, 0, 1100, 800)}), place);
    EXPECT_EQ(memory.home(), std::nullopt);
}

TEST_F(ScreenChangeMemoryTest, WhatSpansTwoScreensMayBeCutWhenOneGoes) {
    const QRect place(1200, 300, 560, 315);
    memory.frameRested(place, {laptop, monitor});
    EXPECT_EQ(memory.screensChanged({laptop}), place);
}

TEST_F(ScreenChangeMemoryTest, WithoutAnyScreenTheFrameIsKept) {
    memory.frameRested(onMonitor, {laptop, monitor});
    EXPECT_EQ(memory.screensChanged({}), onMonitor);
}

TEST_F(ScreenChangeMemoryTest, AFrameFromEarlierGoesWhereItWasOnceItsScreenIsThere) {
    const auto place = memory.frameRestored(onMonitor, monitor, {laptop});
    EXPECT_TRUE(laptop.contains(place));
    EXPECT_EQ(memory.home(), onMonitor);
    EXPECT_EQ(memory.homeScreen(), monitor);
    memory.frameRested(place, {laptop});
    EXPECT_EQ(memory.home(), onMonitor);
    EXPECT_EQ(memory.screensChanged({laptop, monitor}), onMonitor);
    EXPECT_EQ(memory.home(), std::nullopt);
}

TEST_F(ScreenChangeMemoryTest, AFrameFromEarlierIsAsWholeAsItWas) {
    const QRect onEdge(900, 100, 640, 360);
    const QRect wider(0, 0, 1920, 1080);
    EXPECT_EQ(memory.frameRestored(onEdge, laptop, {laptop}), onEdge) << "the user put it there";
    EXPECT_EQ(memory.home(), std::nullopt);
    EXPECT_EQ(memory.frameRestored(onEdge, wider, {laptop}), QRect(640, 100, 640, 360));
    EXPECT_EQ(memory.home(), onEdge);
    EXPECT_EQ(memory.frameRestored(onEdge, std::nullopt, {laptop}), onEdge)
        << "nobody knows what it was";
    EXPECT_EQ(memory.home(), std::nullopt);
}

TEST_F(ScreenChangeMemoryTest, TheRefugeMayBeALittleSmallerUntilItWasReached) {
    const QRect refuge = memory.frameRestored(onMonitor, monitor, {laptop});
    const QRect smaller = refuge.adjusted(0, 0, 0, -3);
    EXPECT_TRUE(memory.isRefuge(smaller));
    memory.frameRested(smaller, {laptop});
    EXPECT_TRUE(memory.isRefuge(smaller));
    EXPECT_FALSE(memory.isRefuge(smaller.adjusted(0, 0, 0, -3))) << "the user's wish";
    EXPECT_FALSE(memory.isRefuge(refuge));
}

TEST_F(ScreenChangeMemoryTest, AnotherShapeFromTheProgramIsNoOtherPlace) {
    const QRect refuge = memory.frameRestored(onMonitor, monitor, {laptop});
    memory.frameRested(refuge, {laptop});
    const QRect wider = refuge.adjusted(-40, 0, 0, -20);
    memory.frameReshaped(onLaptop, wider);
    EXPECT_TRUE(memory.isRefuge(refuge)) << "it stood elsewhere";
    memory.frameReshaped(refuge, wider);
    memory.frameRested(wider, {laptop});
    EXPECT_EQ(memory.home(), onMonitor);
    memory.frameRested(onLaptop, {laptop});
    EXPECT_EQ(memory.home(), std::nullopt) << "the user's wish";
}

} // namespace
} // namespace lumvik
