#include "supervision/SleepDelayHolder.h"

#include "fakes/VirtualMainQueue.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace lumvik::test {
namespace {

class SleepDelayHolderTest : public testing::Test {
  protected:
    /// A delay that shows by `isHeld` whether anybody keeps it.
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

TEST_F(SleepDelayHolderTest, HoldsSleepOffUntilItIsReleased) {
    hold->keep(newDelay(), 2);
    queue.advance(1.9);
    EXPECT_TRUE(isHeld());
    hold->release();
    EXPECT_FALSE(isHeld());
    hold->release();
}

TEST_F(SleepDelayHolderTest, HoldsSleepOffForNoLongerThanItsLimit) {
    hold->keep(newDelay(), 2);
    queue.advance(2);
    EXPECT_FALSE(isHeld());
}

TEST_F(SleepDelayHolderTest, ASecondDelayHasALimitOfItsOwn) {
    hold->keep(newDelay(), 2);
    queue.advance(1);
    hold->keep(newDelay(), 2);
    queue.advance(1.9);
    EXPECT_TRUE(isHeld()) << "dropped at the limit of the first";
    queue.advance(0.1);
    EXPECT_FALSE(isHeld());
}

TEST_F(SleepDelayHolderTest, LettingGoOfItLetsTheMachineSleep) {
    hold->keep(newDelay(), 2);
    hold.reset();
    EXPECT_FALSE(isHeld());
    queue.advance(2); // nothing comes back to it
}

} // namespace
} // namespace lumvik::test
