// The program in a session of Wayland's: without X11 at all, and through XWayland. The compositor
// is weston, which draws its screen into a window of the test's own desktop, where it can be looked
// at and gets a real pointer and keyboard.

#include "CameraProcess.h"
#include "ColourBars.h"
#include "Eventually.h"
#include "Input.h"
#include "Pixels.h"
#include "Screen.h"
#include "TestDesktop.h"
#include "TestHome.h"
#include "ViewerTest.h"

#include <QDir>
#include <QFile>

#include <csignal>
#include <optional>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

class WaylandTest : public testing::Test {
  protected:
    void startSession() {
        ASSERT_TRUE(desktop.start());
        QProcessEnvironment environment = home.environment(desktop.environment());
        const QString runtimeFolder = environment.value(QStringLiteral("XDG_RUNTIME_DIR"));
        const QString configuration = runtimeFolder + QStringLiteral("/weston.ini");
        QFile file(configuration);
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        // The way to ask for drawing without OpenGL differs from version to version.
        file.write("[core]\nidle-time=0\nuse-pixman=true\nrenderer=pixman\n[shell]\npanel-position="
                   "none\nlocking=false\nanimation=none\n"
                   "background-color=0xff204060\n");
        file.close();
        compositor = std::make_unique<ChildProcess>(QStringLiteral("weston"), environment);
        ASSERT_TRUE(compositor->start(QStringLiteral("weston"),
                                      {QStringLiteral("--backend=x11-backend.so"),
                                       QStringLiteral("--width=%1").arg(desktop.size().width()),
                                       QStringLiteral("--height=%1").arg(desktop.size().height()),
                                       QStringLiteral("--config=") + configuration,
                                       QStringLiteral("--socket=wayland-test")}));
        ASSERT_TRUE(eventually(30s, [&] {
            return QFile::exists(runtimeFolder + QStringLiteral("/wayland-test"));
        })) << compositor->standardError().join(u'\n').toStdString();
        ASSERT_TRUE(eventually(30s, [this] {
            // Not in a corner, where the pointer may be.
            return colourDistance(screen.pixel(QPoint(desktop.size().width() / 3, 5)), background) <
                   3;
        })) << "the session's background does not appear";
        // Into the far corner, by a motion that the session sees: its own pointer begins elsewhere.
        pointer.moveTo(desktop.area().center());
        pointer.moveTo(desktop.area().bottomRight());
        ASSERT_TRUE(eventually(20s, [this] {
            return colourDistance(screen.pixel(QPoint(4, 8)), background) < 3;
        })) << "the pointer stays in the near corner";
    }
    void startCamera() {
        camera = std::make_unique<CameraProcess>(CameraSetup{});
        ASSERT_TRUE(camera->start());
        home.writeCameras({{QStringLiteral("Front"), camera->url()}});
    }
    void startViewer() {
        QProcessEnvironment environment = home.environment(desktop.environment());
        environment.remove(QStringLiteral("DISPLAY"));
        environment.insert(QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("wayland-test"));
        viewer = std::make_unique<ChildProcess>(QStringLiteral("the viewer"), environment);
        ASSERT_TRUE(viewer->start(QStringLiteral(LUMVIK_VIEWER_PROGRAM), {}));
    }
    /// Where the viewer's window is: everything that is not the session's background. The pointer
    /// must be in the window or in the screen's far corner.
    [[nodiscard]] QRect windowArea() const {
        const QImage picture = screen.all();
        QRect area;
        constexpr int step = 2;
        const QPoint corner(picture.width() - 8, picture.height() - 8);
        for (int y = 0; y < picture.height(); y += step) {
            for (int x = 0; x < picture.width(); x += step) {
                const bool isPointer = x >= corner.x() && y >= corner.y();
                if (!isPointer && colourDistance(picture.pixelColor(x, y), background) > 20)
                    area |= QRect(x, y, step, step);
            }
        }
        return area;
    }
    /// The window's area once it shows the camera, which is small enough not to fill the screen.
    [[nodiscard]] QRect shownPicture() const {
        QRect area;
        const bool shown = eventually(60s, [&] {
            area = windowArea();
            return area.width() > 200 && area.height() > 100 &&
                   static_cast<bool>(showsColourBars(screen.area(area), 40));
        });
        EXPECT_TRUE(shown) << "no picture; the viewer " << viewer->stateDescription().toStdString()
                           << "\n"
                           << viewer->standardError().join(u'\n').toStdString();
        return area;
    }
    /// Drags the picture by its middle, and answers where it comes to rest.
    void drag(QPoint distance) {
        const QPoint middle = windowArea().center();
        pointer.moveTo(middle);
        pointer.press();
        pointer.glideTo(middle + distance, 16);
        pointer.release();
        pointer.moveTo(desktop.area().bottomRight());
    }
    [[nodiscard]] bool hasLogged(const QString &text) const {
        return !viewer->standardError().filter(text).isEmpty();
    }
    void endViewer() {
        viewer->sendSignal(SIGTERM);
        ASSERT_TRUE(viewer->waitForExit(20s));
        EXPECT_EQ(viewer->exitStatus(), 0);
    }
    void TearDown() override {
        if (HasFailure())
            screen.save(
                QStringLiteral("WaylandTest.") +
                QLatin1String(testing::UnitTest::GetInstance()->current_test_info()->name()));
        viewer.reset();
        compositor.reset();
    }

    static inline const QColor background{0x20, 0x40, 0x60};
    TestDesktop desktop{WindowManager::none};
    TestHome home;
    Screen screen{desktop};
    Pointer pointer{desktop};
    Keyboard keyboard{desktop};
    std::unique_ptr<ChildProcess> compositor;
    std::unique_ptr<CameraProcess> camera;
    std::unique_ptr<ChildProcess> viewer;
};

class WaylandOnlyTest : public WaylandTest {
  protected:
    void SetUp() override {
        home.setPreference(QStringLiteral("mainWindowFrame"),
                           QStringLiteral("{{0, 0}, {800, 450}}"));
        ASSERT_NO_FATAL_FAILURE(startSession());
        ASSERT_NO_FATAL_FAILURE(startCamera());
        ASSERT_NO_FATAL_FAILURE(startViewer());
        start = shownPicture();
        ASSERT_FALSE(HasFailure());
    }
    QRect start;
};

TEST_F(WaylandOnlyTest, ShowsTheCameraAndIsMovedByTheCompositor) {
    EXPECT_TRUE(hasLogged(QStringLiteral("This session is Wayland's")));
    ASSERT_NO_FATAL_FAILURE(drag(QPoint(-120, 80)));
    EXPECT_TRUE(eventually(20s, [this] {
        const QPoint moved = windowArea().topLeft() - start.topLeft();
        return std::abs(moved.x() + 120) <= 24 && std::abs(moved.y() - 80) <= 24;
    })) << "it does not follow the pointer";
    EXPECT_EQ(windowArea().size(), start.size());
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

TEST_F(WaylandOnlyTest, ThePinIsDimmedAndDoesNothing) {
    const ViewerControls controls(start.size());
    const auto lightest = [this](QRect inWindow) {
        const QImage picture = screen.area(inWindow.translated(start.topLeft()));
        int level = 0;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x)
                level = std::max(level, qGray(picture.pixel(x, y)));
        }
        return level;
    };
    // The controls fade in under the pointer; the close button's cross is white, the pin is not.
    pointer.moveTo(start.center());
    pointer.moveTo(start.center() + QPoint(3, 3));
    ASSERT_TRUE(eventually(20s, [&] { return lightest(controls.close()) > 230; }));
    EXPECT_LT(lightest(controls.pin()), 190);
    pointer.moveTo(start.topLeft() + controls.pin().center());
    pointer.moveTo(start.topLeft() + controls.pin().center() + QPoint(2, 2));
    // A click does nothing, and harms nothing.
    pointer.click();
    ASSERT_NO_FATAL_FAILURE(endViewer());
    EXPECT_FALSE(home.preference(QStringLiteral("stayOnTop")).toBool());
}

TEST_F(WaylandOnlyTest, ClosesByItsButton) {
    const ViewerControls controls(start.size());
    pointer.moveTo(start.center());
    pointer.moveTo(start.topLeft() + controls.close().center());
    pointer.click();
    ASSERT_TRUE(viewer->waitForExit(20s));
    EXPECT_EQ(viewer->exitStatus(), 0);
}

TEST_F(WaylandTest, EndsWithItsCompositor) {
    ASSERT_NO_FATAL_FAILURE(startSession());
    ASSERT_NO_FATAL_FAILURE(startCamera());
    ASSERT_NO_FATAL_FAILURE(startViewer());
    (void)shownPicture();
    compositor->end();
    ASSERT_TRUE(viewer->waitForExit(20s));
    EXPECT_TRUE(viewer->exitStatus().has_value()) << "it was ended by a signal";
}

} // namespace
} // namespace lumvik::test
