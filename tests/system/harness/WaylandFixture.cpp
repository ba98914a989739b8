#include "WaylandFixture.h"

#include "ColourBars.h"
#include "Eventually.h"
#include "Pixels.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <iostream>

namespace lumvik::test {

using namespace std::chrono_literals;

namespace {

const QColor background{0x20, 0x40, 0x60};

/// The setting that makes Weston draw without OpenGL. Weston 12 renamed the setting, and rejects a
/// configuration that contains both names.
QByteArray withoutOpenGl() {
    QProcess weston;
    weston.start(QStringLiteral("weston"), {QStringLiteral("--version")});
    EXPECT_TRUE(weston.waitForFinished(20'000));
    const QRegularExpression version(QStringLiteral("weston (\\d+)\\."));
    const auto match = version.match(QString::fromUtf8(weston.readAllStandardOutput()));
    EXPECT_TRUE(match.hasMatch()) << "weston does not report its version";
    return match.captured(1).toInt() >= 12 ? "renderer=pixman" : "use-pixman=true";
}

} // namespace

void WaylandFixture::startSession(XWayland xWayland, int idleTime) {
    ASSERT_TRUE(desktop.start());
    QProcessEnvironment environment = home.environment(desktop.environment());
    const QString runtimeFolder = environment.value(QStringLiteral("XDG_RUNTIME_DIR"));
    const QString configuration = runtimeFolder + QStringLiteral("/weston.ini");
    QFile file(configuration);
    ASSERT_TRUE(file.open(QFile::WriteOnly));
    file.write("[core]\nidle-time=" + QByteArray::number(idleTime) + '\n' + withoutOpenGl() +
               (xWayland == XWayland::offered ? "\nxwayland=true" : "") +
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
        // The checked point is not in a corner, because the pointer may cover a corner.
        return colourDistance(screen.pixel(QPoint(desktop.size().width() / 3, 5)), background) < 3;
    })) << "the session's background does not appear";
    ASSERT_NO_FATAL_FAILURE(alignSessionPointer());
    if (xWayland == XWayland::none)
        return;
    // Weston logs the display of XWayland immediately, but starts XWayland only when the first
    // client connects.
    static const QRegularExpression listening(
        QStringLiteral("xserver listening on display (:\\d+)"));
    ASSERT_TRUE(eventually(30s, [this] {
        const QString log =
            (compositor->standardOutput() + compositor->standardError()).join(u'\n');
        m_xDisplay = listening.match(log).captured(1);
        return !m_xDisplay.isEmpty();
    })) << compositor->standardError().join(u'\n').toStdString();
}

void WaylandFixture::alignSessionPointer() {
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
    })) << "the session's pointer does not follow the desktop's pointer";
    pointer.moveTo(desktop.area().bottomRight());
}

void WaylandFixture::startCamera() {
    camera = std::make_unique<CameraProcess>(CameraSetup{});
    ASSERT_TRUE(camera->start());
    home.writeCameras(
        {{QStringLiteral("Front"), camera->url()}, {QStringLiteral("Back"), camera->url()}});
}

void WaylandFixture::startViewer() {
    QProcessEnvironment environment = home.environment(desktop.environment());
    environment.remove(QStringLiteral("DISPLAY"));
    if (!m_xDisplay.isEmpty())
        environment.insert(QStringLiteral("DISPLAY"), m_xDisplay);
    environment.insert(QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("wayland-test"));
    viewer = std::make_unique<ChildProcess>(QStringLiteral("the viewer"), environment);
    ASSERT_TRUE(viewer->start(QStringLiteral(LUMVIK_VIEWER_PROGRAM), {}));
}

QRect WaylandFixture::windowArea() const {
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

QRect WaylandFixture::shownPicture() const {
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

void WaylandFixture::drag(QPoint distance) {
    const QPoint middle = windowArea().center();
    pointer.moveTo(middle);
    pointer.press();
    pointer.glideTo(middle + distance, 16);
    pointer.release();
    pointer.moveTo(desktop.area().bottomRight());
}

void WaylandFixture::showControls(QRect start) {
    pointer.moveTo(start.center());
    pointer.moveTo(start.center() + QPoint(3, 3));
    const QRect close = ViewerControls(start.size()).close().translated(start.topLeft());
    ASSERT_TRUE(eventually(20s, [&] { return lightest(close) > 230; }))
        << "the controls do not appear";
}

int WaylandFixture::lightest(QRect area) const {
    const QImage picture = screen.area(area);
    int level = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            level = std::max(level, qGray(picture.pixel(x, y)));
    }
    return level;
}

std::chrono::milliseconds WaylandFixture::processorTime() const {
    QFile file(QStringLiteral("/proc/%1/stat").arg(viewer->processId()));
    if (!file.open(QFile::ReadOnly))
        return {};
    // The fields before the end of the process name are skipped, because the name may contain
    // spaces. User time is field 14, and system time is field 15.
    const QByteArray stat = file.readAll();
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    const qint64 ticks = fields.value(11).toLongLong() + fields.value(12).toLongLong();
    return std::chrono::milliseconds(ticks * 1000 / sysconf(_SC_CLK_TCK));
}

bool WaylandFixture::hasLogged(const QString &text) const {
    return !viewer->standardError().filter(text).isEmpty();
}

void WaylandFixture::endViewer() {
    viewer->sendSignal(SIGTERM);
    ASSERT_TRUE(viewer->waitForExit(20s));
    EXPECT_EQ(viewer->exitStatus(), 0);
}

void WaylandFixture::TearDown() {
    if (HasFailure()) {
        const testing::TestInfo *test = testing::UnitTest::GetInstance()->current_test_info();
        screen.save(QStringLiteral("%1.%2").arg(QLatin1String(test->test_suite_name()),
                                                QLatin1String(test->name())));
        if (viewer)
            std::cerr << "The viewer " << viewer->stateDescription().toStdString() << '\n'
                      << viewer->standardError().join(u'\n').toStdString() << '\n';
    }
    viewer.reset();
    compositor.reset();
}

bool WaylandFixture::hasMapped(const QByteArray &fileName) const {
    QFile maps(QStringLiteral("/proc/%1/maps").arg(viewer->processId()));
    return maps.open(QFile::ReadOnly) && maps.readAll().contains('/' + fileName);
}

} // namespace lumvik::test
