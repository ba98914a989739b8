#include "supervision/StreamTransports.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

using Transport = StreamTransports::Transport;

const QString camera = QStringLiteral("rtsp://camera.example/live");
const QString other = QStringLiteral("rtsp://other.example/live");

TEST(StreamTransports, CamerasAreLoadedOverTcpAtFirst) {
    StreamTransports transports;
    EXPECT_EQ(transports.beginLoad(camera), Transport::tcp);
    transports.frameWasShown(camera);
    EXPECT_EQ(transports.beginLoad(camera), Transport::tcp);
}

TEST(StreamTransports, CameraThatRefusesTcpIsLoadedOverUdpFromThenOn) {
    StreamTransports transports;
    (void)transports.beginLoad(camera);
    EXPECT_TRUE(transports.tcpWasRefused(camera));
    for (int load = 0; load < 3; ++load) {
        EXPECT_EQ(transports.beginLoad(camera), Transport::udp);
        transports.frameWasShown(camera);
        transports.frameWasShown(camera);
    }
    EXPECT_EQ(transports.beginLoad(other), Transport::tcp);
}

TEST(StreamTransports, FailedUdpLoadIsFollowedByTcp) {
    StreamTransports transports;
    (void)transports.beginLoad(camera);
    ASSERT_TRUE(transports.tcpWasRefused(camera));
    ASSERT_EQ(transports.beginLoad(camera), Transport::udp);
    EXPECT_EQ(transports.beginLoad(camera), Transport::tcp) << "no frame was shown";
    EXPECT_FALSE(transports.tcpWasRefused(camera)) << "UDP was tried a moment ago";
    EXPECT_EQ(transports.beginLoad(camera), Transport::udp) << "it may have been a lost packet";
    transports.frameWasShown(camera);
    EXPECT_EQ(transports.beginLoad(camera), Transport::udp);
}

TEST(StreamTransports, CameraThatSendsOverTcpAgainIsLoadedOverTcp) {
    StreamTransports transports;
    (void)transports.beginLoad(camera);
    ASSERT_TRUE(transports.tcpWasRefused(camera));
    ASSERT_EQ(transports.beginLoad(camera), Transport::udp);
    ASSERT_EQ(transports.beginLoad(camera), Transport::tcp);
    transports.frameWasShown(camera);
    EXPECT_EQ(transports.beginLoad(camera), Transport::tcp);
    EXPECT_TRUE(transports.tcpWasRefused(camera));
}

} // namespace
} // namespace lumvik::test
