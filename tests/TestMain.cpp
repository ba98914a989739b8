#include <QApplication>

#include <gtest/gtest.h>

/// Every test program has an application object, so that timers, queued calls and fonts work in it.
int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
