#include "TcpConnectionFixture.h"

#include <QDeadlineTimer>
#include <QThread>

#include <poll.h>

#include <atomic>
#include <chrono>
#include <future>

// Tests of the handler: its thread, its removal, and what it may do.

namespace lumvik::test {
namespace {

using TcpConnectionTest = TcpConnectionFixture;

TEST_F(TcpConnectionTest, HandlerRunsOnTheQueue) {
    const LocalPort port(LocalPort::Behaviour::listening);
    std::atomic<void *> queueThread = nullptr;
    queue.async([&] { queueThread = QThread::currentThread(); });
    std::atomic_int elsewhere = 0;
    std::atomic_bool ready = false;
    TcpConnection connection(loopback, port.port());
    connection.setStateUpdateHandler([&](State state) {
        elsewhere += QThread::currentThread() != queueThread ? 1 : 0;
        ready = state == State::ready;
    });
    connection.start(queue);
    EXPECT_TRUE(QTest::qWaitFor([&] { return ready.load(); }, deadline));
    EXPECT_EQ(elsewhere, 0);
}

TEST_F(TcpConnectionTest, RemovedHandlerIsNotCalledAgain) {
    const LocalPort port(LocalPort::Behaviour::listening);
    std::atomic_int callsAfterRemoval = 0;
    std::atomic_int calls = 0;
    for (int n = 0; n < 500; ++n) {
        const auto removed = std::make_shared<std::atomic_bool>(false);
        const auto begun = std::make_shared<std::atomic_bool>(false);
        TcpConnection connection(loopback, port.port());
        connection.setStateUpdateHandler([&, removed, begun](State) {
            *begun = true;
            ++calls;
            callsAfterRemoval += removed->load() ? 1 : 0;
        });
        connection.start(queue);
        // The handler is removed at once, after a growing delay, or as soon as it has started.
        const QDeadlineTimer latest(n % 3 == 2 ? deadline : 0);
        for (int spin = 0; n % 3 != 0 && !*begun; ++spin) {
            if (latest.hasExpired() && spin >= n * 20)
                break;
        }
        connection.setStateUpdateHandler({});
        *removed = true;
        connection.cancel();
    }
    drain(queue);
    EXPECT_EQ(callsAfterRemoval, 0);
    EXPECT_GT(calls, 100);
}

TEST_F(TcpConnectionTest, RemovingTheHandlerWaitsForARunningCall) {
    const LocalPort port(LocalPort::Behaviour::listening);
    std::atomic_bool running = false;
    std::promise<void> mayReturn;
    std::shared_future<void> allowed = mayReturn.get_future().share();
    std::atomic_bool returned = false;
    TcpConnection connection(loopback, port.port());
    connection.setStateUpdateHandler([&, allowed](State) {
        running = true;
        allowed.wait_for(std::chrono::milliseconds(deadline));
        returned = true;
    });
    connection.start(queue);
    EXPECT_TRUE(QTest::qWaitFor([&] { return running.load(); }, deadline));
    auto removed = std::async(std::launch::async, [&] {
        connection.setStateUpdateHandler({});
        return returned.load();
    });
    // A removal that does not wait returns well within this time.
    EXPECT_EQ(removed.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
    mayReturn.set_value();
    EXPECT_TRUE(removed.get());
}

TEST_F(TcpConnectionTest, CancelDoesNotWaitForTheHandler) {
    const LocalPort port(LocalPort::Behaviour::listening);
    std::atomic_bool running = false;
    std::atomic_bool mayReturn = false;
    TcpConnection connection(loopback, port.port());
    std::atomic_bool returned = false;
    connection.setStateUpdateHandler([&](State) {
        running = true;
        const QDeadlineTimer latest(deadline);
        while (!mayReturn && !latest.hasExpired())
            ::poll(nullptr, 0, 1);
        returned = true;
    });
    connection.start(queue);
    EXPECT_TRUE(QTest::qWaitFor([&] { return running.load(); }, deadline));
    connection.cancel(); // would return only after the deadline if it waited
    EXPECT_FALSE(returned);
    mayReturn = true;
    drain(queue);
}

TEST_F(TcpConnectionTest, HandlerMayRemoveItselfAndCancel) {
    const LocalPort port(LocalPort::Behaviour::listening);
    std::atomic_int calls = 0;
    TcpConnection connection(loopback, port.port());
    connection.setStateUpdateHandler([&](State) {
        ++calls;
        connection.setStateUpdateHandler({});
        connection.cancel();
    });
    connection.start(queue);
    EXPECT_TRUE(QTest::qWaitFor([&] { return calls > 0; }, deadline));
    drain(queue);
    EXPECT_EQ(calls, 1);
}

TEST_F(TcpConnectionTest, HandlerMayDropTheLastReference) {
    const LocalPort port(LocalPort::Behaviour::listening);
    auto *owner =
        new std::shared_ptr<TcpConnection>(std::make_shared<TcpConnection>(loopback, port.port()));
    std::atomic_bool dropped = false;
    (*owner)->setStateUpdateHandler([&dropped, owner](State) {
        owner->reset();
        dropped = true;
    });
    (*owner)->start(queue);
    EXPECT_TRUE(QTest::qWaitFor([&] { return dropped.load(); }, deadline));
    drain(queue);
    delete owner;
}

} // namespace
} // namespace lumvik::test
