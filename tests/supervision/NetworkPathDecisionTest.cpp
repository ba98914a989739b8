#include "supervision/NetworkPathDecision.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

constexpr NetworkPathSignature none{};
constexpr NetworkPathSignature bare{.isSatisfied = true};
constexpr NetworkPathSignature wifi{.isSatisfied = true, .usesWiFi = true};
constexpr NetworkPathSignature ethernet{.isSatisfied = true, .usesEthernet = true};
constexpr NetworkPathSignature both{.isSatisfied = true, .usesWiFi = true, .usesEthernet = true};
constexpr NetworkPathSignature tunnel{.isSatisfied = true, .usesWiFi = true, .usesOther = true};
constexpr NetworkPathSignature wifiThatLeadsNowhere{.usesWiFi = true};

TEST(NetworkPathDecision, FirstUsablePathChangesNothing) {
    for (const NetworkPathSignature &now : {bare, wifi, ethernet, both, tunnel})
        EXPECT_EQ(networkPathAction(std::nullopt, now), NetworkPathAction::none);
}

TEST(NetworkPathDecision, UnusablePathSuspendsWhateverWasBefore) {
    EXPECT_EQ(networkPathAction(std::nullopt, none), NetworkPathAction::suspend);
    for (const NetworkPathSignature &before : {none, wifi, both, wifiThatLeadsNowhere}) {
        EXPECT_EQ(networkPathAction(before, none), NetworkPathAction::suspend);
        EXPECT_EQ(networkPathAction(before, wifiThatLeadsNowhere), NetworkPathAction::suspend);
    }
}

TEST(NetworkPathDecision, PathThatIsUsableAgainRecovers) {
    for (const NetworkPathSignature &now : {bare, wifi, ethernet, both, tunnel}) {
        EXPECT_EQ(networkPathAction(none, now), NetworkPathAction::recover);
        EXPECT_EQ(networkPathAction(wifiThatLeadsNowhere, now), NetworkPathAction::recover);
    }
}

TEST(NetworkPathDecision, PathThatUsesOtherInterfacesRecovers) {
    EXPECT_EQ(networkPathAction(wifi, ethernet), NetworkPathAction::recover);
    EXPECT_EQ(networkPathAction(wifi, both), NetworkPathAction::recover);
    EXPECT_EQ(networkPathAction(both, wifi), NetworkPathAction::recover);
    EXPECT_EQ(networkPathAction(wifi, tunnel), NetworkPathAction::recover);
    EXPECT_EQ(networkPathAction(tunnel, wifi), NetworkPathAction::recover);
}

TEST(NetworkPathDecision, SamePathChangesNothing) {
    for (const NetworkPathSignature &path : {bare, wifi, ethernet, both, tunnel})
        EXPECT_EQ(networkPathAction(path, path), NetworkPathAction::none);
}

} // namespace
} // namespace lumvik::test
