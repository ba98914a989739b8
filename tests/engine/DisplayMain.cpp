#include "VirtualScreen.h"
#include "app/Startup.h"

#include <QApplication>

#include <gtest/gtest.h>

#include <cstdio>

/// The main function of test programs that show windows. Starts a virtual screen for the program
/// and prepares Qt in the same way as Lumvik does.
int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS();

    const lumvik::test::VirtualScreen screen;
    if (screen.display().empty()) {
        std::fprintf(stderr, "Cannot start a virtual screen. Is Xvfb installed?\n");
        return 1;
    }
    qputenv("DISPLAY", screen.display().c_str());
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("LUMVIK_LOG", "stderr");
    qputenv("LIBGL_ALWAYS_SOFTWARE", "1");
    qunsetenv("WAYLAND_DISPLAY");
    lumvik::prepareToolkit();
    lumvik::prepareRenderer(lumvik::chooseRendererForThisDisplay());
    int result = 1;
    {
        const QApplication application(argc, argv);
        QApplication::setQuitOnLastWindowClosed(false);
        result = RUN_ALL_TESTS();
    }
    return result;
}
