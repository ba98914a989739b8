#include "engine/MPVEventLoop.h"

#include "fakes/FakeMpv.h"
#include "fakes/VirtualMainQueue.h"

#include <QThread>

#include <gtest/gtest.h>

#include <optional>

namespace lumvik::test {
namespace {

using namespace PlaybackEngineEvents;
using namespace std::chrono_literals;

constexpr auto deadline = 10s;

struct Delivery {
    PlaybackEngineEvent event;
    std::int64_t generation = 0;
    std::thread::id thread;
};

class MPVEventLoopTest : public testing::Test {
  protected:
    MPVEventLoopTest() {
        // If the pump is not woken, the test fails instead of merely taking longer.
        mpv.setWaitsNeverTimeOut();
    }
    ~MPVEventLoopTest() override {
        loop.reset();
        mpv_terminate_destroy(player);
    }

    void makeLoop(MainQueue &mainQueue, std::int64_t generation) {
        loop.emplace(player, generation, mainQueue,
                     [this](const PlaybackEngineEvent &event, std::int64_t eventGeneration) {
                         deliveries.push_back({event, eventGeneration, std::this_thread::get_id()});
                     });
    }
    void startLoop(std::int64_t generation = 1) {
        makeLoop(queue, generation);
        loop->start();
    }
    [[nodiscard]] bool waitForDeliveries(std::size_t count) {
        return queue.runUntil([&] { return deliveries.size() >= count; });
    }
    [[nodiscard]] std::vector<PlaybackEngineEvent> events() const {
        std::vector<PlaybackEngineEvent> events;
        for (const Delivery &delivery : deliveries)
            events.push_back(delivery.event);
        return events;
    }

    FakeMpv mpv;
    VirtualMainQueue queue;
    mpv_handle *player = mpv_create();
    std::vector<Delivery> deliveries;
    std::optional<MPVEventLoop> loop;
};

TEST_F(MPVEventLoopTest, DeliversEventsInOrderWithTheGenerationOfTheirPlayer) {
    startLoop(7);
    mpv.sendEvent(MPV_EVENT_START_FILE);
    mpv.sendEvent(MPV_EVENT_FILE_LOADED);
    mpv.sendEvent(MPV_EVENT_PLAYBACK_RESTART);
    mpv.sendEndFile(4, -13);
    mpv.sendEvent(MPV_EVENT_QUEUE_OVERFLOW);
    mpv.sendEvent(MPV_EVENT_SHUTDOWN);
    ASSERT_TRUE(waitForDeliveries(6));
    EXPECT_EQ(events(),
              (std::vector<PlaybackEngineEvent>{StartFile{}, FileLoaded{}, PlaybackRestart{},
                                                EndFile{4, -13}, QueueOverflow{}, Shutdown{}}));
    for (const Delivery &delivery : deliveries)
        EXPECT_EQ(delivery.generation, 7);
}

TEST_F(MPVEventLoopTest, RunsTheHandlerOnTheMainThreadAndThePumpElsewhere) {
    startLoop();
    mpv.sendEvent(MPV_EVENT_START_FILE);
    ASSERT_TRUE(waitForDeliveries(1));
    EXPECT_EQ(deliveries.front().thread, std::this_thread::get_id());
    ASSERT_FALSE(mpv.callsTo("mpv_wait_event").empty());
    EXPECT_NE(mpv.callsTo("mpv_wait_event").front().thread, std::this_thread::get_id());
}

/// A main queue that records the name of the thread that submits work, and runs nothing.
class ThreadRecordingQueue final : public MainQueue {
  public:
    void async(Work) override {
        const std::scoped_lock guard(m_mutex);
        m_threadName = QThread::currentThread()->objectName();
    }
    [[nodiscard]] std::shared_ptr<WorkItem> after(double, Work) override { return {}; }
    [[nodiscard]] std::unique_ptr<RepeatingTimer> repeating(double, Work) override { return {}; }
    [[nodiscard]] TimeStamp now() const override { return 0; }

    [[nodiscard]] QString threadName() const {
        const std::scoped_lock guard(m_mutex);
        return m_threadName;
    }

  private:
    mutable std::mutex m_mutex;
    QString m_threadName;
};

TEST_F(MPVEventLoopTest, PumpsOnAThreadNamedAfterItsQueue) {
    ThreadRecordingQueue recorder;
    makeLoop(recorder, 1);
    loop->start();
    mpv.sendEvent(MPV_EVENT_START_FILE);
    ASSERT_TRUE(queue.runUntil([&] { return !recorder.threadName().isEmpty(); }));
    EXPECT_EQ(recorder.threadName(), QStringLiteral("com.tandrel.Lumvik.mpv-events"));
    loop.reset();
}

TEST_F(MPVEventLoopTest, DropsIrrelevantEvents) {
    startLoop();
    for (const mpv_event_id id :
         {MPV_EVENT_PROPERTY_CHANGE, MPV_EVENT_LOG_MESSAGE, MPV_EVENT_SEEK,
          MPV_EVENT_VIDEO_RECONFIG, static_cast<mpv_event_id>(11), MPV_EVENT_HOOK})
        mpv.sendEvent(id);
    mpv.sendEvent(MPV_EVENT_FILE_LOADED);
    ASSERT_TRUE(waitForDeliveries(1));
    EXPECT_EQ(events(), std::vector<PlaybackEngineEvent>{FileLoaded{}});
}

TEST_F(MPVEventLoopTest, DeliversAnEndFileEventWithoutDataAsUnknown) {
    startLoop();
    mpv.sendEvent(MPV_EVENT_END_FILE);
    ASSERT_TRUE(waitForDeliveries(1));
    EXPECT_EQ(events().front(), PlaybackEngineEvent(EndFile{4294967295U, 0}));
}

TEST_F(MPVEventLoopTest, WaitsForAnEventForHalfASecondAtMost) {
    startLoop();
    ASSERT_TRUE(mpv.waitUntilPumpIdles(deadline));
    EXPECT_EQ(mpv.callsTo("mpv_wait_event").front().arguments,
              std::vector<std::string>{"0.500000"});
}

TEST_F(MPVEventLoopTest, ContinuesAfterAWaitWithoutAnEvent) {
    startLoop();
    ASSERT_TRUE(mpv.waitUntilPumpIdles(deadline));
    mpv_wakeup(player); // ends the wait with an event of no interest
    mpv.sendEvent(MPV_EVENT_START_FILE);
    EXPECT_TRUE(waitForDeliveries(1));
}

TEST_F(MPVEventLoopTest, StopWakesThePump) {
    startLoop();
    ASSERT_TRUE(mpv.waitUntilPumpIdles(deadline));
    loop->stop(); // the fake terminates the process if nothing wakes the pump
    EXPECT_EQ(mpv.callsTo("mpv_wakeup").size(), 1U);
}

/// A main queue that blocks every thread that submits work until `gate` is released.
class GatedQueue final : public MainQueue {
  public:
    void async(Work) override {
        entered.release();
        gate.acquire();
    }
    [[nodiscard]] std::shared_ptr<WorkItem> after(double, Work) override { return {}; }
    [[nodiscard]] std::unique_ptr<RepeatingTimer> repeating(double, Work) override { return {}; }
    [[nodiscard]] TimeStamp now() const override { return 0; }

    std::binary_semaphore entered{0};
    std::binary_semaphore gate{0};
};

TEST_F(MPVEventLoopTest, StopBlocksUntilThePumpHasFinished) {
    GatedQueue gated;
    makeLoop(gated, 1);
    loop->start();
    mpv.sendEvent(MPV_EVENT_START_FILE);
    gated.entered.acquire(); // the pump is handling the event now
    std::atomic_bool wasReleased = false;
    std::thread opener([&] {
        while (mpv.callsTo("mpv_wakeup").empty()) // until `stop` waits
            std::this_thread::yield();
        wasReleased = true;
        gated.gate.release();
    });
    loop->stop();
    EXPECT_TRUE(wasReleased);
    const std::size_t waits = mpv.callsTo("mpv_wait_event").size();
    opener.join();
    loop.reset();
    EXPECT_EQ(waits, 1U) << "the pump must not wait again after the request to stop";
    EXPECT_EQ(mpv.callsTo("mpv_wait_event").size(), waits);
}

TEST_F(MPVEventLoopTest, SecondStartAndSecondStopDoNothing) {
    startLoop();
    loop->start();
    ASSERT_TRUE(mpv.waitUntilPumpIdles(deadline));
    loop->stop();
    loop->stop(); // a stop that waited for the pump would never return
    EXPECT_EQ(mpv.callsTo("mpv_wakeup").size(), 1U);
    const std::size_t waits = mpv.callsTo("mpv_wait_event").size();
    loop->start();
    loop.reset();
    EXPECT_EQ(mpv.callsTo("mpv_wait_event").size(), waits);
}

TEST_F(MPVEventLoopTest, StopBeforeStartPreventsThePumpFromWaitingForEvents) {
    makeLoop(queue, 1);
    loop->stop();
    EXPECT_TRUE(mpv.callsTo("mpv_wakeup").empty());
    mpv.sendEvent(MPV_EVENT_START_FILE);
    loop->start();
    loop.reset(); // joins the pump's thread
    EXPECT_TRUE(mpv.callsTo("mpv_wait_event").empty());
    queue.runPending();
    EXPECT_TRUE(deliveries.empty());
}

TEST_F(MPVEventLoopTest, PendingEventsStillArriveAfterTheLoopIsDestroyed) {
    startLoop(3);
    mpv.sendEndFile(0, 0);
    ASSERT_TRUE(queue.waitForWork());
    loop.reset();
    EXPECT_TRUE(deliveries.empty());
    queue.runPending();
    ASSERT_EQ(deliveries.size(), 1U);
    EXPECT_EQ(deliveries.front().event, PlaybackEngineEvent(EndFile{0, 0}));
    EXPECT_EQ(deliveries.front().generation, 3);
}

TEST_F(MPVEventLoopTest, DestructionStopsThePump) {
    startLoop();
    ASSERT_TRUE(mpv.waitUntilPumpIdles(deadline));
    loop.reset();
    EXPECT_EQ(mpv.callsTo("mpv_wakeup").size(), 1U);
}

} // namespace
} // namespace lumvik::test
