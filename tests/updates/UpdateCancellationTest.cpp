#include "UpdateServiceFixture.h"
#include "fakes/HangingResolver.h"
#include "fakes/Named.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>

#include <gmock/gmock.h>
#include <poll.h>

#include <thread>

namespace lumvik::test {
namespace {

using UpdateServiceTest = UpdateServiceFixture;

/// The longest permitted duration of a cancellation in milliseconds. A cancellation takes a few
/// milliseconds, but the machine may be busy. Waiting for Qt's threads would take five seconds, and
/// waiting for the check thirty.
constexpr qint64 cancellationLimit = 2'000;

/// The progress of a check when it is cancelled.
enum class Phase { submitted, lookup, handshake, head, body, posted };

constexpr Named<Phase> phases[] = {{Phase::submitted, "Submitted"}, {Phase::lookup, "Lookup"},
                                   {Phase::handshake, "Handshake"}, {Phase::head, "Head"},
                                   {Phase::body, "Body"},           {Phase::posted, "Posted"}};

class UpdateCancellationTest : public UpdateServiceFixture,
                               public testing::WithParamInterface<Named<Phase>> {
  protected:
    ~UpdateCancellationTest() override { EXPECT_TRUE(hanging.letGo()); }

    /// Creates the service and begins a check that stays in the test's phase.
    void beginCheck() {
        const Phase phase = GetParam().value;
        if (phase == Phase::lookup)
            resolver = hanging.resolver();
        if (phase == Phase::handshake) {
            ASSERT_TRUE(unresponsiveServer.listen(QHostAddress::LocalHost));
            port = unresponsiveServer.serverPort();
        } else {
            serve([phase](const Request &) {
                if (phase == Phase::head)
                    return Response{.then = Response::Then::wait};
                if (phase == Phase::body)
                    return Response{.bytes = "HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n{",
                                    .then = Response::Then::wait};
                return responseWith(200, goodManifest());
            });
        }
        service = std::make_unique<LumvikUpdateService>(mainQueue, settings());
        check = service->check([this, completionMarker = completionMarker](
                                   const LumvikUpdateCheckOutcome &) { ++delivered; });
        ASSERT_TRUE(reachesPhase());
    }

    [[nodiscard]] bool reachesPhase() {
        switch (GetParam().value) {
        case Phase::submitted:
            return true;
        case Phase::lookup:
            return mainQueue.runUntil([this] { return hanging.asked() > 0; }, patience);
        case Phase::handshake:
            return unresponsiveServer.waitForNewConnection(
                static_cast<int>(std::chrono::milliseconds(patience).count()));
        case Phase::head:
        case Phase::body:
            return mainQueue.runUntil([this] { return !server->requests().isEmpty(); }, patience);
        case Phase::posted:
            return mainQueue.waitForWork(patience);
        }
        return false;
    }

    /// Expects that nothing is delivered within the time in which a result would arrive.
    void expectNoDelivery() {
        EXPECT_FALSE(
            mainQueue.runUntil([this] { return delivered > 0; }, std::chrono::milliseconds(100)));
    }

    HangingResolver hanging;
    QTcpServer unresponsiveServer;
    /// The completion handler holds a copy of this pointer.
    std::shared_ptr<int> completionMarker = std::make_shared<int>(0);
    std::unique_ptr<LumvikUpdateService> service;
    std::shared_ptr<UpdateCheck> check;
    int delivered = 0;
};

TEST_P(UpdateCancellationTest, CancelledCheckDeliversNothing) {
    beginCheck();
    QElapsedTimer elapsed;
    elapsed.start();
    check->cancel();
    EXPECT_LT(elapsed.elapsed(), cancellationLimit);
    EXPECT_EQ(completionMarker.use_count(), 1)
        << "the completion handler is destroyed at once, on the main thread";
    check->cancel();
    expectNoDelivery();
}

TEST_P(UpdateCancellationTest, CancelledCheckClosesItsConnection) {
    beginCheck();
    check->cancel();
    if (server) {
        EXPECT_TRUE(
            mainQueue.runUntil([this] { return server->openConnections() == 0; }, patience));
    }
    if (QTcpSocket *connection = unresponsiveServer.nextPendingConnection()) {
        const auto isOver = [&] {
            return connection->state() == QAbstractSocket::UnconnectedState ||
                   connection->waitForDisconnected(10);
        };
        EXPECT_TRUE(mainQueue.runUntil(isOver, patience));
    }
}

TEST_P(UpdateCancellationTest, NextCheckRunsAfterACancelledOne) {
    beginCheck();
    check->cancel();
    const int askedBefore = hanging.asked();
    bool isOver = false;
    check = service->check([&](const LumvikUpdateCheckOutcome &) { isOver = true; });
    // In some phases the server keeps the second check waiting as well. There it is enough that the
    // second check reaches the server.
    const int before = server ? static_cast<int>(server->requests().size()) : 0;
    EXPECT_TRUE(mainQueue.runUntil(
        [&] {
            return isOver || (server && server->requests().size() > before) ||
                   unresponsiveServer.waitForNewConnection(0) || hanging.asked() > askedBefore;
        },
        patience));
    EXPECT_EQ(delivered, 0);
}

TEST_P(UpdateCancellationTest, DestroyedServiceReturnsAtOnceAndDeliversNothing) {
    beginCheck();
    QElapsedTimer elapsed;
    elapsed.start();
    service.reset();
    RecordProperty("milliseconds", static_cast<int>(elapsed.elapsed()));
    EXPECT_LT(elapsed.elapsed(), cancellationLimit);
    EXPECT_EQ(completionMarker.use_count(), 1);
    expectNoDelivery();
    check->cancel();
}

TEST_P(UpdateCancellationTest, ReleasingTheCheckObjectDoesNotCancelTheCheck) {
    beginCheck();
    check.reset();
    EXPECT_EQ(completionMarker.use_count(), 2);
    const Phase phase = GetParam().value;
    if (phase == Phase::submitted || phase == Phase::posted) {
        EXPECT_TRUE(mainQueue.runUntil([this] { return delivered == 1; }, patience));
    }
}

INSTANTIATE_TEST_SUITE_P(Phases, UpdateCancellationTest, testing::ValuesIn(phases),
                         nameOfParameter);

// ---- More than one check ----

TEST_F(UpdateServiceTest, TwoChecksRunOneAfterTheOther) {
    std::atomic_int underWay = 0;
    serve([&](const Request &) {
        ++underWay;
        return responseWith(200, goodManifest());
    });
    LumvikUpdateService service(mainQueue, settings());
    const CapturedLog log;
    QStringList order;
    service.check([&](const LumvikUpdateCheckOutcome &) { order.append(u"first"_s); });
    service.check([&](const LumvikUpdateCheckOutcome &) { order.append(u"second"_s); });
    EXPECT_TRUE(mainQueue.runUntil([&] { return order.size() == 2; }, patience));
    EXPECT_EQ(order, (QStringList{u"first"_s, u"second"_s}));
    // The second check began only after the first one was validated.
    const QStringList texts = log.texts(u"updates"_s);
    ASSERT_EQ(texts.size(), 4);
    EXPECT_EQ(texts.mid(0, 2), texts.mid(2, 2));
    EXPECT_NE(texts[0], texts[1]);
}

TEST_F(UpdateServiceTest, WaitingCheckCanBeCancelled) {
    serve(responseWith(200, goodManifest()));
    LumvikUpdateService service(mainQueue, settings());
    QStringList order;
    service.check([&](const LumvikUpdateCheckOutcome &) { order.append(u"first"_s); });
    const auto second =
        service.check([&](const LumvikUpdateCheckOutcome &) { order.append(u"second"_s); });
    service.check([&](const LumvikUpdateCheckOutcome &) { order.append(u"third"_s); });
    second->cancel();
    EXPECT_TRUE(mainQueue.runUntil([&] { return order.size() == 2; }, patience));
    EXPECT_EQ(order, (QStringList{u"first"_s, u"third"_s}));
    EXPECT_EQ(server->requests().size(), 2);
}

TEST_F(UpdateServiceTest, CompletionMayCancelItsCheckAndBeginAnother) {
    serve(responseWith(200, goodManifest()));
    LumvikUpdateService service(mainQueue, settings());
    int delivered = 0;
    std::shared_ptr<UpdateCheck> check;
    check = service.check([&](const LumvikUpdateCheckOutcome &) {
        ++delivered;
        check->cancel();
        check = service.check([&](const LumvikUpdateCheckOutcome &) { ++delivered; });
    });
    EXPECT_TRUE(mainQueue.runUntil([&] { return delivered == 2; }, patience));
}

TEST_F(UpdateServiceTest, CompletionMayDestroyTheService) {
    serve(responseWith(200, goodManifest()));
    auto service = std::make_unique<LumvikUpdateService>(mainQueue, settings());
    service->check([&](const LumvikUpdateCheckOutcome &) { service.reset(); });
    EXPECT_TRUE(mainQueue.runUntil([&] { return !service; }, patience));
}

TEST_F(UpdateServiceTest, ChecksCancelledAtAnyMomentDeliverNothing) {
    serve(responseWith(200, goodManifest()));
    LumvikUpdateService service(mainQueue, settings());
    int deliveredTooLate = 0;
    for (int n = 0; n < 60; ++n) {
        bool isCancelled = false;
        const auto check = service.check(
            [&](const LumvikUpdateCheckOutcome &) { deliveredTooLate += isCancelled ? 1 : 0; });
        // Cancel a little later each time, up to the point where the check has already finished.
        QElapsedTimer elapsed;
        elapsed.start();
        while (elapsed.nsecsElapsed() < n * 500'000)
            std::this_thread::yield();
        isCancelled = true;
        check->cancel();
        mainQueue.runPending();
    }
    EXPECT_EQ(textOf(runCheck(service)), "1.6");
    EXPECT_EQ(deliveredTooLate, 0);
}

TEST_F(UpdateServiceTest, ServicesDestroyedAtAnyMomentDeliverNothing) {
    serve(responseWith(200, goodManifest()));
    int delivered = 0;
    qint64 longest = 0;
    for (int n = 0; n < 60; ++n) {
        LumvikUpdateSettings ours = settings();
        if (n % 2 == 0)
            ours.authorities = std::nullopt; // reading the system's authorities takes a while
        auto service = std::make_unique<LumvikUpdateService>(mainQueue, ours);
        service->check([&](const LumvikUpdateCheckOutcome &) { ++delivered; });
        QElapsedTimer elapsed;
        elapsed.start();
        while (elapsed.nsecsElapsed() < n * 500'000)
            std::this_thread::yield();
        elapsed.start();
        service.reset();
        longest = std::max(longest, elapsed.elapsed());
        mainQueue.runPending();
    }
    EXPECT_EQ(delivered, 0);
    RecordProperty("longest", static_cast<int>(longest));
    EXPECT_LT(longest, cancellationLimit);
}

TEST_F(UpdateServiceTest, ProcessExitsDuringAnUnansweredLookup) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            std::atomic_bool asked = false;
            resolver = [&](const std::string &, std::uint16_t) -> LookupResult {
                asked = true;
                ::poll(nullptr, 0, 100'000);
                return {};
            };
            QElapsedTimer elapsed;
            {
                LumvikUpdateService service(mainQueue, settings());
                service.check([](const LumvikUpdateCheckOutcome &) {});
                if (!mainQueue.runUntil([&] { return asked.load(); }, patience))
                    std::exit(2);
                elapsed.start();
            }
            std::exit(elapsed.elapsed() < cancellationLimit ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace lumvik::test
