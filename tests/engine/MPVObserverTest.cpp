#include "engine/MPVObserver.h"

#include "fakes/CapturingLogSink.h"
#include "fakes/FakeMpv.h"
#include "fakes/VirtualMainQueue.h"

#include <gtest/gtest.h>

#include <optional>

namespace lumvik::test {
namespace {

class MPVObserverTest : public testing::Test {
  protected:
    ~MPVObserverTest() override {
        observer.reset();
        mpv_terminate_destroy(player);
    }
    void observe(const char *level = "warn") {
        observer.emplace(player, queue, level,
                         MPVObserver::Handlers{
                             .videoParametersChanged = [this] { ++changes; },
                             .endReachedChanged = [this] { ++endChanges; },
                             .engineComplained =
                                 [this](const QString &message) { complaints.append(message); }});
    }
    [[nodiscard]] QStringList logged() const { return log.texts(QStringLiteral("playback")); }

    FakeMpv mpv;
    VirtualMainQueue queue;
    const CapturedLog log;
    mpv_handle *player = mpv_create();
    int changes = 0;
    int endChanges = 0;
    QStringList complaints;
    std::optional<MPVObserver> observer;
};

TEST_F(MPVObserverTest, CreatesItsOwnClientAndSubscribesToWhatItNeeds) {
    observe("trace");
    EXPECT_EQ(mpv.texts(), (std::vector<std::string>{
                               "mpv_create(library)",
                               "mpv_create_client(core 1, observer)",
                               "mpv_request_log_messages(client 1 of core 1, trace)",
                               "mpv_observe_property(client 1 of core 1, video-params, 0)",
                               "mpv_observe_property(client 1 of core 1, eof-reached, 3)",
                               "mpv_set_wakeup_callback(client 1 of core 1, a callback)",
                           }));
    observer.reset();
    EXPECT_EQ(mpv.texts().at(6), "mpv_set_wakeup_callback(client 1 of core 1, none)");
    EXPECT_EQ(mpv.texts().back(), "mpv_destroy(client 1 of core 1)");
}

TEST_F(MPVObserverTest, ReportsPictureChangesInALaterTurn) {
    observe();
    mpv.sendPropertyChange("video-params");
    EXPECT_EQ(changes, 0);
    queue.runPending();
    EXPECT_EQ(changes, 1);
}

TEST_F(MPVObserverTest, WakesTheMainThreadOnceForManyEvents) {
    observe();
    for (int n = 0; n < 5; ++n)
        mpv.sendPropertyChange("video-params");
    EXPECT_EQ(queue.submittedCount(), 1U);
    queue.runPending();
    EXPECT_EQ(changes, 1) << "several changes are reported once";
    mpv.sendPropertyChange("video-params");
    queue.runPending();
    EXPECT_EQ(changes, 2);
}

TEST_F(MPVObserverTest, LogsTheEnginesMessagesWithTheirOriginAndWithoutLineBreaks) {
    observe();
    mpv.sendLogMessage(MPV_LOG_LEVEL_WARN, "ffmpeg/demuxer", "rtsp: CSeq 5 expected.\n");
    queue.runPending();
    EXPECT_EQ(log.lines(),
              (QList<LoggedLine>{{LogLevel::standard, QStringLiteral("playback"),
                                  QStringLiteral("[ffmpeg/demuxer] rtsp: CSeq 5 expected.")}}));
    EXPECT_EQ(changes, 0);
}

TEST_F(MPVObserverTest, ReportsComplaintsAlsoWhenTheLogLeavesThemOut) {
    observe("debug");
    for (int n = 0; n < 200; ++n)
        mpv.sendLogMessage(MPV_LOG_LEVEL_ERROR, "vd", "Failed.\n");
    mpv.sendLogMessage(MPV_LOG_LEVEL_WARN, "vd", "Odd.\n");
    mpv.sendLogMessage(MPV_LOG_LEVEL_V, "vd", "A detail.\n");
    for (int turn = 0; turn < 5; ++turn)
        queue.runPending();
    EXPECT_LT(logged().count(QStringLiteral("[vd] Failed.")), 200);
    EXPECT_EQ(complaints.count(QStringLiteral("Failed.")), 200);
    EXPECT_EQ(complaints.last(), QStringLiteral("Odd."));
}

TEST_F(MPVObserverTest, LogsTheLastMessagesWhenDestroyed) {
    observe();
    mpv.sendLogMessage(MPV_LOG_LEVEL_FATAL, "cplayer", "the reason\n");
    observer.reset();
    EXPECT_EQ(logged(), QStringList(QStringLiteral("[cplayer] the reason")));
}

TEST_F(MPVObserverTest, LateWakeUpsDoNothing) {
    observe();
    mpv.sendPropertyChange("video-params");
    observer.reset();
    const int before = changes;
    queue.runPending();
    EXPECT_EQ(changes, before);
}

TEST_F(MPVObserverTest, FailureToCreateTheClientIsLogged) {
    mpv.setCreateClientFails(true);
    observe();
    EXPECT_EQ(log.lines().size(), 1);
    EXPECT_EQ(log.lines().first().level, LogLevel::error);
    observer.reset();
    EXPECT_EQ(mpv.position("mpv_destroy"), -1);
}

TEST(LogLevelOfEngineMessage, MapsEveryEngineLevelToALogLevel) {
    EXPECT_EQ(logLevelOfEngineMessage(MPV_LOG_LEVEL_FATAL), LogLevel::error);
    EXPECT_EQ(logLevelOfEngineMessage(MPV_LOG_LEVEL_ERROR), LogLevel::error);
    EXPECT_EQ(logLevelOfEngineMessage(MPV_LOG_LEVEL_WARN), LogLevel::standard);
    EXPECT_EQ(logLevelOfEngineMessage(MPV_LOG_LEVEL_INFO), LogLevel::info);
    EXPECT_EQ(logLevelOfEngineMessage(MPV_LOG_LEVEL_V), LogLevel::debug);
    EXPECT_EQ(logLevelOfEngineMessage(MPV_LOG_LEVEL_DEBUG), LogLevel::debug);
    EXPECT_EQ(logLevelOfEngineMessage(MPV_LOG_LEVEL_TRACE), LogLevel::debug);
}

} // namespace
} // namespace lumvik::test
