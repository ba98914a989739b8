#include "TcpConnectionFixture.h"

#include <QDeadlineTimer>
#include <QThread>

#include <poll.h>

#include <atomic>
#include <chrono>
#include <future>

// The handler: where it runs, and what may be done meanwhile.

namespace lumvik::test {
namespace {

using TcpConnectionTest = TcpConnectionFixture;

TEST_F(TcpConnectionTest, TheHandlerRunsOnTheQueue) {
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

TEST_F(TcpConnectionTest, AHandlerThatWasRemovedIsNotBegunAnyMore) {
    const LocalPort port(LocalPort::Behaviour::listening);
    std::atomic_int begunTooLate = 0;
    std::atomic_int begunAtAll = 0;
    for (int n = 0; n < 500; ++n) {
        const auto removed = std::make_shared<std::atomic_bool>(false);
        const auto begun = std::make_shared<std::atomic_bool>(false);
        TcpConnection connection(loopback, port.port());
        connection.setStateUpdateHandler([&, removed, begun](State) {
            *begun = true;
            ++begunAtAll;
            begunTooLate += removed->load() ? 1 : 0;
        });
        connection.start(queue);
        // Removed at once, or after a while that grows, or as soon as it has begun.
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
    EXPECT_EQ(begunTooLate, 0);
    EXPECT_GT(begunAtAll, 100);
}

TEST_F(TcpConnectionTest, RemovingTheHandlerWaitsUntilItHasReturned) {
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
    // A removal that does not wait is over well within this.
    EXPECT_EQ(removed.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
    mayReturn.set_value();
    EXPECT_TRUE(removed.get());
}

TEST_F(TcpConnectionTest, CancellingDoesNotWaitForTheHandler) {
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

TEST_F(TcpConnectionTest, TheHandlerMayRemoveItselfAndCancel) {
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

TEST_F(TcpConnectionTest, TheLastReferenceMayBeDroppedByTheHandler) {
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
