#pragma once

#include "app/controller/DecodingSupervisor.h"
#include "configuration/CameraConfigurationStore.h"
#include "discovery/CameraSearch.h"
#include "engine/link/CameraLink.h"
#include "platform/Alerts.h"
#include "platform/AutostartEntry.h"
#include "platform/FilePanels.h"
#include "platform/MainQueue.h"
#include "platform/Notifier.h"
#include "platform/ScreenInhibitor.h"
#include "platform/SleepMonitor.h"
#include "platform/UserDefaults.h"
#include "platform/network/NetworkConnection.h"
#include "platform/network/NetworkPathMonitor.h"
#include "updates/UpdateChecker.h"

#include <QDateTime>
#include <QUrl>

#include <functional>
#include <memory>
#include <string>

namespace lumvik {

/// Everything outside the program that the controller uses, including time and chance. The program
/// passes the real services, and tests pass fakes. The objects referred to must outlive the
/// controller. All functions are called on the main thread.
struct AppEnvironment {
    MainQueue &mainQueue;
    UserDefaults &userDefaults;
    CameraConfigurationStore &store;
    Alerts &alerts;
    FilePanels &filePanels;
    SleepMonitor &sleepMonitor;
    Notifier &notifier;
    ScreenInhibitor &screenInhibitor;
    std::function<std::unique_ptr<NetworkPathMonitor>()> makeNetworkPathMonitor;
    NetworkConnectionFactory makeConnection;
    /// Empty if the engine connects to cameras itself.
    CameraLinkFactory openCameraLink = {};
    /// Returns a random number, uniformly distributed over [0, 1).
    std::function<double()> random;
    /// Called when the application starts to exit, possibly more than once. Limits the time that
    /// the exit may take to a few seconds.
    std::function<void()> limitTimeToExit;
    /// Called when a player's first picture is on the screen. All libraries that the player needs
    /// have been loaded by then.
    std::function<void()> playerHasLoaded;
    /// Quits the application, in a later turn of the event loop.
    std::function<void()> terminate;
    /// Replaces the application by a new instance that draws without OpenGL, in a later turn of the
    /// event loop. Returns false, without effect, if this instance already does.
    std::function<bool()> restartWithSoftwareRenderer = [] { return false; };
    /// Opens an address in the user's browser or mail program. `failed` runs if there is none.
    std::function<void(const QUrl &, const std::function<void()> &failed)> openUrl;
    std::function<std::unique_ptr<UpdateChecker>()> makeUpdateService;
    std::function<std::unique_ptr<CameraSearch>()> makeCameraSearch;
    /// The desktop's entry for the start of the program at login.
    AutostartEntry autostart{{}, {}};
    /// Whether the desktop has started the program at login.
    bool startsAtLogin = false;
    /// Returns the folder in which the user keeps pictures. It may not exist yet.
    std::function<QString()> picturesFolder;
    /// Returns the current date and time, in UTC.
    std::function<QDateTime()> currentDate;
    /// What is known about the machine that decodes the video.
    DecodingSupervisor::Machine decodingMachine{
        .cores = 1, .decodingTimes = [] { return std::optional<ThreadTimes>(); }};
    /// The version of this program. A null part is unknown.
    InstalledVersion installedVersion;
    /// The host of the project's website.
    QString webHost;
    /// The mail address for feedback.
    QString feedbackAddress;
    /// The log level of the engine: the name of libmpv's least severe level that is logged.
    std::string engineLogLevel = "warn";
};

} // namespace lumvik
