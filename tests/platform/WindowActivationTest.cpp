#include "platform/WindowActivation.h"

#include <QWindow>

#include <gtest/gtest.h>

#include <ostream>

namespace lumvik {
namespace {

struct IdCase {
    QByteArray id;
    std::optional<std::uint32_t> time;
};

void PrintTo(const IdCase &each, std::ostream *stream) {
    *stream << (each.id.isEmpty() ? "empty" : each.id.toStdString());
}

class StartupIdTest : public testing::TestWithParam<IdCase> {};

TEST_P(StartupIdTest, ContainsTheTimeOfTheUsersAction) {
    EXPECT_EQ(timeOfStartupId(GetParam().id), GetParam().time) << GetParam().id.toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    All, StartupIdTest,
    testing::Values(IdCase{"panel-1234-host-lumvik-0_TIME987654", 987654},
                    IdCase{"_TIME4294967295", 4294967295U}, IdCase{"a_TIME1_TIME22", 22},
                    IdCase{"", std::nullopt}, IdCase{"panel-1234", std::nullopt},
                    IdCase{"a_TIME", std::nullopt}, IdCase{"a_TIME0", std::nullopt},
                    IdCase{"a_TIME4294967296", std::nullopt}, IdCase{"a_TIME-1", std::nullopt},
                    IdCase{"a_TIME12x", std::nullopt},
                    IdCase{"0b9e2c5e-7a5f-4d5e-9d43-1f2a3b4c5d6e", std::nullopt}));

TEST(WindowActivationTest, EnvironmentIsUnchangedOutsideWayland) {
    // The variable is set as at launch, and the display is not a Wayland display.
    qputenv("XDG_ACTIVATION_TOKEN", "token-of-the-launch");
    QWindow window;
    window.show();
    activateWindow(window, "token-of-a-later-request");
    EXPECT_EQ(qgetenv("XDG_ACTIVATION_TOKEN"), "token-of-the-launch");
    qunsetenv("XDG_ACTIVATION_TOKEN");
}

} // namespace
} // namespace lumvik
