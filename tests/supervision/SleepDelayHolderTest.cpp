#include "supervision/SleepDelayHolder.h"

#include "fakes/VirtualMainQueue.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace lumvik::test {
namespace {

class SleepDelayHolderTest : public testing::Test {
  protected:
    /// Creates a delay. `isHeld` returns whether anything still holds the delay created last.
    [[nodiscard]] SleepMonitor::SleepDelay newDelay() {
        auto delay = std::make_shared<int>(0);
        m_delay = delay;
        return delay;
    }
    [[nodiscard]] bool isHeld() const { return !m_delay.expired(); }

    VirtualMainQueue queue;
    std::optional<SleepDelayHolder> hold{queue};

  private:
    std::weak_ptr<int> m_delay;
};

TEST_F(SleepDelayHolderTest, DelaysSleepUntilItIsReleased) {
    hold->keep(newDelay(), 2);
    queue.advance(1.9);
    EXPECT_TRUE(isHeld());
    hold->release();
    EXPECT_FALSE(isHeld());
    hold->release();
}

TEST_F(SleepDelayHolderTest, DelaysSleepNoLongerThanItsLimit) {
    hold->keep(newDelay(), 2);
    queue.advance(2);
    EXPECT_FALSE(isHeld());
}

TEST_F(SleepDelayHolderTest, SecondDelayHasItsOwnLimit) {
    hold->keep(newDelay(), 2);
    queue.advance(1);
    hold->keep(newDelay(), 2);
    queue.advance(1.9);
    EXPECT_TRUE(isHeld()) << "the limit of the first delay does not apply to the second";
    queue.advance(0.1);
    EXPECT_FALSE(isHeld());
}

TEST_F(SleepDelayHolderTest, DestructionReleasesTheDelay) {
    hold->keep(newDelay(), 2);
    hold.reset();
    EXPECT_FALSE(isHeld());
    queue.advance(2); // the limit of the destroyed holder does nothing
}

} // namespace
} // namespace lumvik::test
