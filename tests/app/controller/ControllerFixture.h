#pragma once

#include "fakes/AppDelegateAccess.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/FakeAlerts.h"
#include "fakes/FakeCameraLink.h"
#include "fakes/FakeDesktop.h"
#include "fakes/FakeFilePanels.h"
#include "fakes/FakeMpv.h"
#include "fakes/FakeNetwork.h"
#include "fakes/FakeSleepMonitor.h"
#include "fakes/FakeUpdates.h"
#include "fakes/TemporaryHome.h"
#include "fakes/VirtualMainQueue.h"

#include <QMenu>
#include <QQuickItem>
#include <QTimeZone>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>

namespace lumvik::test {

/// The preference that holds the window frame.
inline const QString frameKey = QStringLiteral("mainWindowFrame");

using namespace Qt::StringLiterals;

/// The controller with its whole environment replaced: the engine, the clock, the network, the
/// machine's sleep, the random numbers, the alerts and the user's folders. The controller's window
/// is a real one, drawn in software on a platform without a display.
///
///     TEST_F(MyTest, PausesOnSleep) {
///         launchAndPlay(threeCameras());
///         sleepMonitor.sleep();
///         EXPECT_EQ(mpv.texts().back(), "mpv_command_string(core 1, stop)");
///     }
///
/// A test drives the controller through its public operations and through the fakes below. Tests
/// observe the calls to the engine, the log, the window and its views, the alerts and the stored
/// preferences. `access` is only for state that can be observed nowhere else.
class ControllerFixture : public testing::Test {
  protected:
    /// Waits for threads that may still be destroying a player.
    ~ControllerFixture() override;

    static void SetUpTestSuite();

    /// Creates the controller and launches it with `cameras` stored on disk.
    void launch(const CameraList &cameras);
    /// Creates the controller and launches it with whatever is on disk.
    void launch();
    /// Runs deferred work and draws the window until a player was created or has failed to start.
    void startPlaying();
    /// Calls `launch` and then `startPlaying`.
    void launchAndPlay(const CameraList &cameras);

    /// What the controller takes for the current date and time.
    [[nodiscard]] QDateTime currentDate() const;

    /// Runs the event loop until `predicate` returns true. Returns false after ten seconds.
    [[nodiscard]] bool eventually(const std::function<bool()> &predicate);

    /// Runs deferred work, including work that the pump's thread submits, until `predicate` returns
    /// true.
    [[nodiscard]] bool runUntil(const std::function<bool()> &predicate) {
        return queue.runUntil(predicate);
    }

    /// Resizes the window's content, like a user.
    void resizeWindow(const QSize &size);

    /// Moves the pointer over the viewer or away from it, and finishes the fade of the controls.
    void setPointerOverViewer(bool isOver);

    /// Makes the engine report a video of this shape, and delivers the report.
    void reportVideo(std::int64_t width, std::int64_t height, std::int64_t rotation = 0);

    /// Runs `count` recovery attempts in a row, none of which produces a picture.
    void failRecoveryAttempts(int count);

    /// Calls `check` once for each condition in which playback is impossible, and passes the name
    /// of the condition: the viewer is closing, the machine sleeps, there is no network path, there
    /// is no camera. Launches a new controller for each condition, with three cameras except in the
    /// last.
    void whilePlaybackIsImpossible(const std::function<void(const char *why)> &check);

    /// Makes the window's graphics fail, as if a driver had been replaced, and notifies the
    /// controller.
    void loseGraphics();
    /// Brings the window's graphics back and notifies the controller.
    void restoreGraphics();

    // ---- The window and its views ----

    /// The viewer window; null before the launch has created it.
    [[nodiscard]] static ViewerWindow *findWindow();
    [[nodiscard]] static ViewerWindow &window();
    [[nodiscard]] static MPVOpenGLView *videoHost() { return view<MPVOpenGLView>(); }
    [[nodiscard]] static CameraPicker *cameraPicker() { return view<CameraPicker>(); }
    [[nodiscard]] static EmptyStateLabel *emptyStateLabel() { return view<EmptyStateLabel>(); }
    [[nodiscard]] static PinToggleButton *stayOnTopButton() { return view<PinToggleButton>(); }
    [[nodiscard]] static FocusViewerButton *focusViewerButton() {
        return view<FocusViewerButton>();
    }
    [[nodiscard]] static CloseViewerButton *closeViewerButton() {
        return view<CloseViewerButton>();
    }
    [[nodiscard]] static MainMenuStrip *mainMenuStrip() { return view<MainMenuStrip>(); }
    [[nodiscard]] static DraggableContentView *interactionView() {
        return view<DraggableContentView>();
    }
    /// The menus of the main menu, from left to right.
    [[nodiscard]] static QList<QMenu *> menus();
    /// Returns the item of the main menu with this title, or null.
    [[nodiscard]] static QAction *menuItem(const QString &title);
    /// Whether the controls are shown or fading in. The close button is enabled only in this state.
    [[nodiscard]] static bool controlsAreWanted() { return closeViewerButton()->isEnabled(); }
    /// The names of the cameras that the picker offers.
    [[nodiscard]] static QStringList cameraNames();

    // ---- What the log and the network show ----

    /// How many players the running controller has started, or tried to start.
    [[nodiscard]] std::int64_t playerGeneration() const;
    /// Whether a preflight probe has begun and not ended.
    [[nodiscard]] bool probeIsUnderWay() const;
    /// The texts of the log's `playback` category.
    [[nodiscard]] QStringList playbackLog() const { return log.texts(u"playback"_s); }
    /// The texts of all log lines at level error.
    [[nodiscard]] QStringList errors() const;

    [[nodiscard]] AppDelegateAccess access() { return AppDelegateAccess(*delegate); }

    const CapturedLog log;
    FakeMpv mpv;
    VirtualMainQueue queue;
    TemporaryHome home;
    FakeAlerts alerts;
    FakeFilePanels filePanels;
    FakeSleepMonitor sleepMonitor;
    FakeNotifier notifier;
    FakeScreenInhibitor screenInhibitor;
    FakeNetworkPath networkPath;
    FakeNetwork network;
    FakeCameraLinks cameraLinks;
    QString autostartFolder = home.path(u"autostart"_s);
    double random = 0;    // the next random numbers, from 0 to below 1
    int terminations = 0; // how often the controller has asked to quit
    /// Whether the program is drawn with OpenGL, so that a restart without OpenGL may help.
    bool canRestartWithSoftwareRenderer = false;
    int rendererRestarts = 0;
    int loadedPlayers = 0; // how often a player's first picture was reported
    int exitLimits = 0;    // how often the time until the exit was limited
    FakeUpdates updates;
    QDateTime date{QDate(2026, 5, 1), QTime(12, 0), QTimeZone::utc()};
    bool dateFollowsQueue = false; // whether `date` moves with the virtual clock
    InstalledVersion installedVersion{.version = u"1.5"_s, .build = u"7"_s};
    int cores = 1; // of the machine that decodes
    std::optional<ThreadTimes> decodingTimes;
    QString webHost = u"maker.example"_s;
    QString feedbackAddress = u"feedback@maker.example"_s;
    QList<QUrl> openedUrls; // passed to the user's other programs
    bool urlsCanBeOpened = true;
    std::unique_ptr<AppDelegate> delegate;

  private:
    template<typename View>
    [[nodiscard]] static View *view() {
        for (QQuickItem *item : window().contentItem()->childItems()) {
            if (auto *found = dynamic_cast<View *>(item))
                return found;
        }
        return nullptr;
    }
};

/// Three cameras. The address of the first contains a password.
[[nodiscard]] CameraList threeCameras();

} // namespace lumvik::test
