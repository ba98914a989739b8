#include "app/Startup.h"

#include "app/DesktopApplication.h"
#include "platform/BusProbe.h"
#include "platform/DisplayConnectionMonitor.h"
#include "platform/LumvikLog.h"

#include <QGuiApplication>
#include <QQuickWindow>
#include <QSurfaceFormat>

#ifdef LUMVIK_HAVE_XCB
#include <xcb/xcb.h>
#endif

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace lumvik {

namespace {

void setDefault(const char *name, const char *value) {
    if (!qEnvironmentVariableIsSet(name))
        qputenv(name, value);
}

bool canReachX11() {
#ifdef LUMVIK_HAVE_XCB
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    const bool reached = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return reached;
#else
    return qEnvironmentVariableIsSet("DISPLAY");
#endif
}

} // namespace

void prepareMemory() {
#ifdef __GLIBC__
    // By default every thread gets a heap of its own, and what a player's threads leave behind
    // there is hardly ever given back: twenty players one after another cost 50 MiB. With one heap,
    // and large blocks (pictures, packets) returned to the system when freed, they cost 2 MiB, and
    // no measurable time.
    constexpr int largeBlock = 128 * 1024;
    mallopt(M_ARENA_MAX, 1);
    mallopt(M_MMAP_THRESHOLD, largeBlock);
    mallopt(M_TRIM_THRESHOLD, largeBlock);
#endif
}

void prepareToolkit() {
    // X11 first, through XWayland too: no client may place itself or stay above under Wayland.
    setDefault("QT_QPA_PLATFORM", "xcb;wayland");
    // EGL, because decoded surfaces can be shared with it and not with GLX.
    setDefault("QT_XCB_GL_INTEGRATION", "xcb_egl");
    // The basic loop renders on the main thread, where the engine's render context lives.
    qputenv("QSG_RENDER_LOOP", "basic");
    // Another back end than OpenGL has no context in which the engine could draw.
    qunsetenv("QT_QUICK_BACKEND");
    // What the desktop gave along for this start alone, the toolkit takes for its first window, and
    // out of the environment: each of its plugins the variable of its own windowing system.
    if (!qEnvironmentVariableIsSet("WAYLAND_DISPLAY"))
        qunsetenv("XDG_ACTIVATION_TOKEN");
    if (!qEnvironmentVariableIsSet("DISPLAY"))
        qunsetenv("DESKTOP_STARTUP_ID");
    // A frame that is announced is drawn in the next turn, not 5 ms later.
    setDefault("QT_QPA_UPDATE_IDLE_TIME", "0");

    QQuickWindow::setGraphicsApi(QSGRendererInterface::OpenGL);
    QSurfaceFormat format = QSurfaceFormat::defaultFormat();
    format.setRenderableType(QSurfaceFormat::OpenGL);
    format.setVersion(3, 2);
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setSwapBehavior(QSurfaceFormat::DoubleBuffer);
    format.setRedBufferSize(8);
    format.setGreenBufferSize(8);
    format.setBlueBufferSize(8);
    // No alpha is asked for: on X11 it would bring a translucent visual, and a compositor would
    // blend the window with what lies behind it.
    QSurfaceFormat::setDefaultFormat(format);
}

void avoidUnresponsiveSessionBus() {
    constexpr int nobodyAbandons = -1;
    const QString addresses = DesktopApplication::sessionBusAddresses();
    const auto bus = findResponsiveBus(QStringLiteral("session bus"), addresses, nobodyAbandons,
                                       std::chrono::seconds(2));
    if (bus || !bus.error().isSilent)
        return;
    LumvikLog::lifecycle().error(
        QStringLiteral("The session bus does not answer; going on without it."));
    // An address that nobody listens at; without one the bus would be looked for elsewhere.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/dev/null");
}

std::optional<std::string> missingDisplay() {
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    if (platform != "xcb;wayland")
        return std::nullopt; // the user's own choice, or one that needs no display
    const bool hasWayland = qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
    if (hasWayland)
        return std::nullopt;
    if (!qEnvironmentVariableIsSet("DISPLAY"))
        return "Lumvik needs a graphical session: neither DISPLAY nor WAYLAND_DISPLAY is set.";
    if (!canReachX11())
        return "Lumvik cannot reach the display " + qEnvironmentVariable("DISPLAY").toStdString() +
               ".";
    return std::nullopt;
}

std::unique_ptr<DisplayConnectionMonitor>
watchDisplay([[maybe_unused]] std::function<void()> lost) {
#ifdef LUMVIK_HAVE_XCB
    if (const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
        x11 != nullptr && x11->connection() != nullptr) {
        return std::make_unique<DisplayConnectionMonitor>(
            xcb_get_file_descriptor(x11->connection()), std::move(lost));
    }
#endif
    return nullptr;
}

std::string engineLogLevel() {
    constexpr std::array known{"no", "fatal", "error", "warn", "info", "v", "debug", "trace"};
    const std::string asked = qEnvironmentVariable("LUMVIK_ENGINE_LOG").toStdString();
    return std::find(known.begin(), known.end(), asked) != known.end() ? asked : "warn";
}

} // namespace lumvik
