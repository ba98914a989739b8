#include "app/CommandLine.h"
#include "app/DesktopApplication.h"
#include "app/DesktopOpener.h"
#include "app/MessageBoxAlerts.h"
#include "app/OpenGLProbe.h"
#include "app/QtFilePanels.h"
#include "app/SingleInstance.h"
#include "app/Startup.h"
#include "app/Termination.h"
#include "app/controller/AppDelegate.h"
#include "discovery/CameraSearch.h"
#include "editor/CameraSettingsWindow.h"
#include "engine/DecodingThread.h"
#include "engine/link/TcpCameraLink.h"
#include "platform/AutostartEntry.h"
#include "platform/CoreDumps.h"
#include "platform/DesktopNotifier.h"
#include "platform/DesktopScreenInhibitor.h"
#include "platform/DisplayConnectionMonitor.h"
#include "platform/ExitDeadline.h"
#include "platform/ExitGuard.h"
#include "platform/LogindSleepMonitor.h"
#include "platform/LumvikLog.h"
#include "platform/ProcessRestart.h"
#include "platform/SerialQueue.h"
#include "platform/TerminationSignals.h"
#include "platform/network/RtnetlinkPathMonitor.h"
#include "platform/network/TcpConnection.h"
#include "style/ApplicationIcon.h"
#include "updates/LumvikUpdateService.h"

#include <QApplication>
#include <QProcessEnvironment>
#include <QRandomGenerator>
#include <QStandardPaths>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <thread>
#include <utility>

using namespace lumvik;
using namespace std::chrono_literals;

namespace {

/// How long the program may take to exit, in seconds. After that time the process ends itself, so
/// that a user who quits never waits longer.
constexpr double longestExit = 2.5;

/// How long the exit waits for the players to be destroyed. Shorter than `longestExit`, so that the
/// process can still end with its own exit status.
constexpr auto longestPlayerTeardown = 1500ms;

/// Returns the window above which an alert appears: the active window, otherwise the editor,
/// otherwise the viewer.
QWindow *alertParent() {
    if (QWindow *focused = QGuiApplication::focusWindow();
        focused != nullptr && focused->isVisible() && focused->type() != Qt::Popup)
        return focused;
    for (const QWidget *widget : QApplication::topLevelWidgets()) {
        if (qobject_cast<const CameraSettingsWindow *>(widget) != nullptr && widget->isVisible())
            return widget->windowHandle();
    }
    for (QWindow *window : QGuiApplication::topLevelWindows()) {
        if (qobject_cast<ViewerWindow *>(window) != nullptr && window->isVisible())
            return window;
    }
    return nullptr;
}

/// Returns the command line, including Qt's own options, which the application object removes.
QStringList commandLine(int argc, char **argv) {
    QStringList arguments;
    for (int index = 0; index < argc; ++index)
        arguments.append(QString::fromLocal8Bit(argv[index]));
    return arguments;
}

/// Prints the output of `exit` and returns its exit status.
int report(const CommandLineExit &exit) {
    std::fputs(exit.text.toLocal8Bit().constData(), exit.status == 0 ? stdout : stderr);
    return exit.status;
}

/// Returns the token with which the desktop allows a window of this instance to come to the front,
/// and removes it from `environment`, because it is not meant for programs that Lumvik starts.
QByteArray takeActivationToken(QProcessEnvironment &environment) {
    const QString forWayland = QStringLiteral("XDG_ACTIVATION_TOKEN");
    const QString forX11 = QStringLiteral("DESKTOP_STARTUP_ID");
    QString token = environment.value(forWayland);
    if (token.isEmpty())
        token = environment.value(forX11);
    environment.remove(forWayland);
    environment.remove(forX11);
    return token.toUtf8();
}

/// Passes `request` to the running instance, if there is one, and returns the exit status of this
/// process. Returns nothing if this is the first instance.
std::optional<int> handOverToFirstInstance(SingleInstance &instance, const LaunchRequest &request,
                                           Alerts &alerts) {
    switch (instance.claim(request)) {
    case SingleInstance::Outcome::first:
        return std::nullopt;
    case SingleInstance::Outcome::handedOver:
        return 0;
    case SingleInstance::Outcome::unanswered:
        break;
    }
    const QString problem = QStringLiteral("Lumvik is already running, but does not respond.");
    std::fprintf(stderr, "%s\n", qPrintable(problem));
    alerts.runModal({.style = Alert::Style::warning,
                     .messageText = QStringLiteral("Lumvik"),
                     .informativeText = problem,
                     .buttons = {QStringLiteral("OK")}});
    return SingleInstance::unansweredExitStatus;
}

/// The services that the controller uses.
struct System {
    Alerts &alerts;
    const DesktopOpener opener;
    const RendererChoice renderer;
    char **argv; ///< The arguments of the program, for a restart.
    QtMainQueue mainQueue{};
    UserDefaults userDefaults{UserDefaults::standardPath()};
    QtFilePanels filePanels{};
    LogindSleepMonitor sleepMonitor{};
    DesktopNotifier notifier{DesktopApplication::sessionBusAddresses()};
    DesktopScreenInhibitor screenInhibitor{DesktopApplication::sessionBusAddresses()};
    SerialQueue cameraLinkQueue{QLatin1String(LumvikLog::subsystem) +
                                QStringLiteral(".camera-link")};
    Termination termination{mainQueue, &QCoreApplication::quit};
};

/// Returns an empty factory if the user wants the engine to connect to cameras itself.
CameraLinkFactory cameraLinkFactory(SerialQueue &queue) {
    if (qgetenv("LUMVIK_LINK") == "direct")
        return {};
    return [&queue](const CameraEndpoint &endpoint, LinkFactHandler handler) {
        return TcpCameraLink::open(endpoint, queue, std::move(handler));
    };
}

AppEnvironment environmentOf(System &system, ExitGuard &exitGuard, LaunchRequest::Action action) {
    return {
        .mainQueue = system.mainQueue,
        .userDefaults = system.userDefaults,
        .store = CameraConfigurationStore::shared(),
        .alerts = system.alerts,
        .filePanels = system.filePanels,
        .sleepMonitor = system.sleepMonitor,
        .notifier = system.notifier,
        .screenInhibitor = system.screenInhibitor,
        .makeNetworkPathMonitor = [] { return std::make_unique<RtnetlinkPathMonitor>(); },
        .makeConnection =
            [](const QString &host, std::uint16_t port) {
                return std::make_shared<TcpConnection>(host, port);
            },
        .openCameraLink = cameraLinkFactory(system.cameraLinkQueue),
        .random = [] { return QRandomGenerator::global()->generateDouble(); },
        .limitTimeToExit = [] { endProcessWithin(longestExit); },
        .playerHasLoaded = [&exitGuard] { exitGuard.renew(); },
        .terminate = [&system] { system.termination.request(); },
        .restartWithSoftwareRenderer =
            [&system] {
                if (system.renderer.kind == RendererKind::software ||
                    system.termination.isUnderWay())
                    return false;
                qputenv(openGLFailedVariable, "1");
                requestRestart(system.argv);
                system.termination.request();
                return true;
            },
        .openUrl =
            [&system](const QUrl &address, const std::function<void()> &failed) {
                system.opener.open(address, failed);
            },
        .makeUpdateService =
            [&system] { return std::make_unique<LumvikUpdateService>(system.mainQueue); },
        .makeCameraSearch = [&system] { return std::make_unique<CameraSearch>(system.mainQueue); },
        .autostart = AutostartEntry::standard(),
        .startsAtLogin = action == LaunchRequest::Action::startAtLogin,
        .picturesFolder =
            [] { return QStandardPaths::writableLocation(QStandardPaths::PicturesLocation); },
        .currentDate = &QDateTime::currentDateTimeUtc,
        .decodingMachine = {.cores = static_cast<int>(std::thread::hardware_concurrency()),
                            .decodingTimes = &decodingThreadTimes},
        .installedVersion = LumvikUpdateSettings::runningVersion(),
        .webHost = LumvikUpdateSettings::defaultWebHost(),
        .feedbackAddress = QStringLiteral(LUMVIK_FEEDBACK_ADDRESS),
        .engineLogLevel = engineLogLevel()};
}

/// Forwards the application object's signals to the controller.
void connectApplication(AppDelegate &delegate) {
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, &delegate,
                     &AppDelegate::applicationWillTerminate);
    QObject::connect(qApp, &QGuiApplication::applicationStateChanged, &delegate,
                     [&delegate](Qt::ApplicationState state) {
                         if (state != Qt::ApplicationActive)
                             delegate.applicationDidResignActive();
                     });
}

/// Passes the requests of later instances and of the desktop to the controller until the program
/// quits.
void serveLaunchRequests(AppDelegate &delegate, const Termination &termination,
                         SingleInstance &instance, DesktopApplication &desktopApplication) {
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, &desktopApplication,
                     [&instance, &desktopApplication] {
                         instance.close();
                         desktopApplication.stop();
                     });
    const auto handle = [&delegate, &termination](const LaunchRequest &later) {
        return !termination.isUnderWay() && delegate.handleLaunchRequest(later);
    };
    instance.listen(handle);
    desktopApplication.start(handle);
}

/// Logs how windows are drawn, and why.
void logRenderer(const RendererChoice &choice) {
    LumvikLog::lifecycle().info(
        choice.kind == RendererKind::software
            ? QStringLiteral("The window is drawn without OpenGL: %1.").arg(choice.reason)
            : QStringLiteral("The window is drawn with OpenGL: %1.").arg(choice.reason));
}

/// Runs the program until it quits. Returns the exit status.
int run(LaunchRequest::Action action, System &system, SingleInstance &instance) {
    ExitGuard exitGuard;
    AppDelegate delegate(environmentOf(system, exitGuard, action));
    connectApplication(delegate);
    const TerminationSignals signals([&system] { system.termination.request(); });
    const auto displayWatch = watchDisplay([] {
        endProcessWithin(longestExit); // first, because writing to the log may block
        LumvikLog::lifecycle().error(
            QStringLiteral("The display has disappeared; Lumvik is exiting."));
    });
    DesktopApplication desktopApplication;
    delegate.applicationDidFinishLaunching();
    serveLaunchRequests(delegate, system.termination, instance, desktopApplication);
    delegate.performSoon(action);
    const int status = QApplication::exec();
    if (!delegate.finishPlayers(longestPlayerTeardown)) {
        restartIfRequested();
        // An engine may still be waiting for a name server. It would crash if its libraries were
        // unloaded.
        std::_Exit(status);
    }
    return status;
}

/// Starts the program and runs it until it quits. Returns the exit status.
int launch(int argc, char **argv) {
    const CoreDumpSettings usersCoreDumps = forbidCoreDumps();
    prepareMemory();
    // The environment for programs that Lumvik starts.
    QProcessEnvironment usersEnvironment = QProcessEnvironment::systemEnvironment();
    const QByteArray activationToken = takeActivationToken(usersEnvironment);
    usersEnvironment.remove(QString::fromLatin1(openGLFailedVariable));
    // --help and --version work without a display.
    const QString version = LumvikUpdateSettings::runningVersion().version;
    if (const auto early = parseCommandLine(commandLine(argc, argv), version);
        !early && early.error().status == 0)
        return report(early.error());
    prepareToolkit();
    if (argc == 2 && std::strcmp(argv[1], describeOpenGLOption) == 0)
        return runOpenGLProbe(argc, argv);
    if (const auto problem = missingDisplay()) {
        std::fprintf(stderr, "%s\n", problem->c_str());
        return 1;
    }
    avoidUnresponsiveSessionBus();
    const RendererChoice renderer = chooseRendererForThisDisplay();
    prepareRenderer(renderer);
    const QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Lumvik"));
    QApplication::setWindowIcon(applicationIcon());
    QApplication::setDesktopFileName(QLatin1String(LumvikLog::subsystem));
    const auto action = parseCommandLine(QApplication::arguments(), version);
    if (!action)
        return report(action.error());
    // The controller quits when the viewer closes. Qt must not quit when an alert closes.
    QApplication::setQuitOnLastWindowClosed(false);
    LumvikLog::installQtMessageHandler();

    MessageBoxAlerts alerts(&alertParent);
    SingleInstance instance;
    if (const auto status = handOverToFirstInstance(
            instance, LaunchRequest::with(*action, activationToken), alerts))
        return *status;
    System system{.alerts = alerts,
                  .opener = DesktopOpener(usersEnvironment, usersCoreDumps),
                  .renderer = renderer,
                  .argv = argv};
    logRenderer(renderer);
    return run(*action, system, instance);
}

} // namespace

int main(int argc, char **argv) {
    const int status = launch(argc, argv);
    restartIfRequested();
    return status;
}
