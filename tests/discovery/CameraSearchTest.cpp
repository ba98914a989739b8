#include "discovery/CameraSearch.h"

#include "SearchedDevice.h"
#include "fakes/VirtualMainQueue.h"

#include <gtest/gtest.h>

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;

class CameraSearchTest : public testing::Test {
  protected:
    void SetUp() override {
        QObject::connect(&search, &CameraSearch::found, &search,
                         [this](const FoundCamera &camera) { found.push_back(camera); });
        QObject::connect(&search, &CameraSearch::foundAtBetterAddress, &search,
                         [this](const FoundCamera &camera) { better.push_back(camera); });
        QObject::connect(&search, &CameraSearch::ended, &search,
                         [this](CameraSearch::Ending ending) { endings.push_back(ending); });
    }

    [[nodiscard]] bool finds(std::size_t count) {
        return QTest::qWaitFor([&] { return found.size() >= count; }, 10'000);
    }
    /// Starts a search and waits for the first two probes.
    [[nodiscard]] bool startAndHear() {
        search.start();
        queue.runPending();
        return device.hears(2);
    }

    test::SearchedDevice device;
    test::VirtualMainQueue queue;
    CameraSearch search{
        queue, {.interfaces = CameraSearchOptions::Interfaces::loopback, .port = device.port()}};
    std::vector<FoundCamera> found;
    std::vector<FoundCamera> better;
    std::vector<CameraSearch::Ending> endings;
};

TEST_F(CameraSearchTest, SendsTwoKindsOfProbesAtThreeTimes) {
    search.start();
    EXPECT_TRUE(search.isSearching());
    for (const auto &[seconds, probes] :
         {std::pair(0.0, 2), std::pair(0.5, 4), std::pair(1.0, 6)}) {
        queue.advance(seconds);
        ASSERT_TRUE(device.hears(probes));
        EXPECT_EQ(device.probes().size(), probes);
    }
    QStringList identifiers;
    for (const QNetworkDatagram &probe : device.probes())
        identifiers.append(test::SearchedDevice::messageId(probe));
    EXPECT_EQ(identifiers.removeDuplicates(), 0);
    queue.advance(3.4);
    EXPECT_TRUE(endings.empty());
    queue.advance(0.2);
    EXPECT_EQ(endings, std::vector{CameraSearch::Ending::complete});
    EXPECT_FALSE(search.isSearching());
}

TEST_F(CameraSearchTest, FindsEachCameraOnce) {
    ASSERT_TRUE(startAndHear());
    device.reply(device.probes()[0], "urn:uuid:1");
    device.reply(device.probes()[1], "urn:uuid:1");
    device.reply(device.probes()[1], "urn:uuid:2");
    ASSERT_TRUE(finds(2));
    EXPECT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].identity, u"uuid:1"_s);
    EXPECT_EQ(found[0].serviceAddress, QUrl(u"http://127.0.0.1/onvif/device_service"_s));
    EXPECT_EQ(found[1].identity, u"uuid:2"_s);
    EXPECT_TRUE(better.empty());
}

TEST_F(CameraSearchTest, IgnoresWhatIsNoCamera) {
    ASSERT_TRUE(startAndHear());
    device.reply(device.probes()[0], "urn:uuid:pc", "pub:Computer");
    device.reply(device.probes()[0], "urn:uuid:1");
    ASSERT_TRUE(finds(1));
    EXPECT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].identity, u"uuid:1"_s);
}

TEST_F(CameraSearchTest, RepliesToAnEarlierSearchAreIgnored) {
    ASSERT_TRUE(startAndHear());
    const QNetworkDatagram old = device.probes()[0];
    search.start();
    queue.runPending();
    ASSERT_TRUE(device.hears(4));
    QNetworkDatagram late = device.probes()[2];
    late.setData(old.data());
    device.reply(late, "urn:uuid:late");
    device.reply(device.probes()[2], "urn:uuid:1");
    ASSERT_TRUE(finds(1));
    EXPECT_EQ(found[0].identity, u"uuid:1"_s);
}

TEST_F(CameraSearchTest, FindsACameraAgainInTheNextSearch) {
    for (std::size_t round = 1; round <= 2; ++round) {
        search.start();
        queue.runPending();
        ASSERT_TRUE(device.hears(static_cast<qsizetype>(2 * round)));
        device.reply(device.probes().back(), "urn:uuid:1");
        ASSERT_TRUE(finds(round));
    }
}

TEST_F(CameraSearchTest, CanBeStoppedByASlot) {
    QObject::connect(&search, &CameraSearch::found, &search, [this] { search.stop(); });
    ASSERT_TRUE(startAndHear());
    device.reply(device.probes()[0], "urn:uuid:1");
    device.reply(device.probes()[0], "urn:uuid:2");
    ASSERT_TRUE(finds(1));
    queue.advance(10);
    EXPECT_FALSE(search.isSearching());
    EXPECT_EQ(found.size(), 1U);
    EXPECT_TRUE(endings.empty());
    EXPECT_EQ(device.probes().size(), 2);
}

TEST_F(CameraSearchTest, CanBeStartedAgainByASlot) {
    QObject::connect(&search, &CameraSearch::found, &search, [this] {
        if (found.size() == 1)
            search.start();
    });
    ASSERT_TRUE(startAndHear());
    device.reply(device.probes()[0], "urn:uuid:1");
    device.reply(device.probes()[0], "urn:uuid:2");
    ASSERT_TRUE(finds(1));
    queue.runPending();
    ASSERT_TRUE(device.hears(4));
    device.reply(device.probes()[2], "urn:uuid:3");
    ASSERT_TRUE(finds(2));
    EXPECT_EQ(found[1].identity, u"uuid:3"_s);
}

TEST_F(CameraSearchTest, CanBeDestroyedByASlot) {
    auto other = std::make_unique<CameraSearch>(
        queue, CameraSearchOptions{.interfaces = CameraSearchOptions::Interfaces::loopback,
                                   .port = device.port()});
    int count = 0;
    QObject::connect(other.get(), &CameraSearch::found, &search, [&] {
        ++count;
        other.reset();
    });
    other->start();
    queue.runPending();
    ASSERT_TRUE(device.hears(2));
    device.reply(device.probes()[0], "urn:uuid:1");
    device.reply(device.probes()[0], "urn:uuid:2");
    ASSERT_TRUE(QTest::qWaitFor([&] { return other == nullptr; }, 10'000));
    queue.advance(10);
    EXPECT_EQ(count, 1);
}

TEST_F(CameraSearchTest, CanBeDestroyedWhileItSearches) {
    {
        CameraSearch other(queue, {.interfaces = CameraSearchOptions::Interfaces::loopback,
                                   .port = device.port()});
        other.start();
    }
    queue.advance(10);
    EXPECT_TRUE(device.probes().isEmpty());
}

TEST_F(CameraSearchTest, ReportsWhatTheSystemSaysWhenNothingCanBeSent) {
    CameraSearch refused(queue,
                         {.interfaces = CameraSearchOptions::Interfaces::loopback, .port = 0});
    QObject::connect(&refused, &CameraSearch::ended, &refused,
                     [this](CameraSearch::Ending ending) { endings.push_back(ending); });
    refused.start();
    queue.advance(1.4);
    EXPECT_TRUE(endings.empty());
    queue.advance(0.2);
    EXPECT_EQ(endings, std::vector{CameraSearch::Ending::notSent});
    EXPECT_FALSE(refused.systemError().isEmpty());
}

TEST_F(CameraSearchTest, SurvivesAFlood) {
    ASSERT_TRUE(startAndHear());
    for (int number = 0; number < 200; ++number)
        device.reply(device.probes()[0], "urn:uuid:" + QByteArray::number(number));
    // The system may drop some of so many datagrams.
    ASSERT_TRUE(finds(40));
    device.reply(device.probes()[0], "urn:uuid:last");
    EXPECT_TRUE(QTest::qWaitFor([&] { return found.back().identity == u"uuid:last"_s; }, 10'000));
}

} // namespace
} // namespace lumvik
