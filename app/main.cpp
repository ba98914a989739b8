#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "app/DesktopApplication.h"
#include "app/DesktopOpener.h"
#include "app/MessageBoxAlerts.h"
#include "app/QtFilePanels.h"
#include "app/SingleInstance.h"
#include "app/Startup.h"
#include "editor/CameraSettingsWindow.h"
#include "platform/CoreDumps.h"
#include "platform/ExitDeadline.h"
#include "platform/HangUpWatch.h"
#include "platform/LogindSleepMonitor.h"
#include "platform/LumvikLog.h"
#include "platform/RtnetlinkPathMonitor.h"
#include "platform/TcpConnection.h"
#include "platform/TerminationSignals.h"
#include "style/ApplicationIcon.h"
#include "updates/LumvikUpdateService.h"

#include <QApplication>
#include <QProcessEnvironment>
#include <QRandomGenerator>

#include <chrono>
#include <cstdio>
#include <cstdlib>

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

/// What the desktop gave this start along, so that a window may come to the front.
QByteArray activationToken(const QProcessEnvironment &environment) {
    const QString token = environment.value(QStringLiteral("XDG_ACTIVATION_TOKEN"));
    return (token.isEmpty() ? environment.value(QStringLiteral("DESKTOP_STARTUP_ID")) : token)
        .toUtf8();
}

} // namespace

int main(int argc, char **argv) {
    const UsersCoreDumps usersCoreDumps = forbidCoreDumps();
    prepareMemory();
    // What other programs are to be started with.
    const QProcessEnvironment usersEnvironment = QProcessEnvironment::systemEnvironment();
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
    avoidDeafSessionBus();
    QApplication application(argc, argv);
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
    const LaunchRequest request{*action, activationToken(usersEnvironment)};
    SingleInstance instance;
    switch (instance.claim(request)) {
    case SingleInstance::Outcome::first:
        break;
    case SingleInstance::Outcome::handedOver:
        return 0;
    case SingleInstance::Outcome::unanswered:
        std::fputs("Lumvik is already running, but does not respond.\n", stderr);
        alerts.runModal(
            {.style = Alert::Style::warning,
             .messageText = QStringLiteral("Lumvik"),
             .informativeText = QStringLiteral("Lumvik is already running, but does not respond."),
             .buttons = {QStringLiteral("OK")}});
        return 1;
    }

    QtMainQueue mainQueue;
    UserDefaults userDefaults(UserDefaults::standardPath());
    QtFilePanels filePanels;
    const DesktopOpener opener(usersEnvironment, usersCoreDumps);
    LogindSleepMonitor sleepMonitor;
    // In a later turn, because quitting closes the windows, and may be asked for while one closes.
    // A window that is open is closed first, by its own order; termination follows.
    const auto terminate = [&mainQueue] { mainQueue.async([] { QCoreApplication::quit(); }); };
    AppDelegate delegate(
        {.mainQueue = mainQueue,
         .userDefaults = userDefaults,
         .store = CameraConfigurationStore::shared(),
         .alerts = alerts,
         .filePanels = filePanels,
         .sleepMonitor = sleepMonitor,
         .makeNetworkPathMonitor = [] { return std::make_unique<RtnetlinkPathMonitor>(); },
         .makeConnection =
             [](const QString &host, std::uint16_t port) {
                 return std::make_shared<TcpConnection>(host, port);
             },
         .random = [] { return QRandomGenerator::global()->generateDouble(); },
         .limitTimeToExit = [] { endProcessWithin(longestExit); },
         .terminate = terminate,
         .openUrl =
             [&opener](const QUrl &address, const std::function<void()> &failed) {
                 opener.open(address, failed);
             },
         .makeUpdateService =
             [&mainQueue] { return std::make_unique<LumvikUpdateService>(mainQueue); },
         .currentDate = &QDateTime::currentDateTimeUtc,
         .installedVersion = LumvikUpdateSettings::runningVersion(),
         .webHost = LumvikUpdateSettings::makersWebHost(),
         .feedbackAddress = QStringLiteral(LUMVIK_FEEDBACK_ADDRESS),
         .engineLogLevel = engineLogLevel()});
    QObject::connect(&application, &QCoreApplication::aboutToQuit, &delegate,
                     &AppDelegate::applicationWillTerminate);
    QObject::connect(&application, &QGuiApplication::applicationStateChanged, &delegate,
                     [&delegate](Qt::ApplicationState state) {
                         if (state != Qt::ApplicationActive)
                             delegate.applicationDidResignActive();
                     });
    const TerminationSignals signals(terminate);
    const auto displayWatch = watchDisplay([] {
        LumvikLog::lifecycle().error(QStringLiteral("The display has gone; Lumvik ends."));
        endProcessWithin(longestExit);
    });

    const auto handleLaunchRequest = [&delegate](const LaunchRequest &later) {
        return !TerminationSignals::haveArrived() && delegate.handleLaunchRequest(later);
    };
    DesktopApplication desktopApplication;
    QObject::connect(&application, &QCoreApplication::aboutToQuit, &desktopApplication,
                     [&instance, &desktopApplication] {
                         instance.close();
                         desktopApplication.stop();
                     });
    delegate.applicationDidFinishLaunching();
    instance.listen(handleLaunchRequest);
    desktopApplication.start(handleLaunchRequest);
    if (request.action != LaunchRequest::Action::activate)
        delegate.perform(request.action);
    const int status = QApplication::exec();
    if (!delegate.finishPlayers(1500ms)) {
        // An engine that still waits for a name server would lose the ground under its feet.
        std::_Exit(status);
    }
    return status;
}
