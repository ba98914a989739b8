#pragma once

#include "fakes/AppDelegateAccess.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/FakeAlerts.h"
#include "fakes/FakeFilePanels.h"
#include "fakes/FakeMpv.h"
#include "fakes/FakeNetwork.h"
#include "fakes/FakeSleepMonitor.h"
#include "fakes/FakeUpdates.h"
#include "fakes/TemporaryHome.h"
#include "fakes/VirtualMainQueue.h"

#include <QTimeZone>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>

namespace lumvik::test {

using namespace Qt::StringLiterals;

/// The controller with everything around it replaced: the engine, the clock, the network, the
/// machine's sleep, chance, the alerts, and the folders of the user. Its window is a real one on a
/// platform without a display, drawn by software.
class ControllerFixture : public testing::Test {
  protected:
    /// Waits for the players, whose end may have been left to a thread.
    ~ControllerFixture() override;

    static void SetUpTestSuite();

    /// Makes the controller and launches it with `cameras` on the disk.
    void launch(const CameraList &cameras);
    /// Launches what is on the disk already.
    void launch();
    /// Runs deferred work and draws the window until a player was made, or its start has failed.
    void startPlaying();
    /// Both.
    void launchAndPlay(const CameraList &cameras);

    /// Runs the event loop until `predicate` answers true.
    [[nodiscard]] bool eventually(const std::function<bool()> &predicate);

    /// Gives the window's content a size, as the user would.
    void resizeWindow(const QSize &size);

    /// Makes the engine report a video of this shape, and lets the news arrive.
    void reportVideo(std::int64_t width, std::int64_t height, std::int64_t rotation = 0);

    /// Calls `check` in each of the conditions in which nothing may be played, with that one's
    /// name: while the viewer closes, while the machine sleeps, without a network path, without a
    /// camera. Afterwards all is as it was.
    void whilePlaybackIsBarred(const std::function<void(const char *why)> &check);

    /// Brings what the pump's thread has submitted to the controller.
    [[nodiscard]] bool runUntil(const std::function<bool()> &predicate) {
        return queue.runUntil(predicate);
    }

    [[nodiscard]] AppDelegateAccess access() { return AppDelegateAccess(*delegate); }
    [[nodiscard]] QStringList playbackLog() const { return log.texts(u"playback"_s); }
    /// The texts of the log's lines at level error.
    [[nodiscard]] QStringList errors() const;

    const CapturedLog log;
    FakeMpv mpv;
    VirtualMainQueue queue;
    TemporaryHome home;
    FakeAlerts alerts;
    FakeFilePanels filePanels;
    FakeSleepMonitor sleepMonitor;
    FakeNetworkPath networkPath;
    FakeNetwork network;
    double random = 0; // what chance answers, 0 to below 1
    int terminations = 0;
    int loadedPlayers = 0; // how often a player's first picture was told
    int exitLimits = 0;    // how often the time until the exit was limited
    FakeUpdates updates;
    QDateTime date{QDate(2026, 5, 1), QTime(12, 0), QTimeZone::utc()};
    InstalledVersion installedVersion{.version = u"1.5"_s, .build = u"7"_s};
    QString webHost = u"maker.example"_s;
    QString feedbackAddress = u"feedback@maker.example"_s;
    QList<QUrl> openedUrls; // with the user's other programs
    bool urlsCanBeOpened = true;
    std::unique_ptr<AppDelegate> delegate;
};

/// Three cameras, the first with a password.
[[nodiscard]] CameraList threeCameras();

} // namespace lumvik::test
