// The supervision under events in any order: whatever happens, some things must always hold.

#include "app/controller/ControllerFixture.h"

#include <QRegularExpression>

#include <random>

namespace lumvik::test {
namespace {

using namespace PlaybackEngineEvents;
using State = PlaybackSupervisorState;
using Connection = NetworkConnection::State;

/// Everything that an event of the past must leave alone.
struct Snapshot {
    State state;
    std::int64_t generation;
    std::int64_t retryCount;
    WorkItem *retry;
    NetworkConnection *probe;
    std::optional<TimeStamp> lastFrame;
    TimeStamp lastLoad;
    qsizetype logLines;

    friend bool operator==(const Snapshot &, const Snapshot &) = default;
};

class RandomEventsTest : public ControllerFixture, public testing::WithParamInterface<unsigned> {
  protected:
    void SetUp() override {
        launchAndPlay(threeCameras());
        queue.runPending();
    }

    [[nodiscard]] int pick(int count) { return static_cast<int>(m_random() % unsigned(count)); }

    [[nodiscard]] Snapshot snapshot() {
        return {access().playbackState(),           access().playerGeneration(),
                access().playbackRetryCount(),      access().playbackRetry().get(),
                access().localNetworkProbe().get(), access().lastFrameRenderedAt(),
                access().lastCameraLoad(),          log.lines().size()};
    }

    [[nodiscard]] PlaybackEngineEvent someEvent() {
        switch (pick(8)) {
        case 0:
            return StartFile{};
        case 1:
            return FileLoaded{};
        case 2:
            return PlaybackRestart{};
        case 3:
            return EndFile{static_cast<std::uint32_t>(pick(8)), -pick(20)};
        case 4:
            return EndFile{};
        case 5:
            return Shutdown{};
        case 6:
            return QueueOverflow{};
        default:
            return EndFile{2, 0};
        }
    }

    [[nodiscard]] NetworkPathSignature somePath() {
        return {.isSatisfied = pick(3) != 0,
                .usesWiFi = pick(2) == 0,
                .usesEthernet = pick(2) == 0,
                .usesOther = pick(4) == 0};
    }

    /// One thing happens. Answers whether it was a frame of the current player.
    bool step() {
        switch (pick(15)) {
        case 0:
        case 1:
            queue.advance(0.1 * pick(30));
            return false;
        case 2:
            queue.advance(pick(40));
            return false;
        case 3:
        case 4:
            delegate->recordRenderedFrame(access().playerGeneration());
            return true;
        case 5:
        case 6:
            delegate->handlePlaybackEngineEvent(someEvent(), access().playerGeneration());
            return false;
        case 7: {
            const Snapshot before = snapshot();
            const std::int64_t stale = access().playerGeneration() - 1 - pick(3);
            if (pick(2) == 0)
                delegate->recordRenderedFrame(stale);
            else
                delegate->handlePlaybackEngineEvent(someEvent(), stale);
            EXPECT_EQ(snapshot(), before) << "a report of an earlier player had an effect";
            return false;
        }
        case 8:
            networkPath.report(somePath());
            queue.runPending();
            return false;
        case 9:
            if (pick(3) == 0)
                sleepMonitor.sleep();
            else
                sleepMonitor.wake();
            return false;
        case 10:
            delegate->selectCamera(pick(5) - 1);
            return false;
        case 11:
            answerOfTheNetwork();
            return false;
        case 12:
            // Any connection of the past may still have something to say.
            if (!network.connections.empty()) {
                network.connections
                    .at(static_cast<std::size_t>(
                        pick(static_cast<int>(network.connections.size()))))
                    ->report(static_cast<Connection>(pick(5)));
                queue.runPending();
            }
            return false;
        case 13:
            mpv.setCreateFails(pick(4) == 0);
            mpv.setCommandResult("loadfile", pick(4) == 0 ? -12 : 0);
            return false;
        default:
            mpv.setProperty("eof-reached", pick(4) == 0 ? 1 : 0);
            mpv.sendPropertyChange("eof-reached");
            queue.runPending();
            return false;
        }
    }

    void answerOfTheNetwork() {
        switch (pick(4)) {
        case 0:
            network.answer = std::nullopt;
            break;
        case 1:
            network.answer = Connection::failed;
            break;
        default:
            network.answer = Connection::ready;
        }
        random = pick(1000) / 1000.0;
    }

    /// What nothing may ever break.
    void check(State stateBefore, std::int64_t generationBefore, bool couldStart, bool wasFrame) {
        ASSERT_LE(mpv.liveCores(), 1);
        // The watchdog, an attempt, a probe's fallback, a limit for sleep; the view has two more.
        ASSERT_LE(queue.delays().size(), 6U);
        ASSERT_EQ(access().localNetworkProbe() == nullptr,
                  access().localNetworkProbeFallback() == nullptr);
        const bool beganToPlay =
            access().playbackState() == State::playing && stateBefore != State::playing;
        ASSERT_TRUE(wasFrame || !beganToPlay) << "playing without a drawn frame";
        const bool wasStarted = access().playerGeneration() != generationBefore;
        ASSERT_TRUE(couldStart || canStart() || !wasStarted)
            << "a player was started while it could not be used";
        if (access().systemIsSleeping() || !access().networkPathIsSatisfied()) {
            ASSERT_EQ(access().playbackRetry(), nullptr);
            ASSERT_EQ(access().localNetworkProbe(), nullptr);
        }
        ASSERT_TRUE(access().mpv() != nullptr || access().playbackState() != State::playing);
    }
    [[nodiscard]] bool canStart() {
        return !access().systemIsSleeping() && access().networkPathIsSatisfied();
    }

    /// Every delay that was scheduled lies within its bounds.
    void checkDelays() {
        static const QRegularExpression scheduled(
            u"^Scheduling recovery (\\d+) in ([0-9.]+) seconds; recreate=(true|false);"_s);
        int attempts = 0;
        for (const QString &text : playbackLog()) {
            const QRegularExpressionMatch match = scheduled.match(text);
            if (!match.hasMatch())
                continue;
            ++attempts;
            ASSERT_GE(match.captured(2).toDouble(), 0.5) << text.toStdString();
            ASSERT_LE(match.captured(2).toDouble(), 30.35) << text.toStdString();
            const bool isThird = match.captured(1).toLongLong() % 3 == 0;
            ASSERT_TRUE(!isThird || match.captured(3) == u"true"_s) << text.toStdString();
        }
        EXPECT_GT(attempts, 20) << "the events were not wild enough";
    }

    /// From wherever the events have led, the picture comes back by itself, once what holds it up
    /// is over.
    void checkThatItComesBack() {
        network.answer = Connection::ready;
        mpv.setCreateFails(false);
        mpv.setCommandResult("loadfile", 0);
        mpv.setProperty("eof-reached", 0);
        if (access().systemIsSleeping())
            sleepMonitor.wake();
        if (!access().networkPathIsSatisfied())
            networkPath.report({.isSatisfied = true, .usesEthernet = true});
        queue.runPending();
        // The longest wait is an attempt's full delay behind a deadline that has just begun.
        const auto loads = [&] { return access().lastCameraLoad(); };
        const TimeStamp begin = queue.now();
        while (loads() < begin && queue.now() - begin < 60)
            queue.advance(0.5);
        EXPECT_GE(loads(), begin) << "no load was tried within a minute";
        queue.advance(60);
        ASSERT_NE(access().mpv(), nullptr);
        delegate->handlePlaybackEngineEvent(StartFile{}, access().playerGeneration());
        delegate->recordRenderedFrame(access().playerGeneration());
        EXPECT_EQ(access().playbackState(), State::playing);
        EXPECT_EQ(access().playbackRetryCount(), 0);
    }

  private:
    std::mt19937 m_random{GetParam()};
};

TEST_P(RandomEventsTest, WhateverHappensTheRulesHoldAndThePictureComesBack) {
    for (int n = 0; n < 2000; ++n) {
        const State state = access().playbackState();
        const std::int64_t generation = access().playerGeneration();
        const bool couldStart = canStart();
        const bool wasFrame = step();
        check(state, generation, couldStart, wasFrame);
        ASSERT_FALSE(HasFatalFailure()) << "at step " << n;
        mpv.forgetCalls();
    }
    checkDelays();
    checkThatItComesBack();
    delegate->applicationWillTerminate();
    EXPECT_EQ(mpv.liveCores(), 0);
    EXPECT_EQ(queue.delays().size(), 0U) << "something still waits to run";
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomEventsTest, testing::Range(1U, 26U));

} // namespace
} // namespace lumvik::test
