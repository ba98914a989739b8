#include "engine/PlayerTeardown.h"

#include "fakes/CapturingLogSink.h"
#include "fakes/FakeMpv.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

constexpr auto mostOfAWait = 20s; // for a machine that is busy with other things

class PlayerTeardownTest : public testing::Test {
  protected:
    [[nodiscard]] QStringList logged() const { return log.texts(u"playback"_s); }

    const CapturedLog log;
    FakeMpv mpv;
    PlayerTeardown teardown;
};

TEST_F(PlayerTeardownTest, PlayerIsGoneWhenTheCallReturns) {
    teardown.destroy(mpv_create());
    EXPECT_EQ(mpv.liveCores(), 0);
    EXPECT_TRUE(teardown.finish(0ms));
    EXPECT_TRUE(logged().isEmpty());
}

TEST_F(PlayerTeardownTest, PlayerThatTakesLongIsLeftToItself) {
    mpv.setDestructionHangs(true);
    mpv_handle *player = mpv_create();
    const auto begin = std::chrono::steady_clock::now();
    teardown.destroy(player);
    // Together with what else the main thread does then, no more than a quarter of a second.
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 200ms);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, mostOfAWait);
    EXPECT_EQ(mpv.liveCores(), 1);
    EXPECT_FALSE(teardown.finish(10ms));
    EXPECT_EQ(logged(), QStringList(u"The video engine takes long to stop; going on without "
                                    "waiting for it (1 in all)."_s));
    mpv.setDestructionHangs(false);
    EXPECT_TRUE(teardown.finish(mostOfAWait));
    EXPECT_EQ(mpv.liveCores(), 0);
}

TEST_F(PlayerTeardownTest, OneThatTakesLongDoesNotHoldUpTheNext) {
    mpv.setDestructionHangs(true);
    teardown.destroy(mpv_create());
    teardown.destroy(mpv_create());
    EXPECT_EQ(mpv.callsTo("mpv_terminate_destroy").size(), 2U);
    mpv.setDestructionHangs(false);
    EXPECT_TRUE(teardown.finish(mostOfAWait));
    EXPECT_EQ(mpv.liveCores(), 0);
}

} // namespace
} // namespace lumvik::test
