#include "engine/PlaybackEngineEvent.h"

#include <gtest/gtest.h>

namespace lumvik {
namespace {

using namespace PlaybackEngineEvents;

mpv_event eventWithId(int id) {
    mpv_event event{};
    event.event_id = static_cast<mpv_event_id>(id);
    return event;
}

mpv_event endFile(mpv_event_end_file &data, int reason, int error) {
    data.reason = static_cast<mpv_end_file_reason>(reason);
    data.error = error;
    mpv_event event = eventWithId(MPV_EVENT_END_FILE);
    event.data = &data;
    return event;
}

TEST(PlaybackEngineEvent, ConvertsTheSixRelevantEvents) {
    EXPECT_EQ(playbackEngineEvent(eventWithId(1)), PlaybackEngineEvent(Shutdown{}));
    EXPECT_EQ(playbackEngineEvent(eventWithId(6)), PlaybackEngineEvent(StartFile{}));
    EXPECT_EQ(playbackEngineEvent(eventWithId(7)), PlaybackEngineEvent(EndFile{}));
    EXPECT_EQ(playbackEngineEvent(eventWithId(8)), PlaybackEngineEvent(FileLoaded{}));
    EXPECT_EQ(playbackEngineEvent(eventWithId(21)), PlaybackEngineEvent(PlaybackRestart{}));
    EXPECT_EQ(playbackEngineEvent(eventWithId(24)), PlaybackEngineEvent(QueueOverflow{}));
}

TEST(PlaybackEngineEvent, DropsEveryOtherEvent) {
    for (int id = 0; id <= 100; ++id) {
        const bool isRelevant = id == 1 || id == 6 || id == 7 || id == 8 || id == 21 || id == 24;
        EXPECT_EQ(playbackEngineEvent(eventWithId(id)).has_value(), isRelevant) << id;
    }
}

TEST(PlaybackEngineEvent, KeepsItsAlternativesInAFixedOrder) {
    EXPECT_EQ(PlaybackEngineEvent(EndFile{}).index(), 0U);
    EXPECT_EQ(PlaybackEngineEvent(StartFile{}).index(), 1U);
    EXPECT_EQ(PlaybackEngineEvent(FileLoaded{}).index(), 2U);
    EXPECT_EQ(PlaybackEngineEvent(PlaybackRestart{}).index(), 3U);
    EXPECT_EQ(PlaybackEngineEvent(Shutdown{}).index(), 4U);
    EXPECT_EQ(PlaybackEngineEvent(QueueOverflow{}).index(), 5U);
}

TEST(PlaybackEngineEvent, CopiesReasonAndErrorOfAnEndFileEvent) {
    mpv_event_end_file data{};
    EXPECT_EQ(playbackEngineEvent(endFile(data, 0, 0)), PlaybackEngineEvent(EndFile{0, 0}));
    EXPECT_EQ(playbackEngineEvent(endFile(data, 4, -13)), PlaybackEngineEvent(EndFile{4, -13}));
    EXPECT_EQ(playbackEngineEvent(endFile(data, 77, 5)), PlaybackEngineEvent(EndFile{77, 5}));
}

TEST(PlaybackEngineEvent, MarksAnEndFileEventWithoutDataAsUnknown) {
    const auto report = playbackEngineEvent(eventWithId(MPV_EVENT_END_FILE));
    ASSERT_TRUE(report.has_value());
    EXPECT_EQ(std::get<EndFile>(*report).reason, 4294967295U);
    EXPECT_EQ(std::get<EndFile>(*report).error, 0);
}

TEST(PlaybackEngineEventDeathTest, NegativeReasonTerminatesTheProcess) {
    mpv_event_end_file data{};
    const mpv_event event = endFile(data, -1, 0);
    EXPECT_DEATH(static_cast<void>(playbackEngineEvent(event)), "end-file reason -1");
}

} // namespace
} // namespace lumvik
