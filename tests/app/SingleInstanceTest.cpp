#include "app/SingleInstance.h"

#include "fakes/Named.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLocalSocket>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest/QTest>

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <vector>

namespace lumvik {
namespace {

using namespace std::chrono_literals;
using Outcome = SingleInstance::Outcome;

class SingleInstanceTest : public testing::Test {
  protected:
    ~SingleInstanceTest() override {
        for (const auto &thread : threads)
            thread->wait();
    }
    /// Starts a later instance on its own thread, so that the event loop of the first instance can
    /// run at the same time.
    [[nodiscard]] std::future<Outcome> start(const LaunchRequest &request,
                                             std::chrono::milliseconds limit = 20s) {
        std::packaged_task<Outcome()> claim(
            [this, request, limit] { return SingleInstance(path).claim(request, limit); });
        std::future<Outcome> outcome = claim.get_future();
        threads.emplace_back(QThread::create(std::move(claim)))->start();
        return outcome;
    }
    static bool eventually(const std::function<bool()> &condition) {
        return QTest::qWaitFor(condition, 20'000);
    }
    static Outcome outcome(std::future<Outcome> &later) {
        EXPECT_TRUE(eventually([&] { return later.wait_for(0s) == std::future_status::ready; }));
        return later.get();
    }

    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("program"));
    std::vector<LaunchRequest> requests;
    std::vector<std::unique_ptr<QThread>> threads;
    const LaunchRequestHandler keep = [this](const LaunchRequest &request) {
        requests.push_back(request);
        return true;
    };
    const LaunchRequest addresses{LaunchRequest::Action::showCameraAddresses, "token_TIME5"};
};

TEST_F(SingleInstanceTest, FirstInstanceContinues) {
    SingleInstance first(path);
    EXPECT_EQ(first.claim({}), Outcome::first);
}

TEST_F(SingleInstanceTest, SecondInstanceHandsItsRequestOver) {
    SingleInstance first(path);
    ASSERT_EQ(first.claim({}), Outcome::first);
    first.listen(keep);
    std::future<Outcome> second = start(addresses);
    EXPECT_EQ(outcome(second), Outcome::handedOver);
    EXPECT_EQ(requests, std::vector{addresses});
}

TEST_F(SingleInstanceTest, RequestBeforeTheFirstListensIsServedLater) {
    SingleInstance first(path);
    ASSERT_EQ(first.claim({}), Outcome::first);
    std::future<Outcome> second = start({});
    // The second instance has sent its request, and the first instance has not replied yet.
    QCoreApplication::processEvents();
    EXPECT_NE(second.wait_for(50ms), std::future_status::ready);
    first.listen(keep);
    EXPECT_EQ(outcome(second), Outcome::handedOver);
    EXPECT_EQ(requests.size(), 1U);
}

TEST_F(SingleInstanceTest, ManySimultaneousRequestsAreAllServed) {
    SingleInstance first(path);
    ASSERT_EQ(first.claim({}), Outcome::first);
    first.listen(keep);
    std::vector<std::future<Outcome>> later;
    for (int n = 0; n < 20; ++n)
        later.push_back(start(addresses));
    for (std::future<Outcome> &one : later)
        EXPECT_EQ(outcome(one), Outcome::handedOver);
    EXPECT_EQ(requests.size(), 20U);
}

TEST_F(SingleInstanceTest, SecondInstanceReplacesOneThatDeclinesItsRequest) {
    std::optional<SingleInstance> first(path);
    ASSERT_EQ(first->claim({}), Outcome::first);
    bool hasDeclined = false;
    first->listen([&](const LaunchRequest &) {
        hasDeclined = true;
        return false;
    });
    std::future<Outcome> second = start({});
    ASSERT_TRUE(eventually([&] { return hasDeclined; }));
    first->close();
    first.reset();
    EXPECT_EQ(outcome(second), Outcome::first);
}

TEST_F(SingleInstanceTest, SecondInstanceReplacesOneThatExitsWithoutAReply) {
    std::optional<SingleInstance> first(path);
    ASSERT_EQ(first->claim({}), Outcome::first);
    std::future<Outcome> second = start({});
    EXPECT_NE(second.wait_for(50ms), std::future_status::ready);
    first.reset();
    EXPECT_EQ(outcome(second), Outcome::first);
}

TEST_F(SingleInstanceTest, UnresponsiveInstanceTimesOut) {
    SingleInstance first(path);
    ASSERT_EQ(first.claim({}), Outcome::first);
    // The event loop of the first instance does not run.
    EXPECT_EQ(start({}, 300ms).get(), Outcome::unanswered);
}

TEST_F(SingleInstanceTest, StaleSocketIsReplaced) {
    QFile left(path + QStringLiteral(".socket"));
    ASSERT_TRUE(left.open(QFile::WriteOnly));
    left.close();
    SingleInstance first(path);
    ASSERT_EQ(first.claim({}), Outcome::first);
    first.listen(keep);
    std::future<Outcome> second = start({});
    EXPECT_EQ(outcome(second), Outcome::handedOver);
}

TEST_F(SingleInstanceTest, InstancesWithDifferentPathsAreIndependent) {
    SingleInstance first(path);
    ASSERT_EQ(first.claim({}), Outcome::first);
    SingleInstance other(path + QStringLiteral("2"));
    EXPECT_EQ(other.claim({}), Outcome::first);
}

/// Sets the folder of the user's data for the duration of a scope.
class DataHome {
  public:
    explicit DataHome(const QString &folder) { qputenv("XDG_DATA_HOME", folder.toLocal8Bit()); }
    DataHome(const DataHome &) = delete;
    DataHome &operator=(const DataHome &) = delete;
    ~DataHome() {
        if (m_before.isNull())
            qunsetenv("XDG_DATA_HOME");
        else
            qputenv("XDG_DATA_HOME", m_before);
    }

  private:
    const QByteArray m_before = qgetenv("XDG_DATA_HOME");
};

TEST_F(SingleInstanceTest, TwoPathsToTheSameListHaveOneInstance) {
    const QString real = folder.filePath(QStringLiteral("real"));
    const QString link = folder.filePath(QStringLiteral("link"));
    const auto pathFor = [](const QString &dataHome) {
        const DataHome home(dataHome);
        return SingleInstance::standardPath();
    };
    ASSERT_TRUE(QDir().mkpath(real));
    ASSERT_TRUE(QFile::link(real, link));
    EXPECT_EQ(pathFor(link), pathFor(real)) << "the folder of the list does not exist yet";
    ASSERT_TRUE(QDir().mkpath(real + QStringLiteral("/lumvik")));
    EXPECT_EQ(pathFor(link), pathFor(real));
    EXPECT_NE(pathFor(folder.path()), pathFor(real));
}

TEST_F(SingleInstanceTest, InstanceStartsWithoutAFolderForItsFiles) {
    SingleInstance first(folder.filePath(QStringLiteral("missing/program")));
    EXPECT_EQ(first.claim({}), Outcome::first);
}

class StrangeClientTest : public SingleInstanceTest,
                          public testing::WithParamInterface<test::Named<QByteArray>> {};

TEST_P(StrangeClientTest, IsDisconnected) {
    SingleInstance first(path);
    ASSERT_EQ(first.claim({}), Outcome::first);
    first.listen(keep);
    QLocalSocket client;
    client.connectToServer(path + QStringLiteral(".socket"));
    ASSERT_TRUE(client.waitForConnected(5'000));
    client.write(GetParam().value);
    ASSERT_TRUE(eventually([&] { return client.state() == QLocalSocket::UnconnectedState; }));
    EXPECT_TRUE(client.readAll().isEmpty());
    EXPECT_TRUE(requests.empty());
    std::future<Outcome> second = start({});
    EXPECT_EQ(outcome(second), Outcome::handedOver) << "other clients are still served";
}

using NamedBytes = test::Named<QByteArray>;

INSTANTIATE_TEST_SUITE_P(All, StrangeClientTest,
                         testing::Values(NamedBytes{"GET / HTTP/1.1\r\n", "OtherProtocol"},
                                         NamedBytes{"{\"action\":\"nothing\"}\n", "UnknownAction"},
                                         NamedBytes{QByteArray(100'000, 'x'), "EndlessLine"},
                                         NamedBytes{"{\"action\":\"\"" + QByteArray(5'000, ' ') +
                                                        "}\n",
                                                    "OverlongRequest"}),
                         test::nameOfParameter);

} // namespace
} // namespace lumvik
