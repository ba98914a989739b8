#pragma once

#include "engine/MPVOpenGLView.h"
#include "engine/link/LinkFact.h"
#include "platform/MainQueue.h"
#include "supervision/FrameIntervals.h"
#include "supervision/LatenessWatch.h"
#include "supervision/PictureNoticeText.h"
#include "supervision/PictureState.h"
#include "supervision/PlaybackFailure.h"
#include "supervision/ShownLateness.h"
#include "viewer/PictureCover.h"
#include "viewer/PictureNotice.h"

#include <QDateTime>
#include <QPointer>
#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace lumvik {

/// Decides what the window says about its picture: whether it is live, late or standing still, and
/// why there is none. The supervisor is told what happens to the stream, and asks the controller
/// for everything else. It keeps the last picture of a stream that has ended, so that the window
/// does not turn black while the next attempt is made.
///
/// The supervisor changes nothing about the playback itself. The controller owns the supervisor.
/// Main thread only.
class PictureSupervisor {
  public:
    /// What the controller knows about the selected camera.
    struct Situation {
        bool hasCamera = false;
        QString camera = {}; ///< The camera's name.
        QString host = {};   ///< Of the camera's address; empty if unknown.
        int port = 0;        ///< Of the camera's address.
        bool waitsForNetwork = false;
        bool addressIsUnusable = false;
        bool isSleeping = false; ///< Whether the machine sleeps or is about to.
        bool controlsAreShown = false;
        /// Set while the next attempt waits so that the camera does not lock the account.
        std::optional<QDateTime> loginPauseEnd = std::nullopt;
    };

    /// The services that the supervisor uses. All functions are called on the main thread.
    struct Environment {
        MainQueue &mainQueue;
        std::function<QDateTime()> currentDate; ///< In UTC.
        std::function<Situation()> situation;
        std::function<void()> tryNow;
        std::function<void()> showAddresses;
        /// Runs when the connection should be replaced, because its pictures are too late.
        std::function<void()> pictureFellBehind;
        /// Runs after the condition of the picture has changed.
        std::function<void()> conditionChanged;
    };

    explicit PictureSupervisor(Environment environment);
    PictureSupervisor(const PictureSupervisor &) = delete;
    PictureSupervisor &operator=(const PictureSupervisor &) = delete;
    ~PictureSupervisor();

    /// Creates the items that cover `video`. Call this function after `video` was created and
    /// before the items above them are.
    void createCover(MPVOpenGLView &video, QQuickItem *content);
    /// Creates the items of the notice. Returns their buttons.
    QList<ViewerControl *> createNotice(QQuickItem *content);
    /// Places the items in a content of the size `content`. `controlsBottom` is the lower edge of
    /// the controls (in points).
    void layOut(const QSizeF &content, qreal controlsBottom);

    // ---- What has happened ----

    /// A camera was chosen. Nothing of another camera's picture is kept.
    void cameraWasChosen();
    /// The engine was told to load the camera. `hasLink` is whether it connects through a link,
    /// which reports facts.
    void loadHasBegun(bool hasLink);
    /// A new frame of the chosen camera is on the screen.
    void frameWasShown();
    void linkHasReported(const LinkFact &fact);
    /// The engine has logged an error or a warning.
    void engineHasComplained(const QString &message);
    /// The preflight has found out that the camera cannot be reached.
    void probeHasFailed(ConnectionFailure failure);
    /// A recovery attempt will be made in `delay` seconds. `afterFailure` is false if the attempt
    /// is made because the cause of the failure is over.
    void attemptWasScheduled(double delay, bool afterFailure);
    /// The scheduled attempt was cancelled or has begun.
    void attemptWasCancelled() { m_attemptAt.reset(); }
    /// Something that `Situation` contains may have changed.
    void update();
    /// Shows nothing more, because the window closes.
    void stop();

    [[nodiscard]] PictureCondition condition() const { return m_state.condition; }
    /// Why the picture is not live, in one sentence without the camera's host. Empty if that is
    /// unknown.
    [[nodiscard]] QString cause() const;

  private:
    /// How far the current load has come.
    enum class Progress { connecting, connected, answered, described };

    void keepPicture();
    void takeMeasure(const StreamMeasure &measure);
    void fail(const PlaybackFailure &failure);
    [[nodiscard]] PlaybackFailure failureOfSilence() const;
    [[nodiscard]] PictureNoticeFacts noticeFacts(const Situation &situation) const;
    [[nodiscard]] NextAttempt nextAttempt(const Situation &situation) const;
    [[nodiscard]] std::optional<TimeStamp> nextUpdate() const;
    void scheduleUpdate();

    const Environment m_environment;
    QPointer<MPVOpenGLView> m_video;
    QPointer<PictureCover> m_cover;
    std::unique_ptr<PictureNotice> m_notice;
    bool m_isStopped = false;

    // The chosen camera.
    TimeStamp m_chosenAt = 0;
    std::optional<TimeStamp> m_lastFrameAt;
    FrameIntervals m_intervals;
    ShownLateness m_lateness;
    double m_suspectedLateness = 0;
    LatenessWatch m_latenessWatch;
    std::optional<PlaybackFailure> m_failure; // since the last frame

    // The current attempt.
    Progress m_progress = Progress::connecting;
    bool m_hasLink = false;
    bool m_attemptHasFailed = false;
    std::optional<TimeStamp> m_attemptAt; // when the next attempt is made

    PictureState m_state;
    std::shared_ptr<WorkItem> m_update;
    TimeStamp m_updateAt = 0;
};

} // namespace lumvik
