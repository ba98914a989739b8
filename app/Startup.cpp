#include "app/Startup.h"

#include "app/DesktopApplication.h"
#include "app/OpenGLProbe.h"
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

/// Tells Qt's X11 platform plugin how to use OpenGL.
constexpr const char *openGLIntegration = "QT_XCB_GL_INTEGRATION";

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
    // By default, every thread has its own heap, and memory that a player's threads leave there is
    // hardly ever returned to the system: twenty players in a row cost 50 MiB. With a single heap,
    // and with large blocks (pictures, packets) returned when they are freed, they cost 2 MiB and
    // no measurable time.
    constexpr int largeBlock = 128 * 1024; // bytes
    mallopt(M_ARENA_MAX, 1);
    mallopt(M_MMAP_THRESHOLD, largeBlock);
    mallopt(M_TRIM_THRESHOLD, largeBlock);
#endif
}

void prepareToolkit() {
    // X11 is preferred, even through XWayland, because Wayland clients can neither place their
    // windows nor keep them on top.
    setDefault("QT_QPA_PLATFORM", "xcb;wayland");
    // The basic render loop runs on the main thread, which the engine's render context requires.
    qputenv("QSG_RENDER_LOOP", "basic");
    // The back end is chosen by `prepareRenderer`, because the engine must draw in the same way.
    qunsetenv("QT_QUICK_BACKEND");
    // Each of Qt's platform plugins uses and removes only its own system's activation token. The
    // token of a windowing system that is not available is removed here, so that no child inherits
    // it.
    if (!qEnvironmentVariableIsSet("WAYLAND_DISPLAY"))
        qunsetenv("XDG_ACTIVATION_TOKEN");
    if (!qEnvironmentVariableIsSet("DISPLAY"))
        qunsetenv("DESKTOP_STARTUP_ID");
    // A requested frame is drawn in the next turn of the event loop, not 5 ms later.
    setDefault("QT_QPA_UPDATE_IDLE_TIME", "0");

    // EGL can share decoded surfaces with OpenGL; GLX cannot.
    setDefault(openGLIntegration, "xcb_egl");
}

RendererChoice chooseRendererForThisDisplay() {
    const QString requested = qEnvironmentVariable("LUMVIK_RENDERER");
    return chooseRenderer({.requested = requested,
                           .openGLHasFailed = qEnvironmentVariableIsSet(openGLFailedVariable),
                           .hasGraphicsDevice = hasGraphicsDevice(),
                           .describeOpenGL = [] { return describeOpenGL(openGLCacheFile()); }});
}

void prepareRenderer(const RendererChoice &choice) {
    if (choice.kind == RendererKind::software) {
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        // Otherwise Qt would load the OpenGL driver when it connects to the display.
        qputenv(openGLIntegration, "none");
        return;
    }
    QQuickWindow::setGraphicsApi(QSGRendererInterface::OpenGL);
    QSurfaceFormat format = QSurfaceFormat::defaultFormat();
    // Without a request for a version, the driver offers the best that it has.
    if (!choice.openGL || hasPreferredOpenGL(*choice.openGL)) {
        format.setRenderableType(QSurfaceFormat::OpenGL);
        format.setVersion(preferredOpenGLMajor, preferredOpenGLMinor);
        format.setProfile(QSurfaceFormat::CoreProfile);
    }
    format.setSwapBehavior(QSurfaceFormat::DoubleBuffer);
    format.setRedBufferSize(8);
    format.setGreenBufferSize(8);
    format.setBlueBufferSize(8);
    // No alpha channel is requested, because on X11 it would select a translucent visual, and a
    // compositor would blend the window with those behind it.
    QSurfaceFormat::setDefaultFormat(format);
}

void avoidUnresponsiveSessionBus() {
    constexpr int notInterruptible = -1;
    constexpr auto replyLimit = std::chrono::seconds(2);
    const QString addresses = DesktopApplication::sessionBusAddresses();
    const auto bus =
        findResponsiveBus(QStringLiteral("session bus"), addresses, notInterruptible, replyLimit);
    if (bus || !bus.error().isUnresponsive)
        return;
    LumvikLog::lifecycle().error(
        QStringLiteral("The session bus does not reply; Lumvik continues without it."));
    // No bus listens at this address. Without an address, the library would search elsewhere.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/dev/null");
}

std::optional<std::string> missingDisplay() {
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    if (platform != "xcb;wayland")
        return std::nullopt; // the user's own choice, possibly a platform without a display
    if (qEnvironmentVariableIsSet("WAYLAND_DISPLAY"))
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
    const std::string level = qEnvironmentVariable("LUMVIK_ENGINE_LOG").toStdString();
    return std::find(known.begin(), known.end(), level) != known.end() ? level : "warn";
}

} // namespace lumvik
