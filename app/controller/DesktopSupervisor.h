#pragma once

#include "platform/MainQueue.h"
#include "platform/Notifier.h"
#include "platform/ScreenInhibitor.h"
#include "platform/UserDefaults.h"
#include "supervision/LossNotice.h"
#include "supervision/PictureState.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>

namespace lumvik {

/// Lets the desktop serve a user who does not look at the window all the time: keeps the screen on
/// while a picture is shown, and notifies the user when the picture is lost and when it is back.
/// Both are off until the user turns them on.
///
/// The controller owns the supervisor. Main thread only.
class DesktopSupervisor {
  public:
    /// What the controller knows.
    struct Situation {
        PictureCondition condition = PictureCondition::none;
        QString camera = {}; ///< The camera's name.
        QString cause = {};  ///< Why the picture is not live, in one sentence; empty if unknown.
        bool isSleeping = false;
        bool windowIsVisible = false; ///< Not minimised.
    };

    /// The services that the supervisor uses. All functions are called on the main thread.
    struct Environment {
        MainQueue &mainQueue;
        UserDefaults &userDefaults;
        Notifier &notifier;
        ScreenInhibitor &screenInhibitor;
        std::function<Situation()> situation;
        /// Brings the window to the front, with the desktop's token if there is one.
        std::function<void(const QByteArray &activationToken)> showWindow;
    };

    explicit DesktopSupervisor(Environment environment);
    DesktopSupervisor(const DesktopSupervisor &) = delete;
    DesktopSupervisor &operator=(const DesktopSupervisor &) = delete;
    ~DesktopSupervisor();

    // ---- What the user has chosen ----

    [[nodiscard]] bool keepsScreenOn() const;
    void setKeepsScreenOn(bool keepsOn);
    [[nodiscard]] bool notifiesOfLoss() const;
    void setNotifiesOfLoss(bool notifies);

    // ---- What has happened ----

    void cameraWasChosen();
    /// Something that `Situation` contains may have changed.
    void update();
    /// Ends everything, because the window closes.
    void stop();

  private:
    void perform(LossNotice::Action action, const Situation &situation);
    void scheduleUpdate();

    const Environment m_environment;
    LossNotice m_lossNotice;
    std::shared_ptr<WorkItem> m_update;
    bool m_isStopped = false;
};

} // namespace lumvik
