#include "OwnNetwork.h"
#include "discovery/CameraSearch.h"
#include "discovery/OnvifClient.h"
#include "testcamera/RunningTestCamera.h"

#include <gtest/gtest.h>

// A test camera that is found over real interfaces, in a network namespace.

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;

/// An interface with the addresses that its number makes. `addresses` adds them.
QString interfaceScript(int number, const QString &addresses) {
    return u"ip link set lo up\n"
           "ip link add net%1 type veth peer name far%1\n"
           "ip link set net%1 addrgenmode none\n"
           "ip link set far%1 addrgenmode none\n"
           "ip link set far%1 up\n"
           "ip link set net%1 up\n%2\n"_s.arg(number)
               .arg(addresses.arg(number));
}

const QString version4 = u"ip address add 192.0.%1.1/24 dev net%1\n"_s;
const QString version6 = u"ip address add fe80::%1/64 dev net%1 nodad\n"_s;

/// Searches until everything has been found that there is. Returns the last address of each camera.
std::map<QString, FoundCamera> foundCameras(QtMainQueue &queue) {
    CameraSearch search(queue);
    std::map<QString, FoundCamera> cameras;
    bool hasEnded = false;
    const auto take = [&cameras](const FoundCamera &each) { cameras[each.identity] = each; };
    QObject::connect(&search, &CameraSearch::found, &search, take);
    QObject::connect(&search, &CameraSearch::foundAtBetterAddress, &search, take);
    QObject::connect(&search, &CameraSearch::ended, &search,
                     [&hasEnded](CameraSearch::Ending ending) {
                         EXPECT_EQ(ending, CameraSearch::Ending::complete);
                         hasEnded = true;
                     });
    search.start();
    EXPECT_TRUE(test::waitUntil([&] { return hasEnded; }));
    return cameras;
}

/// Returns the address of the camera's first stream.
QString streamOf(QtMainQueue &queue, const FoundCamera &camera) {
    OnvifClient client(queue);
    std::optional<OnvifOutcome> outcome;
    QObject::connect(&client, &OnvifClient::finished, &client,
                     [&outcome](const OnvifOutcome &each) { outcome = each; });
    client.ask(camera.serviceAddress, {});
    EXPECT_TRUE(test::waitUntil([&] { return outcome.has_value(); }, 30'000));
    return outcome && *outcome ? (*outcome)->profiles.at(0).address : QString();
}

TEST(FoundCameraNetworks, AreSearchedByIpv4AndIpv6AndTheCameraIsFoundOnce) {
    if (test::runsInOwnNetwork(interfaceScript(1, version4 + version6) +
                               interfaceScript(2, version4 + version6)))
        return;
    const test::RunningTestCamera camera({u"--onvif"_s, u"0"_s, u"--address"_s, u"::"_s});
    const test::RunningTestCamera other(
        {u"--onvif"_s, u"0"_s, u"--address"_s, u"192.0.2.1"_s, u"--name"_s, u"Yard"_s});
    QtMainQueue queue;
    const auto cameras = foundCameras(queue);
    ASSERT_EQ(cameras.size(), 2U);
    for (const auto &[identity, found] : cameras) {
        const bool isOther = found.name == u"Yard"_s;
        const QString host = found.serviceAddress.host();
        EXPECT_TRUE(host == u"192.0.2.1"_s || (host == u"192.0.1.1"_s && !isOther))
            << qPrintable(host);
        const int port = (isOther ? other : camera).url().port();
        EXPECT_EQ(streamOf(queue, found), u"rtsp://%1:%2/front"_s.arg(host).arg(port));
    }
}

TEST(FoundCameraNetworks, MayHaveIpv6Only) {
    if (test::runsInOwnNetwork(interfaceScript(1, version6)))
        return;
    const test::RunningTestCamera camera(
        {u"--onvif"_s, u"0"_s, u"--address"_s, u"::"_s, u"--onvif-fault"_s, u"wrong-host"_s});
    QtMainQueue queue;
    const auto cameras = foundCameras(queue);
    ASSERT_EQ(cameras.size(), 1U);
    const FoundCamera &found = cameras.begin()->second;
    EXPECT_EQ(found.serviceAddress.host(), u"fe80::1%net1"_s);
    EXPECT_EQ(streamOf(queue, found),
              u"rtsp://[fe80::1%25net1]:%1/front"_s.arg(camera.url().port()));
}

} // namespace
} // namespace lumvik
