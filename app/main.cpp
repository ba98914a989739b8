#include "app/CommandLine.h"
#include "app/DesktopApplication.h"
#include "app/DesktopOpener.h"
#include "app/MessageBoxAlerts.h"
#include "app/QtFilePanels.h"
#include "app/SingleInstance.h"
#include "app/Startup.h"
#include "app/Termination.h"
#include "app/controller/AppDelegate.h"
#include "editor/CameraSettingsWindow.h"
#include "platform/CoreDumps.h"
#include "platform/DisplayConnectionMonitor.h"
#include "platform/ExitDeadline.h"
#include "platform/ExitGuard.h"
#include "platform/LogindSleepMonitor.h"
#include "platform/LumvikLog.h"
#include "platform/TerminationSignals.h"
#include "platform/network/RtnetlinkPathMonitor.h"
#include "platform/network/TcpConnection.h"
#include "style/ApplicationIcon.h"
#include "updates/LumvikUpdateService.h"

#include <QApplication>
#include <QProcessEnvironment>
#include <QRandomGenerator>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

using namespace lumvik;
using namespace std::chrono_literals;

namespace {

/// How long the end of the program may take, in seconds: a user who quits waits no longer.
constexpr double longestExit = 2.5;

/// The window above which an alert appears: the one in use, or else the editor, or else the viewer.
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

/// Arguments as the program was given them; the application object takes the toolkit's own out.
QStringList commandLine(int argc, char **argv) {
    QStringList arguments;
    for (int index = 0; index < argc; ++index)
        arguments.append(QString::fromLocal8Bit(argv[index]));
    return arguments;
}

/// Says why the program does not start. The status to end with.
int report(const CommandLineExit &exit) {
    std::fputs(exit.text.toLocal8Bit().constData(), exit.status == 0 ? stdout : stderr);
    return exit.status;
}

/// What the desktop gave this start along, so that a window may come to the front. It is for this
/// start alone, and is taken out of what other programs are to be started with.
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

/// Leaves `request` to the Lumvik that runs already, if one does. The status to end with; nothing
/// where this process is the first.
std::optional<int> leaveToTheFirst(SingleInstance &instance, const LaunchRequest &request,
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
    return 1;
}

/// What the controller uses of the system.
struct System {
    Alerts &alerts;
    const DesktopOpener opener;
    QtMainQueue mainQueue{};
    UserDefaults userDefaults{UserDefaults::standardPath()};
    QtFilePanels filePanels{};
    LogindSleepMonitor sleepMonitor{};
    Termination termination{mainQueue, &QCoreApplication::quit};
};

AppEnvironment environmentOf(System &system, ExitGuard &exitGuard) {
    return {.mainQueue = system.mainQueue,
            .userDefaults = system.userDefaults,
            .store = CameraConfigurationStore::shared(),
            .alerts = system.alerts,
            .filePanels = system.filePanels,
            .sleepMonitor = system.sleepMonitor,
            .makeNetworkPathMonitor = [] { return std::make_unique<RtnetlinkPathMonitor>(); },
            .makeConnection =
                [](const QString &host, std::uint16_t port) {
                    return std::make_shared<TcpConnection>(host, port);
                },
            .random = [] { return QRandomGenerator::global()->generateDouble(); },
            .limitTimeToExit = [] { endProcessWithin(longestExit); },
            .playerHasLoaded = [&exitGuard] { exitGuard.renew(); },
            .terminate = [&system] { system.termination.request(); },
            .openUrl =
                [&system](const QUrl &address, const std::function<void()> &failed) {
                    system.opener.open(address, failed);
                },
            .makeUpdateService =
                [&system] { return std::make_unique<LumvikUpdateService>(system.mainQueue); },
            .currentDate = &QDateTime::currentDateTimeUtc,
            .installedVersion = LumvikUpdateSettings::runningVersion(),
            .webHost = LumvikUpdateSettings::makersWebHost(),
            .feedbackAddress = QStringLiteral(LUMVIK_FEEDBACK_ADDRESS),
            .engineLogLevel = engineLogLevel()};
}

/// Tells the controller what the application object hears.
void connectApplication(AppDelegate &delegate) {
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, &delegate,
                     &AppDelegate::applicationWillTerminate);
    QObject::connect(qApp, &QGuiApplication::applicationStateChanged, &delegate,
                     [&delegate](Qt::ApplicationState state) {
                         if (state != Qt::ApplicationActive)
                             delegate.applicationDidResignActive();
                     });
}

/// Has the controller do what later starts ask, by command or through the desktop, until the
/// program ends.
void serveLaterStarts(AppDelegate &delegate, const Termination &termination,
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

/// The program from its first window to its end. The exit status.
int run(LaunchRequest::Action action, System &system, SingleInstance &instance) {
    ExitGuard exitGuard;
    AppDelegate delegate(environmentOf(system, exitGuard));
    connectApplication(delegate);
    const TerminationSignals signals([&system] { system.termination.request(); });
    const auto displayWatch = watchDisplay([] {
        endProcessWithin(longestExit); // first: writing the log may take its time
        LumvikLog::lifecycle().error(QStringLiteral("The display has gone; Lumvik ends."));
    });
    DesktopApplication desktopApplication;
    delegate.applicationDidFinishLaunching();
    serveLaterStarts(delegate, system.termination, instance, desktopApplication);
    delegate.performSoon(action);
    const int status = QApplication::exec();
    if (!delegate.finishPlayers(1500ms)) {
        // An engine that still waits for a name server would lose the ground under its feet.
        std::_Exit(status);
    }
    return status;
}

} // namespace

int main(int argc, char **argv) {
    const UsersCoreDumps usersCoreDumps = forbidCoreDumps();
    prepareMemory();
    // What other programs are to be started with.
    QProcessEnvironment usersEnvironment = QProcessEnvironment::systemEnvironment();
    const QByteArray activationToken = takeActivationToken(usersEnvironment);
    // Help and version need no display.
    const QString version = LumvikUpdateSettings::runningVersion().version;
    if (const auto early = parseCommandLine(commandLine(argc, argv), version);
        !early && early.error().status == 0)
        return report(early.error());
    prepareToolkit();
    if (const auto problem = missingDisplay()) {
        std::fprintf(stderr, "%s\n", problem->c_str());
        return 1;
    }
    avoidUnresponsiveSessionBus();
    const QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Lumvik"));
    QApplication::setWindowIcon(applicationIcon());
    QApplication::setDesktopFileName(QLatin1String(LumvikLog::subsystem));
    const auto action = parseCommandLine(QApplication::arguments(), version);
    if (!action)
        return report(action.error());
    // Closing the viewer quits by the controller's own order; an alert that closes must not.
    QApplication::setQuitOnLastWindowClosed(false);
    LumvikLog::installQtMessageHandler();

    MessageBoxAlerts alerts(&alertParent);
    SingleInstance instance;
    if (const auto status =
            leaveToTheFirst(instance, LaunchRequest::with(*action, activationToken), alerts))
        return *status;
    System system{.alerts = alerts, .opener = DesktopOpener(usersEnvironment, usersCoreDumps)};
    return run(*action, system, instance);
}
