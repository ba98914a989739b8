#include <QApplication>

#include <gtest/gtest.h>

/// Gives every test program an application object, so that timers, queued calls and fonts work.
int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    // A build machine has no display, and ctest lists the tests without setting the environment.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
