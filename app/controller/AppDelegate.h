#pragma once

#include "app/controller/AboutPanel.h"
#include "app/controller/AppEnvironment.h"
#include "app/controller/LaunchRequest.h"
#include "app/controller/MainMenu.h"
#include "configuration/Camera.h"
#include "editor/CameraSettingsController.h"
#include "engine/MPVEventLoop.h"
#include "engine/MPVObserver.h"
#include "engine/MPVOpenGLView.h"
#include "engine/PlayerTeardown.h"
#include "engine/VideoFocusCrop.h"
#include "engine/VideoSourceGeometry.h"
#include "platform/SerialQueue.h"
#include "supervision/PlaybackSupervisorState.h"
#include "supervision/RecoverySchedule.h"
#include "supervision/SleepDelayHolder.h"
#include "viewer/CameraPicker.h"
#include "viewer/DraggableContentView.h"
#include "viewer/EmptyStateLabel.h"
#include "viewer/KeyboardNavigation.h"
#include "viewer/MainMenuStrip.h"
#include "viewer/ViewerButtons.h"
#include "window/ViewerWindow.h"
#include "window/WindowFrameMemory.h"

#include <QObject>
#include <QSet>
#include <QVariantAnimation>

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>

namespace lumvik {

/// Whether a window takes the shape of what it is to show.
enum class WindowReshaping { keepFrame, reshape };

/// The application's controller: the one object that owns the viewer window, the player instance
/// and the state of both, and that receives the application's life-cycle notifications.
///
/// Everything here is read and written on the main thread only; reports from other threads are
/// posted to the main queue before they come here. Callbacks given to views and services hold the
/// controller weakly. The implementation is split by topic; each group below names its file.
class AppDelegate final : public QObject {
    Q_OBJECT

  public:
    explicit AppDelegate(AppEnvironment environment);
    ~AppDelegate() override;

    // ---- Life cycle: app/AppDelegate+Launch.cpp ----

    /// Builds the menu and the window and starts playback once the window has been drawn. Once.
    void applicationDidFinishLaunching();
    /// Hides the controls: the pointer no longer counts as over a viewer that is not in use.
    void applicationDidResignActive();
    /// Stops everything in order, deferred work before the player. Harmless when repeated.
    void applicationWillTerminate();
    /// Always true: closing the viewer quits the application.
    [[nodiscard]] bool applicationShouldTerminateAfterLastWindowClosed() const { return true; }

    // ---- Another start of the program: app/AppDelegate+Activation.cpp ----

    /// Brings the program's windows to the front and does what `request` asks. False, without
    /// effect, while the program ends.
    [[nodiscard]] bool handleLaunchRequest(const LaunchRequest &request);
    /// Does what the menu item of that name does, in a later turn, unless an alert waits for the
    /// user then.
    void performSoon(LaunchRequest::Action action);

    // ---- Window: viewer/AppDelegate+Window.cpp ----

    /// Builds the viewer window with its views and controls, restores its saved state and shows it.
    /// Once.
    void createWindow();
    /// Puts the viewer above other windows or among them, as the pin says, and remembers it.
    void toggleStayOnTop();
    /// Closes the viewer as if its window's close button had been pressed, which quits the
    /// application.
    void closeCameraViewer();
    void windowDidMove();
    void windowDidResize();
    /// The window was put into full screen, maximised, minimised or restored.
    void windowDidChangeState();
    void windowWillClose();
    /// The window's graphics cannot be set up: says so and quits. `details` is for the log.
    void graphicsFailed(const QString &details);

    // ---- Controls: viewer/AppDelegate+Controls.cpp ----

    /// Recomputes whether the controls are visible and fades them in or out, or switches at once.
    void updateViewerControls(bool animated);
    /// Chooses the arrangement for the content's width and puts every control in its place.
    void updateViewerControlLayout();
    /// Stacks the menu strip and the four controls above everything else in the window.
    void keepViewerControlsInFront();
    void viewerHoverChanged(bool isOver);

    // ---- Camera picker: viewer/AppDelegate+CameraPicker.cpp ----

    /// The user chose the camera at `index` in the picker, whose menu is closed.
    void cameraMenuItemSelected(int index);
    /// The camera picker's own menu opens or has closed; the main menu has nothing to do with
    /// these.
    void menuWillOpen();
    void menuDidClose();

    // ---- Focus area: viewer/AppDelegate+FocusArea.cpp ----

    /// The focus button: begins the choice of an area, cancels it, or, while an area is shown,
    /// brings the whole picture back.
    void toggleFocusArea();
    /// Shows only `crop`, filling the window, and frees the window's shape.
    void applyFocusedCameraView(const VideoFocusCrop &crop, WindowReshaping reshaping);
    /// Ends a choice or a focused view: the whole picture, and the window's frame from before.
    void restoreOriginalCameraView();
    /// Brings the focus button's look and texts up to date.
    void updateFocusButton();
    /// The user chose `area`, in the interaction view's coordinates.
    void focusSelectionCompleted(const QRectF &area);
    void focusSelectionCancelled();
    /// The right button was pressed over the picture: flips between the area and the whole picture
    /// while focused, and else toggles the temporary maximum.
    void secondaryClick();

    // ---- Temporary maximum: viewer/AppDelegate+TemporaryMaximum.cpp ----

    /// Makes the window as large as its screen allows, or brings its frame from before back. The
    /// enlarged frame is never remembered. Does nothing in full screen, nor in a maximised or
    /// minimised window.
    void toggleTemporaryMaximum();

    // ---- Player instance: engine/AppDelegate+Player.cpp ----

    /// Creates, configures and attaches a player instance and loads the selected camera. Does
    /// nothing when there is an instance already or no camera. A failure is shown and leaves no
    /// instance.
    void startPlayer();
    /// Tears the player instance down; harmless without one. Blocks until the event pump has left.
    void stopPlayerEngine();
    /// Opens camera `index` in the live instance. Does nothing without one or for an index outside
    /// the list.
    void loadCamera(int index);
    /// Sets a property of the live instance, whatever the result; does nothing without one.
    void setMPVProperty(const char *name, const char *value);
    /// Reads the video's shape from `handle`, records it, and gives it to the window.
    void updateWindowAspectRatio(mpv_handle *handle);
    /// Shows `message` in an alert, in a later turn, unless one that says the same is open.
    void showPlaybackError(const QString &message);

    /// Waits until every player instance is gone, for at most `deadline`, and answers whether they
    /// are. While one is not, the process must not return from main.
    [[nodiscard]] bool finishPlayers(std::chrono::milliseconds deadline) {
        return playerTeardown.finish(deadline);
    }

    // ---- Supervision: supervision/AppDelegate+Supervisor.cpp ----

    /// An engine event of the player instance `generation`; those of earlier instances are ignored.
    void handlePlaybackEngineEvent(const PlaybackEngineEvent &event, std::int64_t generation);
    /// Switches to the camera at `index`, and remembers the choice. Ignores an index outside the
    /// list.
    void selectCamera(int index);

    // ---- Camera addresses: editor/AppDelegate+CameraSettings.cpp ----

    /// Opens the editor of the camera list, or brings the one that is open to the front.
    void showCameraSettings();
    /// Stores a list and shows it: the chooser, the selection, playback. An error changes nothing.
    [[nodiscard]] tl::expected<void, StoreError> applySavedCameras(const CameraList &saved);

    // ---- Updates: updates/AppDelegate+Updates.cpp ----

    /// Checks for updates unless the last check that succeeded was less than a day ago. Once, at
    /// the end of the launch.
    void checkForUpdatesIfNeeded();
    /// Checks because the user asks, and answers in any case.
    void checkForUpdates();

    // ---- About, help and feedback: app/AppDelegate+Help.cpp ----

    void showAbout();
    void openLumvikHelp();
    void showQuickHelp();
    void sendFeedback();
    /// Opens `address` in the program that the user has for it. Where there is none, shows it to be
    /// copied.
    void openUrl(const QUrl &address);

    // ---- Recovery: supervision/AppDelegate+Recovery.cpp ----

    /// Schedules an attempt at recovery. Refused, without a trace, while the viewer closes, the
    /// system sleeps, no network path is usable, there is no camera, or an attempt waits already.
    void schedulePlaybackRecovery(const PlaybackRecovery &request);

    // ---- Rendered frames: supervision/AppDelegate+Watchdog.cpp ----

    /// A frame of the player instance `generation` was shown. Called for every frame.
    void recordRenderedFrame(std::int64_t generation);
    /// Looks whether frames come as they should and asks for recovery where not: the watchdog's
    /// tick.
    void evaluatePlaybackHealth();

    // ---- Network path: supervision/AppDelegate+NetworkPath.cpp ----

    /// Begins to follow sleep, wake and the network path. Once.
    void startSystemRecoveryMonitoring();
    void handleNetworkPath(const NetworkPathSignature &signature);

    // ---- Preflight: supervision/AppDelegate+Preflight.cpp ----

    /// Probes the chosen camera's host and then starts the player, or reloads the camera in the one
    /// there is. Does nothing while a probe is under way, or when nothing may be started now.
    void requestLocalNetworkAccessAndStart();
    /// Ends the probe over `connection`, if it is the one under way, and goes on with playback.
    void finishLocalNetworkProbe(const std::shared_ptr<NetworkConnection> &connection,
                                 bool reloadPlayer, std::int64_t generation);
    /// Ends a probe without going on. Harmless without one.
    void cancelLocalNetworkProbe();

    // ---- Sleep and wake: supervision/AppDelegate+Sleep.cpp ----

    /// Parks playback and stops the stream.
    void systemWillSleep();
    /// Makes a fresh connection to the camera.
    void systemDidWake();

  private:
    friend struct AppDelegateAccess; // how tests look at the state below

    // app/AppDelegate+Launch.cpp
    void buildMainMenu();
    void loadCameras();
    void startPlaybackOnceDrawn();
    /// Keeps the addresses of `list` out of the log from now on.
    static void protectAddressesOf(const CameraList &list);
    void stopEverything();

    // app/AppDelegate+Activation.cpp
    void bringToFront(const QByteArray &activationToken);
    void perform(LaunchRequest::Action action);

    // app/AppDelegate+Help.cpp
    void presentAddress(const QUrl &address);

    // updates/AppDelegate+Updates.cpp
    /// Who asked for a check: a manual one answers whatever comes of it.
    enum class UpdateCheckOrigin { automatic, manual };
    void performUpdateCheck(UpdateCheckOrigin origin);
    void updateCheckSucceeded(const LumvikUpdateCheckResult &result, UpdateCheckOrigin origin);
    void presentAvailableUpdate(const LumvikUpdateManifest &manifest);
    void presentUpdateStatus(const QString &title, const QString &message);

    // viewer/AppDelegate+Window.cpp
    void createViews();
    void restoreWindowState();
    void saveWindowFrame();
    /// The graphics of the window went away, with the player's render context; or are there again.
    void graphicsWereLost();
    void graphicsAreBack();

    // viewer/AppDelegate+Keyboard.cpp
    void setUpKeyboardNavigation();
    /// A key that no item of the window took; answers whether it was used.
    bool keyDown(QKeyEvent &event);
    /// Tab and Shift+Tab lead over the controls, Escape away from them.
    bool walkControls(const QKeyEvent &event);
    /// A click takes the keyboard away from the controls.
    void mouseDown();
    void openMainMenu();

    // viewer/AppDelegate+Controls.cpp
    /// Where the controls that can be seen are, in the interaction view's coordinates.
    [[nodiscard]] QList<QRectF> viewerControlRects() const;
    void fadeControls(bool animated);
    /// Brings the controls up to date with another list of cameras.
    void refreshViewerControls();
    void setControlsEnabled(bool visible);
    void setControlsOpacity(qreal opacity);
    void setControlsVisible(bool visible);
    /// The picker, the pin, the focus and the close button, in the order of their stacking. That
    /// one is missing once the window is there stops the program.
    [[nodiscard]] std::array<QQuickItem *, 4> viewerControls() const;

    // viewer/AppDelegate+CameraPicker.cpp
    void fillCameraPicker();
    /// Tells assistive technology which camera's picture the window shows, if it shows one.
    void describePicture();

    // editor/AppDelegate+CameraSettings.cpp
    void cameraSettingsDidClose();
    bool cameraSettingsKeyDown(const QKeyEvent &event);

    // viewer/AppDelegate+FocusArea.cpp
    void connectInteractionView();
    void endFocusSelection();
    void showFullCameraTemporarily();

    // viewer/AppDelegate+TemporaryMaximum.cpp
    void temporaryMaximumWasRestored();

    // engine/AppDelegate+Player.cpp
    void configurePlayer(mpv_handle *handle);
    [[nodiscard]] bool initializePlayer(mpv_handle *handle);
    void attachPlayer(mpv_handle *handle);
    void failPlayerStart(mpv_handle *handle, const QString &message);

    // supervision/AppDelegate+Supervisor.cpp
    /// Makes the camera at `index` the one to play: what was under way for another one ends.
    void beginPlaybackSelection(int index);
    void streamDidEnd(const PlaybackEngineEvents::EndFile &end);

    // supervision/AppDelegate+Recovery.cpp
    void retryPlayback(std::int64_t selectionGeneration, bool recreatesPlayer);
    void cancelPlaybackRetry();

    // supervision/AppDelegate+Watchdog.cpp
    /// Says, once per player, that it shows a picture, and whether the graphics card decodes it.
    void playerHasLoaded();
    void startPlaybackWatchdog();
    void hideStalePicture();
    void endOfStreamMayHaveBeenReached();

    // supervision/AppDelegate+Preflight.cpp
    void startOrReload();
    void beginLocalNetworkProbe(const std::shared_ptr<NetworkConnection> &connection);

    // supervision/AppDelegate+Sleep.cpp
    void holdSleepUntilStopped(SleepMonitor::SleepDelay delay);

    AppEnvironment environment;
    std::unique_ptr<MainMenu> mainMenu; // before the window, whose strip refers to it

    // The viewer window and its views; the views belong to the window's content.
    std::unique_ptr<ViewerWindow> window;
    MPVOpenGLView *videoHost = nullptr;
    CameraPicker *cameraPicker = nullptr;
    EmptyStateLabel *emptyStateLabel = nullptr;
    PinToggleButton *stayOnTopButton = nullptr;
    FocusViewerButton *focusViewerButton = nullptr;
    CloseViewerButton *closeViewerButton = nullptr;
    MainMenuStrip *mainMenuStrip = nullptr;
    DraggableContentView *interactionView = nullptr;
    std::unique_ptr<KeyboardNavigation> keyboardNavigation; // after the window

    // The viewer's controls.
    bool usesCompactViewerControls = false;
    bool pointerIsOverViewer = false;
    bool cameraMenuIsOpen = false;
    bool mainMenuIsOpen = false;
    bool viewerControlsAreVisible = false;
    bool mainMenuStripFits = true;       // whether the window has room for the strip
    QVariantAnimation viewerControlFade; // runs over the controls' opacity

    // Cameras and the player instance.
    QList<Camera> cameras;
    mpv_handle *mpv = nullptr; // owned: created by startPlayer, destroyed by stopPlayerEngine
    std::unique_ptr<MPVEventLoop> mpvEventLoop;
    std::unique_ptr<MPVObserver> mpvObserver;
    PlayerTeardown playerTeardown;
    std::int64_t playerGeneration = 0;
    std::int64_t loadedPlayerGeneration = 0; // the last player that has shown a picture
    std::int64_t playbackSelectionGeneration = 0;
    PlaybackSupervisorState playbackState = PlaybackSupervisorState::stopped;
    std::unique_ptr<RepeatingTimer> playbackWatchdog;
    std::shared_ptr<WorkItem> playbackRetry; // the one attempt at recovery that waits
    std::int64_t playbackRetryCount = 0;     // in a row, since a frame was drawn or a camera chosen
    std::optional<TimeStamp> lastFrameRenderedAt;
    TimeStamp lastCameraLoad = -std::numeric_limits<TimeStamp>::infinity();
    std::optional<double> appliedVideoAspectRatio;
    bool playbackAwaitsWindow = false; // a start is due once the window can show something
    QSet<QString> shownPlaybackErrors; // the texts of the alerts that are open

    // The network and the machine's sleep.
    std::shared_ptr<NetworkConnection> localNetworkProbe;
    std::shared_ptr<WorkItem> localNetworkProbeFallback;
    SerialQueue localNetworkProbeQueue;
    SerialQueue networkPathQueue;
    std::unique_ptr<NetworkPathMonitor> networkPathMonitor; // after its queue, which outlives it
    std::optional<NetworkPathSignature> networkPathSignature;
    bool networkPathIsSatisfied = true; // until told otherwise: a launch waits for no update
    bool systemIsSleeping = false;
    SleepDelayHolder sleepDelayHolder; // until the stream has stopped

    // The editor, while it is open; and one that has closed but may still be at work.
    std::unique_ptr<CameraSettingsController> settingsController;
    std::unique_ptr<CameraSettingsController> closedSettingsController;
    int settingsLoopLevel = 0; // the event loops within each other when the editor was opened

    // Updates.
    std::unique_ptr<UpdateChecker> updateService;
    std::shared_ptr<UpdateCheck> updateCheckTask; // the newest check, over or not

    std::unique_ptr<AboutPanel> aboutPanel; // once it was asked for

    // The window's special states.
    WindowFrameMemory windowFrameMemory; // what the window's frame was before it was maximised
    std::optional<QRect> restoreFrameBeforeTemporaryMaximum;
    QRect screenAreaBeforeTemporaryMaximum;
    bool isTemporarilyMaximized = false;
    std::shared_ptr<WorkItem> temporaryMaximumEnd; // due while the window is on its way back
    bool isClosingViewer = false;
    bool graphicsFailureIsShown = false;

    // The focus area.
    std::optional<VideoFocusCrop> focusCrop; // while the view is focused
    bool isSelectingFocusArea = false;
    bool isShowingFullCameraTemporarily = false; // the whole picture in the focused window
    std::optional<VideoSourceGeometry> sourceVideoGeometry;
    std::optional<QRect> restoreFrameBeforeFocus;
    QRect screenAreaBeforeFocus;
};

} // namespace lumvik
