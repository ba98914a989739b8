#include <QApplication>

#include <gtest/gtest.h>

/// Every test program has an application object, so that timers, queued calls and fonts work in it.
int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    // A machine that only builds has no display, and ctest lists the cases without any environment.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
