#include "OwnNetwork.h"
#include "SearchedDevice.h"
#include "discovery/CameraSearch.h"
#include "fakes/VirtualMainQueue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;

/// Two networks, and an interface that is down. The addresses for IPv6 are given, because those
/// that the system makes cannot be used at once.
const QString twoNetworks = u"ip link set lo up\n"
                            "for number in 1 2 3; do\n"
                            "    ip link add net$number type veth peer name far$number\n"
                            "    ip link set net$number addrgenmode none\n"
                            "    ip link set far$number addrgenmode none\n"
                            "    ip link set far$number up\n"
                            "    ip address add 192.0.$number.1/24 dev net$number\n"
                            "done\n"
                            "for number in 1 2; do\n"
                            "    ip link set net$number up\n"
                            "    ip address add fe80::$number/64 dev net$number nodad\n"
                            "done\n"_s;

QNetworkInterface interfaceNamed(const QString &name) {
    return QNetworkInterface::interfaceFromName(name);
}

TEST(CameraSearchNetworks, ProbesAreSentFromEveryInterfaceThatIsUp) {
    if (test::runsInOwnNetwork(twoNetworks))
        return;
    const QList<QNetworkInterface> interfaces{interfaceNamed(u"net1"_s), interfaceNamed(u"net2"_s)};
    test::SearchedDevice device(interfaces + QList{test::SearchedDevice::loopback()});
    test::SearchedDevice device6(interfaces, QHostAddress::AnyIPv6, device.port());
    test::VirtualMainQueue queue;
    CameraSearch search(queue, {.port = device.port()});
    search.start();
    queue.runPending();
    ASSERT_TRUE(device.hears(4));
    ASSERT_TRUE(device6.hears(4));
    QStringList senders;
    for (const QNetworkDatagram &probe : device.probes() + device6.probes())
        senders.append(probe.senderAddress().toString());
    senders.removeDuplicates();
    // Devices reply to a probe once, so that each network needs probes of its own.
    QMap<QString, QString> senderOfProbe;
    for (const QNetworkDatagram &probe : device.probes() + device6.probes()) {
        const QString id = test::SearchedDevice::messageId(probe);
        const QString sender = probe.senderAddress().toString();
        EXPECT_EQ(senderOfProbe.value(id, sender), sender) << "one probe on two networks";
        senderOfProbe[id] = sender;
    }
    EXPECT_THAT(senders, testing::UnorderedElementsAre(u"192.0.1.1"_s, u"192.0.2.1"_s,
                                                       u"fe80::1%net1"_s, u"fe80::2%net2"_s));
}

TEST(CameraSearchNetworks, Version4IsPreferredToVersion6) {
    if (test::runsInOwnNetwork(twoNetworks))
        return;
    test::SearchedDevice device({interfaceNamed(u"net1"_s)});
    test::SearchedDevice device6({interfaceNamed(u"net1"_s)}, QHostAddress::AnyIPv6, device.port());
    test::VirtualMainQueue queue;
    CameraSearch search(queue, {.port = device.port()});
    std::vector<FoundCamera> found;
    std::vector<FoundCamera> better;
    QObject::connect(&search, &CameraSearch::found, &search,
                     [&](const FoundCamera &camera) { found.push_back(camera); });
    QObject::connect(&search, &CameraSearch::foundAtBetterAddress, &search,
                     [&](const FoundCamera &camera) { better.push_back(camera); });
    search.start();
    queue.runPending();
    // A camera with both versions hears the probes of both, and may reply to either first.
    ASSERT_TRUE(device.hears(2));
    ASSERT_TRUE(device6.hears(2));
    device6.reply(device6.probes()[0], "urn:uuid:1");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !found.empty(); }, 10'000));
    EXPECT_EQ(found[0].serviceAddress.host(), u"fe80::1%net1"_s);
    device.reply(device.probes()[0], "urn:uuid:1");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !better.empty(); }, 10'000));
    EXPECT_EQ(better[0].identity, u"uuid:1"_s);
    EXPECT_EQ(better[0].serviceAddress.host(), u"192.0.1.1"_s);
    // The worse address changes nothing any more.
    device6.reply(device6.probes()[0], "urn:uuid:1");
    device6.reply(device6.probes()[0], "urn:uuid:2");
    ASSERT_TRUE(QTest::qWaitFor([&] { return found.size() == 2; }, 10'000));
    EXPECT_EQ(better.size(), 1U);
}

TEST(CameraSearchNetworks, WithoutAnInterfaceTheSearchEndsAtOnce) {
    if (test::runsInOwnNetwork(u"ip link set lo up"_s))
        return;
    test::VirtualMainQueue queue;
    CameraSearch search(queue);
    std::vector<CameraSearch::Ending> endings;
    QObject::connect(&search, &CameraSearch::ended, &search,
                     [&](CameraSearch::Ending ending) { endings.push_back(ending); });
    search.start();
    EXPECT_TRUE(endings.empty());
    queue.runPending();
    EXPECT_EQ(endings, std::vector{CameraSearch::Ending::noInterface});
    queue.advance(10);
    EXPECT_EQ(endings.size(), 1U);
}

} // namespace
} // namespace lumvik
