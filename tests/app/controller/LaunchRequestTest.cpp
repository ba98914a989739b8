#include "app/controller/LaunchRequest.h"

#include <gtest/gtest.h>

namespace lumvik {
namespace {

using Action = LaunchRequest::Action;

class LaunchRequestTest : public testing::TestWithParam<LaunchRequest> {};

TEST_P(LaunchRequestTest, SurvivesTheWay) {
    const QByteArray line = encode(GetParam());
    EXPECT_FALSE(line.contains('\n'));
    EXPECT_EQ(decodeLaunchRequest(line), GetParam());
}

INSTANTIATE_TEST_SUITE_P(All, LaunchRequestTest,
                         testing::Values(LaunchRequest{},
                                         LaunchRequest{Action::showCameraAddresses, {}},
                                         LaunchRequest{Action::checkForUpdates, "token"},
                                         LaunchRequest{Action::activate, "a b\" \\_TIME7"}));

class NoLaunchRequestTest : public testing::TestWithParam<const char *> {};

TEST_P(NoLaunchRequestTest, IsNotTakenForOne) {
    EXPECT_EQ(decodeLaunchRequest(GetParam()), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(All, NoLaunchRequestTest,
                         testing::Values("", "activate", "{", "[]", "{}", R"({"action":1})",
                                         R"({"action":"format-disk"})",
                                         R"({"activation-token":"x"})"));

class UnsoundTokenTest : public testing::TestWithParam<QByteArray> {};

TEST_P(UnsoundTokenTest, IsDroppedAndTheRequestServed) {
    const LaunchRequest bare{Action::showCameraAddresses, {}};
    EXPECT_EQ(LaunchRequest::with(bare.action, GetParam()), bare);
    // Should another one send it all the same.
    EXPECT_EQ(decodeLaunchRequest(encode({bare.action, GetParam()})), bare);
}

INSTANTIATE_TEST_SUITE_P(All, UnsoundTokenTest,
                         testing::Values(QByteArray(1025, 'x'), QByteArray("a\nb_TIME7"),
                                         QByteArray("a\0b", 3), QByteArray("a\x7f")));

TEST(LaunchRequestTokenTest, ALongOneIsKept) {
    const QByteArray token(1024, 'x');
    EXPECT_EQ(LaunchRequest::with(Action::activate, token).activationToken, token);
}

TEST(LaunchRequestNamesTest, ActionsAreFoundByTheirNames) {
    EXPECT_EQ(actionNamed(QStringLiteral("camera-addresses")), Action::showCameraAddresses);
    EXPECT_EQ(actionNamed(QStringLiteral("check-for-updates")), Action::checkForUpdates);
    EXPECT_EQ(actionNamed(QString()), std::nullopt);
    EXPECT_EQ(actionNamed(QStringLiteral("Camera-Addresses")), std::nullopt);
}

} // namespace
} // namespace lumvik
