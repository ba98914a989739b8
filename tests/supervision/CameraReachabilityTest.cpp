#include "supervision/CameraReachability.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

using namespace Qt::StringLiterals;

TEST(CameraReachability, EveryCameraIsReachableWithANetworkPath) {
    for (const QString &host : {u"192.0.2.7"_s, u"camera.example"_s, u"::1"_s, u""_s})
        EXPECT_TRUE(cameraIsReachable(true, host)) << qPrintable(host);
}

TEST(CameraReachability, CameraOnThisComputerNeedsNoNetworkPath) {
    for (const QString &host :
         {u"127.0.0.1"_s, u"127.5.6.7"_s, u"::1"_s, u"localhost"_s, u"LOCALHOST"_s, u"localhost."_s,
          u"camera.localhost"_s, u"::ffff:127.0.0.1"_s})
        EXPECT_TRUE(cameraIsReachable(false, host)) << qPrintable(host);
}

TEST(CameraReachability, LinkLocalAddressWithAnInterfaceNeedsNoNetworkPath) {
    EXPECT_TRUE(cameraIsReachable(false, u"fe80::1%eth0"_s));
    EXPECT_FALSE(cameraIsReachable(false, u"fe80::1"_s)) << "the interface is unknown";
}

TEST(CameraReachability, OtherCamerasNeedANetworkPath) {
    for (const QString &host :
         {u"192.0.2.7"_s, u"169.254.7.7"_s, u"2001:db8::7"_s, u"camera.example"_s,
          u"notlocalhost"_s, u"localhost.example"_s, u"128.0.0.1"_s, u""_s})
        EXPECT_FALSE(cameraIsReachable(false, host)) << qPrintable(host);
}

} // namespace
} // namespace lumvik::test
