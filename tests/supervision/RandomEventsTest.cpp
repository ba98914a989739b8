// Invariants of the supervision under events in random order.

#include "app/controller/ControllerFixture.h"

#include <QRegularExpression>

#include <random>

namespace lumvik::test {
namespace {

using namespace PlaybackEngineEvents;
using State = PlaybackSupervisorState;
using Connection = NetworkConnection::State;

/// The state that a report of an earlier player must not change.
struct Snapshot {
    State state;
    std::int64_t generation;
    std::int64_t retryCount;
    WorkItem *retry;
    const NetworkConnection *probe;
    std::optional<TimeStamp> lastFrame;
    qsizetype logLines; // the number of log lines; each load adds one

    friend bool operator==(const Snapshot &, const Snapshot &) = default;
};

class RandomEventsTest : public ControllerFixture, public testing::WithParamInterface<unsigned> {
  protected:
    void SetUp() override {
        launchAndPlay(threeCameras());
        queue.runPending();
    }

    [[nodiscard]] int pick(int count) { return static_cast<int>(m_random() % unsigned(count)); }

    /// The probe that is under way; null if no probe is under way.
    [[nodiscard]] const NetworkConnection *probe() const {
        return probeIsUnderWay() ? network.connections.back().get() : nullptr;
    }

    /// How often a camera was loaded so far.
    [[nodiscard]] qsizetype loads() const {
        return playbackLog().filter(u"Loading camera index "_s).size();
    }

    [[nodiscard]] Snapshot snapshot() {
        return {access().playbackState(),
                playerGeneration(),
                access().playbackRetryCount(),
                access().playbackRetry().get(),
                probe(),
                access().lastFrameRenderedAt(),
                log.lines().size()};
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

    /// Makes one random event happen. Returns whether the event was a frame of the current player.
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
            delegate->recordRenderedFrame(playerGeneration());
            return true;
        case 5:
        case 6:
            delegate->handlePlaybackEngineEvent(someEvent(), playerGeneration());
            return false;
        case 7: {
            const Snapshot before = snapshot();
            const std::int64_t stale = playerGeneration() - 1 - pick(3);
            if (pick(2) == 0)
                delegate->recordRenderedFrame(stale);
            else
                delegate->handlePlaybackEngineEvent(someEvent(), stale);
            EXPECT_EQ(snapshot(), before) << "a report of an earlier player had an effect";
            return false;
        }
        case 8:
            setPath(somePath());
            return false;
        case 9:
            setSleeping(pick(3) == 0);
            return false;
        case 10:
            delegate->selectCamera(pick(5) - 1);
            return false;
        case 11:
            chooseNetworkAnswer();
            return false;
        case 12:
            // Any earlier connection may still report a state.
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

    void setPath(const NetworkPathSignature &path) {
        m_hasPath = path.isSatisfied;
        networkPath.report(path);
        queue.runPending();
    }

    void setSleeping(bool isSleeping) {
        m_isSleeping = isSleeping;
        if (isSleeping)
            sleepMonitor.sleep();
        else
            sleepMonitor.wake();
    }

    void chooseNetworkAnswer() {
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

    /// Checks the invariants after each step.
    void check(State stateBefore, std::int64_t generationBefore, bool couldStart, bool wasFrame) {
        ASSERT_LE(mpv.liveCores(), 1);
        // At most seven delays can be scheduled: one each for the watchdog, an attempt, the
        // fallback of a probe, the age of the picture and the limit of a sleep delay, and two for
        // the view.
        ASSERT_LE(queue.delays().size(), 7U);
        if (probe() != m_probe) {
            m_probe = probe();
            m_probeSeenAt = queue.now();
        }
        ASSERT_TRUE(m_probe == nullptr || queue.now() - m_probeSeenAt <= 1.25)
            << "a probe has outlived its fallback delay";
        const bool beganToPlay =
            access().playbackState() == State::playing && stateBefore != State::playing;
        ASSERT_TRUE(wasFrame || !beganToPlay) << "playing without a drawn frame";
        const bool wasStarted = playerGeneration() != generationBefore;
        ASSERT_TRUE(couldStart || canStart() || !wasStarted)
            << "a player was started during sleep or without a path";
        if (!canStart()) {
            ASSERT_EQ(access().playbackRetry(), nullptr);
            ASSERT_FALSE(probeIsUnderWay());
        }
        ASSERT_TRUE(mpv.liveCores() == 1 || access().playbackState() != State::playing);
    }
    [[nodiscard]] bool canStart() const { return !m_isSleeping && m_hasPath; }

    /// Checks that every scheduled delay is within its bounds.
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
        EXPECT_GT(attempts, 20) << "too few attempts for a meaningful test";
    }

    /// Checks that playback recovers by itself after the random events, once nothing prevents it
    /// any longer.
    void checkThatPlaybackRecovers() {
        network.answer = Connection::ready;
        mpv.setCreateFails(false);
        mpv.setCommandResult("loadfile", 0);
        mpv.setProperty("eof-reached", 0);
        const qsizetype loadsBefore = loads();
        if (m_isSleeping)
            setSleeping(false);
        if (!m_hasPath)
            setPath({.isSatisfied = true, .usesEthernet = true});
        queue.runPending();
        // The longest wait is a full back-off delay after a deadline that has just begun.
        const TimeStamp begin = queue.now();
        while (loads() == loadsBefore && queue.now() - begin < 60)
            queue.advance(0.5);
        EXPECT_GT(loads(), loadsBefore) << "no load was tried within a minute";
        queue.advance(60);
        ASSERT_EQ(mpv.liveCores(), 1);
        delegate->handlePlaybackEngineEvent(StartFile{}, playerGeneration());
        delegate->recordRenderedFrame(playerGeneration());
        EXPECT_EQ(access().playbackState(), State::playing);
        queue.advance(5);
        delegate->recordRenderedFrame(playerGeneration());
        EXPECT_EQ(access().playbackRetryCount(), 0);
    }

  private:
    std::mt19937 m_random{GetParam()};
    bool m_isSleeping = false;
    bool m_hasPath = true;
    const NetworkConnection *m_probe = nullptr; // the probe after the last step
    TimeStamp m_probeSeenAt = 0;
};

TEST_P(RandomEventsTest, InvariantsHoldAndPlaybackRecovers) {
    for (int n = 0; n < 2000; ++n) {
        const State state = access().playbackState();
        const std::int64_t generation = playerGeneration();
        const bool couldStart = canStart();
        const bool wasFrame = step();
        check(state, generation, couldStart, wasFrame);
        ASSERT_FALSE(HasFatalFailure()) << "at step " << n;
        mpv.forgetCalls();
    }
    checkDelays();
    checkThatPlaybackRecovers();
    delegate->applicationWillTerminate();
    EXPECT_EQ(mpv.liveCores(), 0);
    EXPECT_EQ(queue.delays().size(), 0U) << "work is still scheduled after termination";
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomEventsTest, testing::Range(1U, 26U));

} // namespace
} // namespace lumvik::test
