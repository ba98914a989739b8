#pragma once

#include "platform/MainQueue.h"
#include "platform/Notifier.h"

#include <QString>

#include <optional>

namespace lumvik {

/// Decides when a user who does not look at the window is told that the picture is lost, and that
/// it is back. Each loss is reported once, and so is its end.
///
/// A plain value. The owner calls `update` whenever something may have changed, and at
/// `nextUpdate`.
class LossNotice {
  public:
    enum class Action {
        none,
        reportLoss,
        reportReturn,
        withdraw, ///< What was reported no longer matters.
    };

    /// What the decision depends on.
    struct Situation {
        TimeStamp now = 0;
        bool isEnabled = false; ///< Whether the user wants to be told.
        bool hasCamera = false;
        bool isLive = false;     ///< Whether the picture is live.
        bool isSleeping = false; ///< Whether the machine sleeps or is about to.
    };

    /// How long there must be no live picture before it is reported, in seconds. Most losses end
    /// sooner by themselves.
    static constexpr double longestUnreportedLoss = 30;
    /// How long the picture must be live before its return is reported, in seconds. Some cameras
    /// send a few pictures and fail again.
    static constexpr double provenReturn = 5;

    /// The user has chosen a camera, and thus looks at the window.
    [[nodiscard]] Action cameraWasChosen();
    [[nodiscard]] Action update(const Situation &situation);
    /// When `update` must be called even if nothing changes.
    [[nodiscard]] std::optional<TimeStamp> nextUpdate() const;
    /// For how long there was no live picture, in seconds. Valid after `reportReturn`.
    [[nodiscard]] double lengthOfLoss() const { return m_lengthOfLoss; }

  private:
    [[nodiscard]] Action forget();

    bool m_isReported = false;
    /// Empty during sleep, and when the picture has been live for `provenReturn`. A few pictures
    /// now and then do not end a loss.
    std::optional<TimeStamp> m_lostSince;
    std::optional<TimeStamp> m_liveSince; ///< Set while the picture is live.
    TimeStamp m_reportedLossSince = 0;
    double m_lengthOfLoss = 0;
};

/// Returns the notification about a loss. `cause` is a sentence; empty if the cause is unknown.
[[nodiscard]] Notification notificationOfLoss(const QString &camera, const QString &cause);
/// Returns the notification about the end of a loss that has lasted `length` seconds.
[[nodiscard]] Notification notificationOfReturn(const QString &camera, double length);

} // namespace lumvik
