// Tests what the supervision of decoding relies on, with the installed version of libmpv. Whether
// one thread is too slow for a stream depends on the machine and on what else runs on it, so the
// decision itself is tested in virtual time (DecodingPaceTest, DecodingSupervisorTest).

#include "engine/DecodingThread.h"
#include "engine/PlayerOptions.h"
#include "engine/PlayerProperties.h"
#include "system/harness/CameraProcess.h"
#include "system/harness/Eventually.h"

#include <gtest/gtest.h>
#include <mpv/client.h>

#include <array>
#include <clocale>
#include <filesystem>
#include <iterator>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

constexpr auto streamDeadline = 30s;

std::ptrdiff_t threadCount() {
    const std::filesystem::directory_iterator threads("/proc/self/task");
    return std::distance(begin(threads), end(threads));
}

double runningTime() {
    const auto times = decodingThreadTimes();
    return times ? times->running : -1;
}

/// A player with the program's settings that shows the stream of a camera nowhere.
class RealDecodingTest : public testing::Test {
  protected:
    void SetUp() override {
        std::setlocale(LC_NUMERIC, "C");
        ASSERT_TRUE(camera.start());
        ASSERT_EQ(runningTime(), -1) << "there is no player yet";
        player = mpv_create();
        ASSERT_NE(player, nullptr);
        for (const PlayerSetting &option : playerOptions)
            mpv_set_option_string(player, option.name, option.value);
        mpv_set_option_string(player, "vo", "null");
        mpv_set_option_string(player, "hwdec", "no");
        ASSERT_GE(mpv_initialize(player), 0);
        for (const PlayerSetting &each : livePlaybackProperties)
            mpv_set_property_string(player, each.name, each.value);
    }
    void TearDown() override {
        if (player != nullptr)
            mpv_terminate_destroy(player);
    }

    /// Loads the stream with this number of decoding threads and waits until it plays.
    [[nodiscard]] bool play(const char *threads) {
        mpv_set_property_string(player, "vd-lavc-threads", threads);
        const QByteArray url = camera.url().toUtf8();
        std::array<const char *, 4> command{"loadfile", url.constData(), "replace", nullptr};
        if (mpv_command(player, command.data()) < 0)
            return false;
        return eventually(streamDeadline,
                          [this] {
                              return mpv_wait_event(player, 0)->event_id ==
                                     MPV_EVENT_PLAYBACK_RESTART;
                          }) &&
               eventually(streamDeadline, [this] { return positionAdvances(); });
    }
    [[nodiscard]] bool positionAdvances() {
        const double before = numberProperty(player, "time-pos").value_or(0);
        return eventually(streamDeadline,
                          [&] { return numberProperty(player, "time-pos").value_or(0) > before; });
    }

    CameraProcess camera;
    mpv_handle *player = nullptr;
};

TEST_F(RealDecodingTest, ThreadThatDecodesIsFound) {
    ASSERT_TRUE(play("1"));
    const double before = runningTime();
    ASSERT_GT(before, 0);
    EXPECT_TRUE(eventually(streamDeadline, [&] { return runningTime() > before + 0.02; }));
}

TEST_F(RealDecodingTest, QueueAndPositionAreKnown) {
    ASSERT_TRUE(play("1"));
    EXPECT_TRUE(eventually(streamDeadline, [this] {
        return numberProperty(player, "demuxer-cache-duration").has_value();
    }));
    EXPECT_LT(numberProperty(player, "demuxer-cache-duration").value_or(100), 5);
    EXPECT_FALSE(numberProperty(player, "no-such-property"));
}

TEST_F(RealDecodingTest, NumberOfThreadsAppliesToTheNextLoad) {
    ASSERT_TRUE(play("1"));
    const std::ptrdiff_t one = threadCount();
    // FFmpeg decodes on threads of its own. One thread of the previous stream may still be ending.
    ASSERT_TRUE(play("3"));
    EXPECT_TRUE(eventually(streamDeadline, [&] { return threadCount() >= one + 2; }));
    ASSERT_TRUE(play("1"));
    EXPECT_TRUE(eventually(streamDeadline, [&] { return threadCount() <= one; }));
}

} // namespace
} // namespace lumvik::test
