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
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <optional>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

/// How weston's configuration asks for drawing without OpenGL: another way from version 12 on, and
/// both together are refused.
QByteArray withoutOpenGl() {
    QProcess weston;
    weston.start(QStringLiteral("weston"), {QStringLiteral("--version")});
    EXPECT_TRUE(weston.waitForFinished(20'000));
    const QRegularExpression version(QStringLiteral("weston (\\d+)\\."));
    const auto match = version.match(QString::fromUtf8(weston.readAllStandardOutput()));
    EXPECT_TRUE(match.hasMatch()) << "weston does not tell its version";
    return match.captured(1).toInt() >= 12 ? "renderer=pixman" : "use-pixman=true";
}

class WaylandTest : public testing::Test {
  protected:
    void startSession() {
        ASSERT_TRUE(desktop.start());
        QProcessEnvironment environment = home.environment(desktop.environment());
        const QString runtimeFolder = environment.value(QStringLiteral("XDG_RUNTIME_DIR"));
        const QString configuration = runtimeFolder + QStringLiteral("/weston.ini");
        QFile file(configuration);
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write("[core]\nidle-time=0\n" + withoutOpenGl() +
                   "\n[shell]\npanel-position=none\nlocking=false\nanimation=none\n"
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
        ASSERT_NO_FATAL_FAILURE(takeHoldOfPointer());
    }
    /// Brings the session's own pointer to where the desktop's is, in the far corner. It begins
    /// elsewhere, and follows the steps of the other one as soon as the session hears of them; in
    /// the near corner it is stopped by the edges, wherever it was.
    void takeHoldOfPointer() {
        const QPoint there = desktop.area().bottomRight() - QPoint(40, 40);
        const auto isThere = [&] {
            const QImage picture = screen.area(QRect(there, QSize(6, 10)));
            for (int y = 0; y < picture.height(); ++y) {
                for (int x = 0; x < picture.width(); ++x) {
                    if (colourDistance(picture.pixelColor(x, y), background) > 20)
                        return true;
                }
            }
            return false;
        };
        ASSERT_TRUE(eventually(30s, [&] {
            pointer.moveTo(QPoint(0, 0));
            pointer.moveTo(there);
            return eventually(1s, isThere);
        })) << "the session's pointer does not follow";
        pointer.moveTo(desktop.area().bottomRight());
    }
    void startCamera() {
        camera = std::make_unique<CameraProcess>(CameraSetup{});
        ASSERT_TRUE(camera->start());
        home.writeCameras(
            {{QStringLiteral("Front"), camera->url()}, {QStringLiteral("Back"), camera->url()}});
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
    /// Shows the controls of the window at `start`, and waits until its close button's cross, which
    /// is white, has faded in.
    void showControls(QRect start) {
        pointer.moveTo(start.center());
        pointer.moveTo(start.center() + QPoint(3, 3));
        const QRect close = ViewerControls(start.size()).close().translated(start.topLeft());
        ASSERT_TRUE(eventually(20s, [&] { return lightest(close) > 230; }))
            << "the controls do not appear";
    }
    /// The brightest grey level inside `area` of the screen, 0 to 255.
    [[nodiscard]] int lightest(QRect area) const {
        const QImage picture = screen.area(area);
        int level = 0;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x)
                level = std::max(level, qGray(picture.pixel(x, y)));
        }
        return level;
    }
    /// The processor time that the viewer has used until now.
    [[nodiscard]] std::chrono::milliseconds processorTime() const {
        QFile file(QStringLiteral("/proc/%1/stat").arg(viewer->processId()));
        if (!file.open(QFile::ReadOnly))
            return {};
        // After the name, which may hold spaces: user time is field 14 of all, system time 15.
        const QByteArray stat = file.readAll();
        const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
        const qint64 ticks = fields.value(11).toLongLong() + fields.value(12).toLongLong();
        return std::chrono::milliseconds(ticks * 1000 / sysconf(_SC_CLK_TCK));
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
    ASSERT_NO_FATAL_FAILURE(showControls(start));
    const QRect pin = ViewerControls(start.size()).pin().translated(start.topLeft());
    EXPECT_LT(lightest(pin), 190);
    pointer.moveTo(pin.center());
    pointer.moveTo(pin.center() + QPoint(2, 2));
    // Its tool tip, below it, says why.
    const QColor paper(255, 255, 220);
    const auto tipIsShown = [&] {
        const QImage below = screen.area(QRect(pin.left() - 60, pin.bottom() + 1, 100, 40));
        int pixels = 0;
        for (int y = 0; y < below.height(); ++y) {
            for (int x = 0; x < below.width(); ++x)
                pixels += colourDistance(below.pixelColor(x, y), paper) < 8 ? 1 : 0;
        }
        return pixels > 300;
    };
    EXPECT_TRUE(eventually(20s, tipIsShown)) << "there is no tool tip";
    // A click does nothing, and harms nothing.
    pointer.click();
    EXPECT_TRUE(eventually(20s, [&] { return !tipIsShown(); })) << "the tool tip stays";
    ASSERT_NO_FATAL_FAILURE(endViewer());
    EXPECT_FALSE(home.preference(QStringLiteral("staysOnTop")).toBool());
}

TEST_F(WaylandOnlyTest, AMenuObeysTheKeyboardAndIsClosedByAClickOnThePicture) {
    ASSERT_NO_FATAL_FAILURE(showControls(start));
    const QRect picker = ViewerControls(start.size()).picker().translated(start.topLeft());
    // Two rows of the menu lie here when it is open, and colour bars when it is not.
    const QRect place(picker.left(), picker.bottom() + 12, picker.width(), 30);
    const QImage bars = screen.area(place);
    const auto menuIsOpen = [&] { return shareOfDifferentPixels(screen.area(place), bars) > 0.5; };
    const auto open = [&] {
        pointer.moveTo(picker.center());
        pointer.click();
        ASSERT_TRUE(eventually(20s, menuIsOpen)) << "the menu does not open";
    };
    ASSERT_NO_FATAL_FAILURE(open());
    keyboard.press(QStringLiteral("Escape"));
    EXPECT_TRUE(eventually(20s, [&] { return !menuIsOpen(); })) << "Escape does not close it";
    ASSERT_NO_FATAL_FAILURE(open());
    pointer.moveTo(start.center());
    pointer.click(Pointer::Button::right);
    EXPECT_TRUE(eventually(20s, [&] { return !menuIsOpen(); })) << "a click does not close it";
    ASSERT_NO_FATAL_FAILURE(open());
    keyboard.press(QStringLiteral("Down"));
    keyboard.press(QStringLiteral("Return"));
    EXPECT_TRUE(eventually(20s, [&] {
        return home.preference(QStringLiteral("selectedCameraIndex")).toInt() == 1;
    })) << "the arrow keys choose nothing";
    EXPECT_EQ(windowArea().size(), start.size()) << "the click that closed the menu did more";
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

TEST_F(WaylandOnlyTest, AnAreaKeepsTheWindowOnTheScreen) {
    ASSERT_NO_FATAL_FAILURE(showControls(start));
    const QRect focus = ViewerControls(start.size()).focus().translated(start.topLeft());
    pointer.moveTo(focus.center());
    pointer.click();
    // A flat area, whose shape the window takes on.
    const QPoint from = start.topLeft() + QPoint(100, 80);
    pointer.moveTo(from);
    pointer.press();
    pointer.glideTo(from + QPoint(500, 60), 16);
    pointer.release();
    pointer.moveTo(desktop.area().bottomRight());
    EXPECT_TRUE(eventually(20s, [this] { return windowArea().height() < start.height() / 2; }))
        << "the window does not take on the area's shape";
    EXPECT_LE(windowArea().width(), start.width() + 2);
    ASSERT_NO_FATAL_FAILURE(endViewer());
}

TEST_F(WaylandOnlyTest, ClosesByItsButton) {
    const ViewerControls controls(start.size());
    pointer.moveTo(start.center());
    pointer.moveTo(start.topLeft() + controls.close().center());
    pointer.click();
    ASSERT_TRUE(viewer->waitForExit(20s));
    EXPECT_EQ(viewer->exitStatus(), 0);
}

TEST_F(WaylandTest, WithoutACameraItIsAtRest) {
    ASSERT_NO_FATAL_FAILURE(startSession());
    ASSERT_NO_FATAL_FAILURE(startViewer());
    ASSERT_TRUE(eventually(60s, [this] { return windowArea().width() > 200; }));
    // Until the start's own work is over, and then for as long again.
    const auto usedWithin = [this](std::chrono::milliseconds time) {
        const auto before = processorTime();
        QElapsedTimer clock;
        clock.start();
        (void)eventually(time + 5s, [&] { return clock.elapsed() >= time.count(); });
        return processorTime() - before;
    };
    ASSERT_TRUE(eventually(60s, [&] { return usedWithin(1s) < 100ms; })) << "it works without end";
    ASSERT_NO_FATAL_FAILURE(endViewer());
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
