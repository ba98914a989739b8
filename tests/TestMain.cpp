#include <QApplication>

#include <gtest/gtest.h>

/// Gives every test program an application object, so that timers, queued calls and fonts work.
int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    // A build machine has no display.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Log lines belong to the output of the test.
    if (!qEnvironmentVariableIsSet("LUMVIK_LOG"))
        qputenv("LUMVIK_LOG", "stderr");
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
