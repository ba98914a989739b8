#include "platform/ExitGuard.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace lumvik {
namespace {

void registerHandler() {
    (void)std::atexit([] { std::fputs("A handler has run.\n", stderr); });
}

TEST(ExitGuardDeathTest, SkipsHandlersRegisteredEarlier) {
    EXPECT_EXIT(
        {
            registerHandler();
            const ExitGuard guard;
            std::exit(0);
        },
        testing::ExitedWithCode(EXIT_FAILURE), "^$");
}

TEST(ExitGuardDeathTest, CoversLaterHandlersOnlyOnceRenewed) {
    EXPECT_EXIT(
        {
            ExitGuard guard;
            registerHandler();
            std::exit(0);
        },
        testing::ExitedWithCode(EXIT_FAILURE), "A handler has run.");
    EXPECT_EXIT(
        {
            ExitGuard guard;
            registerHandler();
            guard.renew();
            std::exit(0);
        },
        testing::ExitedWithCode(EXIT_FAILURE), "^$");
}

TEST(ExitGuardDeathTest, ExitRunsHandlersAgainAfterTheGuardIsDestroyed) {
    EXPECT_EXIT(
        {
            registerHandler();
            { const ExitGuard guard; }
            std::exit(3);
        },
        testing::ExitedWithCode(3), "A handler has run.");
}

} // namespace
} // namespace lumvik
