#include "engine/link/AddressMap.h"

#include <gtest/gtest.h>

using namespace lumvik;

namespace {

const QByteArray engineBase = "rtsp://127.0.0.1:4000/token";

} // namespace

TEST(AddressMapTest, AddressesBelowTheBaseKeepTheirEnding) {
    AddressMap map(engineBase, "rtsp://camera/live");
    EXPECT_EQ(map.toEngine("rtsp://camera/live"), engineBase);
    EXPECT_EQ(map.toEngine("rtsp://camera/live/track1"), engineBase + "/track1");
    EXPECT_EQ(map.toCamera(engineBase + "/track1"), "rtsp://camera/live/track1");
    EXPECT_EQ(map.toCamera(engineBase), "rtsp://camera/live");
}

// The engine appends the names of tracks, with a "/" between them only if there is none.
TEST(AddressMapTest, AddressOfTheEngineEndsLikeTheCameras) {
    AddressMap map(engineBase, "rtsp://camera/live/");
    EXPECT_EQ(map.engineAddress(), engineBase + "/");
    EXPECT_EQ(map.toCamera(map.engineAddress() + "track1"), "rtsp://camera/live/track1");
    EXPECT_EQ(AddressMap(engineBase, "rtsp://camera/live").engineAddress(), engineBase);
}

TEST(AddressMapTest, OtherAddressesAreHiddenAndTranslatedBack) {
    AddressMap map(engineBase, "rtsp://camera/live?password=secret");
    for (const char *address :
         {"rtsp://10.0.0.7/other/?password=secret", "rtsp://camera:554/live/", "RTSP://camera/x"}) {
        const QByteArray translated = map.toEngine(address);
        EXPECT_TRUE(translated.startsWith(engineBase + '-')) << address;
        EXPECT_FALSE(translated.contains("secret")) << address;
        EXPECT_EQ(translated.endsWith('/'), QByteArray(address).endsWith('/')) << address;
        EXPECT_EQ(map.toEngine(address), translated) << address;
        EXPECT_EQ(map.toCamera(translated), address);
        EXPECT_EQ(map.toCamera(translated + "track1"), QByteArray(address) + "track1");
    }
}

TEST(AddressMapTest, LongestKnownAddressDecides) {
    AddressMap map(engineBase, "rtsp://camera/");
    const QByteArray other = map.toEngine("rtsp://other/a/");
    EXPECT_EQ(map.toEngine("rtsp://other/a/track2"), other + "track2");
    EXPECT_EQ(map.toCamera(other + "track2"), "rtsp://other/a/track2");
}

TEST(AddressMapTest, UnknownTextsAreLeftAlone) {
    AddressMap map(engineBase, "rtsp://camera/live");
    EXPECT_EQ(map.toEngine("track1"), "track1");
    EXPECT_EQ(map.toEngine("*"), "*");
    EXPECT_EQ(map.toCamera("*"), "*");
    EXPECT_EQ(map.toCamera("rtsp://elsewhere/"), "rtsp://elsewhere/");
}

TEST(AddressMapTest, NumberOfAddressesIsBounded) {
    AddressMap map(engineBase, "rtsp://camera/live");
    for (int i = 0; i < 10'000; ++i) {
        const QByteArray address = "rtsp://host" + QByteArray::number(i) + ".example/";
        const QByteArray translated = map.toEngine(address);
        ASSERT_EQ(map.toCamera(translated), address);
    }
    EXPECT_EQ(map.toEngine("rtsp://host9999.example/"), "rtsp://host9999.example/");
}

TEST(AddressMapTest, ReplacedBaseStandsForTheSameEngineAddress) {
    AddressMap map(engineBase, "rtsp://camera/old");
    map.replaceBase("rtsp://camera:8554/new");
    EXPECT_EQ(map.toCamera(engineBase + "/track1"), "rtsp://camera:8554/new/track1");
    EXPECT_EQ(map.toEngine("rtsp://camera:8554/new/"), engineBase + "/");
}
