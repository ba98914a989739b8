#include "engine/PlayerTeardown.h"

#include "fakes/CapturingLogSink.h"
#include "fakes/FakeMpv.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

constexpr auto teardownDeadline = 20s; // generous, because the machine may be busy

class PlayerTeardownTest : public testing::Test {
  protected:
    [[nodiscard]] QStringList logged() const { return log.texts(u"playback"_s); }

    const CapturedLog log;
    FakeMpv mpv;
    PlayerTeardown teardown;
};

TEST_F(PlayerTeardownTest, DestroysThePlayerBeforeTheCallReturns) {
    teardown.destroy(mpv_create());
    EXPECT_EQ(mpv.liveCores(), 0);
    EXPECT_TRUE(teardown.finish(0ms));
    EXPECT_TRUE(logged().isEmpty());
}

TEST_F(PlayerTeardownTest, DoesNotWaitForAPlayerThatIsSlowToStop) {
    mpv.setDestructionHangs(true);
    mpv_handle *player = mpv_create();
    const auto begin = std::chrono::steady_clock::now();
    teardown.destroy(player);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 200ms);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, teardownDeadline);
    EXPECT_EQ(mpv.liveCores(), 1);
    EXPECT_FALSE(teardown.finish(10ms));
    EXPECT_EQ(logged(), QStringList(u"The video engine is slow to stop; continuing without "
                                    "waiting for it (1 still stopping)."_s));
    mpv.setDestructionHangs(false);
    EXPECT_TRUE(teardown.finish(teardownDeadline));
    EXPECT_EQ(mpv.liveCores(), 0);
}

TEST_F(PlayerTeardownTest, SlowPlayerDoesNotDelayTheNextOne) {
    mpv.setDestructionHangs(true);
    teardown.destroy(mpv_create());
    teardown.destroy(mpv_create());
    EXPECT_EQ(mpv.callsTo("mpv_terminate_destroy").size(), 2U);
    mpv.setDestructionHangs(false);
    EXPECT_TRUE(teardown.finish(teardownDeadline));
    EXPECT_EQ(mpv.liveCores(), 0);
}

} // namespace
} // namespace lumvik::test
