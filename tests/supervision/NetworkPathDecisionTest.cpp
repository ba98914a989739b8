#include "supervision/NetworkPathDecision.h"

#include "platform/network/PathSignatures.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

constexpr NetworkPathSignature none{};
constexpr NetworkPathSignature bare{.isSatisfied = true};
constexpr NetworkPathSignature both{.isSatisfied = true, .usesWiFi = true, .usesEthernet = true};
constexpr NetworkPathSignature tunnel{.isSatisfied = true, .usesWiFi = true, .usesOther = true};
constexpr NetworkPathSignature wifiThatLeadsNowhere{.usesWiFi = true};

TEST(NetworkPathDecision, FirstUsablePathChangesNothing) {
    for (const NetworkPathSignature &now : {bare, wiFi, ethernet, both, tunnel})
        EXPECT_EQ(networkPathAction(std::nullopt, now), NetworkPathAction::none);
}

TEST(NetworkPathDecision, UnusablePathSuspendsRegardlessOfThePreviousPath) {
    EXPECT_EQ(networkPathAction(std::nullopt, none), NetworkPathAction::suspend);
    for (const NetworkPathSignature &before : {none, wiFi, both, wifiThatLeadsNowhere}) {
        EXPECT_EQ(networkPathAction(before, none), NetworkPathAction::suspend);
        EXPECT_EQ(networkPathAction(before, wifiThatLeadsNowhere), NetworkPathAction::suspend);
    }
}

TEST(NetworkPathDecision, UsablePathAfterALossRecovers) {
    for (const NetworkPathSignature &now : {bare, wiFi, ethernet, both, tunnel}) {
        EXPECT_EQ(networkPathAction(none, now), NetworkPathAction::recover);
        EXPECT_EQ(networkPathAction(wifiThatLeadsNowhere, now), NetworkPathAction::recover);
    }
}

TEST(NetworkPathDecision, PathOverOtherInterfacesRecovers) {
    EXPECT_EQ(networkPathAction(wiFi, ethernet), NetworkPathAction::recover);
    EXPECT_EQ(networkPathAction(wiFi, both), NetworkPathAction::recover);
    EXPECT_EQ(networkPathAction(both, wiFi), NetworkPathAction::recover);
    EXPECT_EQ(networkPathAction(wiFi, tunnel), NetworkPathAction::recover);
    EXPECT_EQ(networkPathAction(tunnel, wiFi), NetworkPathAction::recover);
}

TEST(NetworkPathDecision, SamePathChangesNothing) {
    for (const NetworkPathSignature &path : {bare, wiFi, ethernet, both, tunnel})
        EXPECT_EQ(networkPathAction(path, path), NetworkPathAction::none);
}

} // namespace
} // namespace lumvik::test
