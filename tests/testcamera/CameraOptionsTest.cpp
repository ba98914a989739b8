#include "testcamera/CameraOptions.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

tl::expected<CameraOptions, QString> parse(const QString &line) {
    QStringList arguments{QStringLiteral("lumvik-test-camera")};
    arguments += line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return parseOptions(arguments);
}

TEST(CameraOptions, DefaultsApplyWithoutArguments) {
    const auto options = parse({});
    ASSERT_TRUE(options);
    EXPECT_EQ(options->path, QStringLiteral("/front"));
    EXPECT_EQ(options->size, QSize(1280, 720));
    EXPECT_EQ(options->framesPerSecond, 25);
    EXPECT_EQ(options->keyFrameInterval, 25);
    EXPECT_EQ(options->stampedRate, 0);
    EXPECT_EQ(options->codec, VideoCodec::H264);
    EXPECT_EQ(options->transport, StreamTransport::Any);
    EXPECT_FALSE(options->clockPattern);
    EXPECT_EQ(options->encodedAhead, 0);
    EXPECT_EQ(options->lockAfter, 0);
    EXPECT_EQ(options->lockMinutes, 30);
    EXPECT_EQ(options->refuseFirst, 0);
}

TEST(CameraOptions, EveryOptionIsRead) {
    const auto options =
        parse(QStringLiteral("--address ::1 --port 0 --path /yard --name Yard --size 640x360 --fps "
                             "15 --gop 50 --stamp-fps 12 --pixel-ratio 12:11 "
                             "--codec h265 --transport udp --user anna --password secret "
                             "--lock-after 5 --lock-minutes 2 "
                             "--refuse-first 60 --clock --encoded-ahead 5 --exit-with-stdin"));
    ASSERT_TRUE(options) << qPrintable(options.error());
    EXPECT_EQ(options->address, QStringLiteral("::1"));
    EXPECT_EQ(options->port, 0);
    EXPECT_EQ(options->path, QStringLiteral("/yard"));
    EXPECT_EQ(options->name, QStringLiteral("Yard"));
    EXPECT_EQ(options->size, QSize(640, 360));
    EXPECT_EQ(options->framesPerSecond, 15);
    EXPECT_EQ(options->keyFrameInterval, 50);
    EXPECT_EQ(options->stampedRate, 12);
    EXPECT_EQ(options->pixelRatio, QSize(12, 11));
    EXPECT_EQ(options->codec, VideoCodec::H265);
    EXPECT_EQ(options->transport, StreamTransport::Udp);
    EXPECT_EQ(options->user, QStringLiteral("anna"));
    EXPECT_EQ(options->password, QStringLiteral("secret"));
    EXPECT_EQ(options->lockAfter, 5);
    EXPECT_EQ(options->lockMinutes, 2);
    EXPECT_EQ(options->refuseFirst, 60);
    EXPECT_TRUE(options->clockPattern);
    EXPECT_EQ(options->encodedAhead, 5);
    EXPECT_TRUE(options->exitWithStandardInput);
}

TEST(CameraOptions, OnvifIsOffUnlessItIsWanted) {
    const auto off = parse({});
    ASSERT_TRUE(off);
    EXPECT_EQ(off->onvif.port, std::nullopt);
    EXPECT_EQ(off->onvif.discoveryPort, 3702);
    for (const char *line : {"--onvif", "--onvif --fps 5", "--fps 5 --onvif", "--onvif 8080"}) {
        const auto on = parse(QLatin1String(line));
        ASSERT_TRUE(on) << line;
        EXPECT_EQ(on->onvif.port, 8080) << line;
    }
    const auto options = parse(QStringLiteral("--onvif 0 --onvif-discovery-port 4000 --onvif-fault "
                                              "wrong-host --onvif-fault http-digest"));
    ASSERT_TRUE(options) << qPrintable(options.error());
    EXPECT_EQ(options->onvif.port, 0);
    EXPECT_EQ(options->onvif.discoveryPort, 4000);
    EXPECT_EQ(options->onvif.faults, QSet({OnvifFault::WrongHost, OnvifFault::HttpDigest}));
}

TEST(CameraOptions, EveryFaultOfOnvifHasAName) {
    EXPECT_EQ(onvifFaultNames().size(), 7);
    for (const QString &name : onvifFaultNames()) {
        EXPECT_TRUE(onvifFaultNamed(name)) << qPrintable(name);
        EXPECT_TRUE(optionsHelp().contains(name)) << qPrintable(name);
    }
}

TEST(CameraOptions, InvalidOptionsAreRefused) {
    for (const char *line : {"--port 65536",
                             "--port x",
                             "--fps 0",
                             "--gop 0",
                             "--size 1280",
                             "--size 641x360",
                             "--size 32x32",
                             "--codec vp8",
                             "--pixel-ratio 4",
                             "--pixel-ratio 0:3",
                             "--pixel-ratio 4:3:2",
                             "--transport multicast",
                             "--path front",
                             "--user anna",
                             "--password x",
                             "--address localhost",
                             "--encoded-ahead 0",
                             "--encoded-ahead 61",
                             "--lock-after 5",
                             "--refuse-first 60",
                             "--user anna --password x --lock-after 0",
                             "--user anna --password x --lock-minutes x",
                             "--onvif x",
                             "--onvif 65536",
                             "--onvif 0 --onvif-fault nonsense",
                             "--onvif 0 --onvif-discovery-port 0",
                             "--onvif-fault wrong-host",
                             "--onvif-discovery-port 4000",
                             "--nonsense",
                             "stray"})
        EXPECT_FALSE(parse(QLatin1String(line))) << line;
}

} // namespace
} // namespace lumvik::test
