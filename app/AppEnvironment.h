#pragma once

#include "configuration/CameraConfigurationStore.h"
#include "platform/Alerts.h"
#include "platform/MainQueue.h"
#include "platform/UserDefaults.h"

#include <functional>
#include <string>

namespace lumvik {

/// Time and the outside world, as the controller is given them. The program passes the real things,
/// tests their own. Everything referred to must outlive the controller.
struct AppEnvironment {
    MainQueue &mainQueue;
    UserDefaults &userDefaults;
    CameraConfigurationStore &store;
    Alerts &alerts;
    /// Ends the application in order, in a later turn.
    std::function<void()> terminate;
    /// The least important kind of engine message that is logged, by libmpv's names.
    std::string engineLogLevel = "warn";
};

} // namespace lumvik
