#include "app/controller/LaunchRequest.h"

#include "fakes/Named.h"

#include <gtest/gtest.h>

namespace lumvik {
namespace {

using test::Named;
using test::nameOfParameter;
using Action = LaunchRequest::Action;

class LaunchRequestTest : public testing::TestWithParam<Named<LaunchRequest>> {};

TEST_P(LaunchRequestTest, IsUnchangedByEncodingAndDecoding) {
    const QByteArray line = encode(GetParam().value);
    EXPECT_FALSE(line.contains('\n'));
    EXPECT_EQ(decodeLaunchRequest(line), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    All, LaunchRequestTest,
    testing::Values(Named<LaunchRequest>{{}, "Activation"},
                    Named<LaunchRequest>{{Action::showCameraAddresses, {}}, "Action"},
                    Named<LaunchRequest>{{Action::checkForUpdates, "token"}, "ActionWithToken"},
                    Named<LaunchRequest>{{Action::activate, "a b\" \\_TIME7"}, "QuotedToken"}),
    nameOfParameter);

class NoLaunchRequestTest : public testing::TestWithParam<Named<const char *>> {};

TEST_P(NoLaunchRequestTest, IsNotDecoded) {
    EXPECT_EQ(decodeLaunchRequest(GetParam().value), std::nullopt);
}

using NamedText = Named<const char *>;

INSTANTIATE_TEST_SUITE_P(
    All, NoLaunchRequestTest,
    testing::Values(NamedText{"", "Nothing"}, NamedText{"activate", "NoJson"},
                    NamedText{"{", "IncompleteJson"}, NamedText{"[]", "Array"},
                    NamedText{"{}", "NoAction"}, NamedText{R"({"action":1})", "NumberAsAction"},
                    NamedText{R"({"action":"format-disk"})", "UnknownAction"},
                    NamedText{R"({"activation-token":"x"})", "TokenWithoutAction"}),
    nameOfParameter);

class UnsoundTokenTest : public testing::TestWithParam<Named<QByteArray>> {};

TEST_P(UnsoundTokenTest, IsDroppedButTheRequestIsKept) {
    const LaunchRequest bare{Action::showCameraAddresses, {}};
    EXPECT_EQ(LaunchRequest::with(bare.action, GetParam().value), bare);
    // Another version of the program may send an unsound token.
    EXPECT_EQ(decodeLaunchRequest(encode({bare.action, GetParam().value})), bare);
}

INSTANTIATE_TEST_SUITE_P(All, UnsoundTokenTest,
                         testing::Values(Named<QByteArray>{QByteArray(1025, 'x'), "Overlong"},
                                         Named<QByteArray>{QByteArray("a\nb_TIME7"),
                                                           "WithLineBreak"},
                                         Named<QByteArray>{QByteArray("a\0b", 3), "WithNul"},
                                         Named<QByteArray>{QByteArray("a\x7f"), "WithDelete"}),
                         nameOfParameter);

TEST(LaunchRequestTokenTest, TokenOfTheMaximumLengthIsKept) {
    const QByteArray token(1024, 'x');
    EXPECT_EQ(LaunchRequest::with(Action::activate, token).activationToken, token);
}

TEST(LaunchRequestNamesTest, ActionNamesAreRecognised) {
    EXPECT_EQ(actionNamed(QStringLiteral("camera-addresses")), Action::showCameraAddresses);
    EXPECT_EQ(actionNamed(QStringLiteral("check-for-updates")), Action::checkForUpdates);
    EXPECT_EQ(actionNamed(QStringLiteral("at-login")), Action::startAtLogin);
    EXPECT_EQ(actionNamed(QString()), std::nullopt);
    EXPECT_EQ(actionNamed(QStringLiteral("Camera-Addresses")), std::nullopt);
}

} // namespace
} // namespace lumvik
