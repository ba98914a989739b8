#pragma once

#include "configuration/CameraConfigurationStore.h"
#include "platform/Alerts.h"
#include "platform/FilePanels.h"
#include "platform/MainQueue.h"
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

/// Time and the outside world, as the controller is given them. The program passes the real things,
/// tests their own. Everything referred to must outlive the controller.
struct AppEnvironment {
    MainQueue &mainQueue;
    UserDefaults &userDefaults;
    CameraConfigurationStore &store;
    Alerts &alerts;
    FilePanels &filePanels;
    SleepMonitor &sleepMonitor;
    std::function<std::unique_ptr<NetworkPathMonitor>()> makeNetworkPathMonitor;
    NetworkConnectionFactory makeConnection;
    /// A random number, evenly distributed over [0, 1).
    std::function<double()> random;
    /// Called when the application begins to end, perhaps more than once: from now on it may take a
    /// few seconds only.
    std::function<void()> limitTimeToExit;
    /// Called when a player's first picture is on the screen: what libraries it takes have been
    /// loaded.
    std::function<void()> playerHasLoaded;
    /// Ends the application in order, in a later turn.
    std::function<void()> terminate;
    /// Hands an address to the user's browser or mail program; the callback runs when there is
    /// none.
    std::function<void(const QUrl &, const std::function<void()> &failed)> openUrl;
    std::function<std::unique_ptr<UpdateChecker>()> makeUpdateService;
    /// The time of day, in UTC.
    std::function<QDateTime()> currentDate;
    /// What this program says about itself; a part that is null is unknown.
    InstalledVersion installedVersion;
    /// The maker's web host, and where feedback goes.
    QString webHost;
    QString feedbackAddress;
    /// The least important kind of engine message that is logged, by libmpv's names.
    std::string engineLogLevel = "warn";
};

} // namespace lumvik
