#pragma once

#include "app/controller/AboutPanel.h"
#include "app/controller/AppEnvironment.h"
#include "app/controller/AreaMemory.h"
#include "app/controller/DecodingSupervisor.h"
#include "app/controller/DesktopSupervisor.h"
#include "app/controller/LaunchRequest.h"
#include "app/controller/LoginSupervisor.h"
#include "app/controller/MainMenu.h"
#include "app/controller/PictureExporter.h"
#include "app/controller/PictureSupervisor.h"
#include "app/controller/StreamDetailsController.h"
#include "app/controller/ZoomController.h"
#include "configuration/Camera.h"
#include "configuration/CameraDetailsStore.h"
#include "configuration/CameraListKeeper.h"
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
#include "supervision/StreamTransports.h"
#include "viewer/CameraPicker.h"
#include "viewer/DraggableContentView.h"
#include "viewer/EmptyStateLabel.h"
#include "viewer/KeyboardNavigation.h"
#include "viewer/MainMenuStrip.h"
#include "viewer/ViewerButtons.h"
#include "viewer/ViewerControlLayout.h"
#include "window/IdlePointer.h"
#include "window/ViewerWindow.h"
#include "window/WindowFrameMemory.h"

#include <QObject>
#include <QSet>
#include <QVariantAnimation>

#include <array>
#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>

namespace lumvik {

/// Whether a window is resized to the shape of the picture that it shows.
enum class WindowReshaping { keepFrame, reshape };

/// The application's controller. It owns the viewer window, the player instance and the editor,
/// decides what happens when the user, the engine, the network or the system reports something, and
/// receives the application's life-cycle notifications.
///
/// The class is implemented in one file per topic. Each group of functions below is headed by the
/// name of its file in app/controller.
///
/// State. The controller is the only writer of all members below, and no other object keeps a copy
/// of them. Rules that need no state of their own are free functions in supervision/, viewer/ and
/// window/; the controller passes them values and acts on the result.
///
/// Threads. Every function and every member is used on the main thread only. Reports from other
/// threads (the engine's event pump, the probe's and the network path's queues) are posted to
/// `environment.mainQueue` first. Callbacks that the controller gives to views and services hold it
/// weakly, so a late report finds no controller and does nothing. Reports about a player or a
/// selection also carry its generation and are ignored if the generation is no longer current.
///
/// Units. Times and durations are in seconds, as in MainQueue. Positions and sizes are in points,
/// and window frames are in the coordinates of the whole desktop; an area of the video is in pixels
/// of the source.
class AppDelegate final : public QObject {
    Q_OBJECT

  public:
    explicit AppDelegate(AppEnvironment environment);
    ~AppDelegate() override;

    // ---- Life cycle: AppDelegate+Launch.cpp ----

    /// Builds the menu and the window, and starts playback once the window has been drawn. Called
    /// once.
    void applicationDidFinishLaunching();
    /// Hides the controls, because a viewer that is not in use ignores the pointer.
    void applicationDidResignActive();
    /// Stops deferred work first and then the player. May be called repeatedly.
    void applicationWillTerminate();
    /// Always true: closing the viewer quits the application.
    [[nodiscard]] bool applicationShouldTerminateAfterLastWindowClosed() const { return true; }

    // ---- Requests of later instances: AppDelegate+Activation.cpp ----

    /// Brings the program's windows to the front and carries out `request`. Returns false, and does
    /// nothing, while the application is exiting.
    [[nodiscard]] bool handleLaunchRequest(const LaunchRequest &request);
    /// Carries out `action` in a later turn of the event loop. Does nothing if an alert is waiting
    /// for the user by then.
    void performSoon(LaunchRequest::Action action);

    // ---- Window: AppDelegate+Window.cpp ----

    /// Builds the viewer window with its views and controls, restores its saved state and shows it.
    /// Called once.
    void createWindow();
    /// Applies the state of the pin to the levels of the windows and stores it.
    void toggleStayOnTop();
    /// Closes the viewer and thus quits the application.
    void closeCameraViewer();
    void windowDidMove();
    void windowDidResize();
    void windowDidChangeState();
    void windowWillClose();
    /// Restarts the application without OpenGL, because the window's graphics cannot be set up. If
    /// that is not possible, tells the user and quits. `details` is for the log.
    void graphicsFailed(const QString &details);

    // ---- Controls: AppDelegate+Controls.cpp ----

    /// Decides whether the controls are visible, and fades them in or out if `animated`, or
    /// switches them at once.
    void updateViewerControls(bool animated);
    /// Chooses the arrangement for the width of the window's content and places every control.
    void updateViewerControlLayout();
    /// Stacks the menu strip and the four controls above everything else in the window.
    void keepViewerControlsInFront();
    void viewerHoverChanged(bool isOver);

    // ---- Camera picker: AppDelegate+CameraPicker.cpp ----

    void cameraMenuItemSelected(int index);
    /// Chooses the camera `step` places after the chosen one, around the ends of the list.
    void stepCamera(int step);
    /// The menu is the camera picker's, not the main menu.
    void menuWillOpen();
    void menuDidClose();

    // ---- Focus area: AppDelegate+Area.cpp ----

    /// Does what the focus button offers: starts the selection of an area, cancels it, or returns
    /// from an area to the whole picture.
    void toggleFocusArea();
    /// Makes `crop` fill the window and stops constraining the window's aspect ratio.
    void applyFocusedCameraView(const VideoFocusCrop &crop, WindowReshaping reshaping);
    /// Ends a selection or a focused view. Restores the whole picture and, after a focused view,
    /// the frame that the window had before.
    void restoreOriginalCameraView();
    void updateFocusButton();
    /// Whether the camera has not been chosen anew since the area was.
    [[nodiscard]] bool areaIsOfThisSelection() const {
        return areaSelectionGeneration == playbackSelectionGeneration;
    }
    /// `area` is in the interaction view's coordinates.
    void focusSelectionCompleted(const QRectF &area);
    void focusSelectionCancelled();
    /// Called when the right mouse button is pressed over the picture. Switches between the area
    /// and the whole picture in a focused view; otherwise toggles the temporary maximum or, in full
    /// screen, between the whole picture and one without bars.
    void secondaryClick();

    // ---- Full screen: AppDelegate+FullScreen.cpp ----

    /// Enters or leaves full screen.
    void doubleClick();
    [[nodiscard]] bool isFullScreen() const;
    /// Returns false, without effect, in a window that is not in full screen.
    bool leaveFullScreen();
    /// Whether the whole picture is shown between bars. Full screen and maximised windows cannot
    /// take the camera's shape.
    [[nodiscard]] bool pictureIsFitted() const;
    /// Tells the engine how the picture is scaled to the window.
    void scalePicture();
    /// Does the same if it has changed with the state of the window.
    void updatePictureScaling();
    /// In full screen, switches between the whole picture and one without bars.
    void toggleFilledPicture();
    /// Gives the magnification and the visible part to the engine.
    void applyZoom();

    // ---- Temporary maximum: AppDelegate+TemporaryMaximum.cpp ----

    /// Makes the window as large as its screen allows, or restores the frame that the window had
    /// before it was enlarged. The enlarged frame is never stored. Does nothing in a window that is
    /// in full screen, maximised or minimised.
    void toggleTemporaryMaximum();

    // ---- Player instance: AppDelegate+Player.cpp ----

    /// Creates, configures and attaches a player instance and loads the selected camera. Does
    /// nothing if there is an instance already or no camera. A failure is shown to the user and
    /// leaves no instance.
    void startPlayer();
    /// Destroys the player instance, if there is one. Blocks until its event pump has stopped.
    void stopPlayerEngine();
    /// Opens the camera at `index` in the player instance. Does nothing without an instance or if
    /// `index` is outside the list.
    void loadCamera(int index);
    /// Sets a property of the player instance, if there is one.
    void setMPVProperty(const char *name, const char *value);
    /// Reads the video's geometry from `handle`, stores it, and applies the aspect ratio to the
    /// window: at once after a load, and later if it changes while the picture is shown. Until
    /// then, the picture is fitted into the window (AppDelegate+PictureShape.cpp).
    void updateWindowAspectRatio(mpv_handle *handle);
    /// Shows `message` in an alert, in a later turn of the event loop. Does nothing if an alert
    /// with this message is already open.
    void showPlaybackError(const QString &message);

    /// Waits at most `deadline` for all player instances to be destroyed, and returns whether they
    /// are. If they are not, the process must not return from main.
    [[nodiscard]] bool finishPlayers(std::chrono::milliseconds deadline) {
        return playerTeardown.finish(deadline);
    }

    // ---- Engine events and camera selection: AppDelegate+Supervisor.cpp ----

    /// Handles an engine event of the player instance `generation`. Events of earlier instances are
    /// ignored.
    void handlePlaybackEngineEvent(const PlaybackEngineEvent &event, std::int64_t generation);
    /// Switches to the camera at `index` and stores the choice. Does nothing if `index` is outside
    /// the list.
    void selectCamera(int index);

    // ---- Camera addresses: AppDelegate+CameraSettings.cpp ----

    /// Opens the editor of the camera list, or brings the open editor to the front.
    void showCameraSettings();
    /// Opens the sheet in which the user searches for cameras, in the editor.
    void findCameras();
    /// Stores `saved` and applies it to the picker, the selection and playback. If storing fails,
    /// nothing changes.
    [[nodiscard]] tl::expected<void, StoreError>
    applySavedCameras(const CameraList &saved, ChangedList changed = ChangedList::refuse);
    /// Loads the stored list again, applies it like a saved one and returns it. If no list with a
    /// camera can be loaded, nothing changes.
    [[nodiscard]] tl::expected<CameraList, StoreError> reloadCameras();

    // ---- Updates: AppDelegate+Updates.cpp ----

    /// Checks for updates unless the last successful check is more recent than
    /// `automaticUpdateCheckPeriod`. Called once, at the end of the launch.
    void checkForUpdatesIfNeeded();
    /// Checks at the user's request and always reports the result.
    void checkForUpdates();

    // ---- About, help and feedback: AppDelegate+Help.cpp ----

    void showAbout();
    void openLumvikHelp();
    void showQuickHelp();
    void sendFeedback();
    /// Opens `address` in the user's program for it. If there is no such program, shows the address
    /// so that the user can copy it.
    void openUrl(const QUrl &address);

    // ---- Recovery: AppDelegate+Recovery.cpp ----

    /// Schedules a recovery attempt. Does nothing while the viewer is closing, the system sleeps,
    /// the camera cannot be reached, the camera list is empty, or an attempt is already scheduled.
    void schedulePlaybackRecovery(const PlaybackRecovery &request);
    /// Makes an attempt at once, at the user's request, even without a network path. Asks first if
    /// the camera may lock the account.
    void tryNow();

    // ---- Rendered frames: AppDelegate+Watchdog.cpp ----

    /// Called for every frame of the player instance `generation` that was shown.
    void recordRenderedFrame(std::int64_t generation);
    /// The watchdog's tick: checks whether frames arrive in time and schedules recovery if not.
    void evaluatePlaybackHealth();

    // ---- Network path: AppDelegate+NetworkPath.cpp ----

    /// Starts to monitor sleep, wake and the network path. Called once.
    void startSystemRecoveryMonitoring();
    void handleNetworkPath(const NetworkPathSignature &signature);

    // ---- Preflight: AppDelegate+Preflight.cpp ----

    /// Probes the selected camera's host, then starts the player, or reloads the camera in the
    /// existing one. Does nothing while a probe is running or playback is not possible.
    void requestLocalNetworkAccessAndStart();
    /// Ends the probe over `connection`, if that is the running one, and continues with playback.
    void finishLocalNetworkProbe(const std::shared_ptr<NetworkConnection> &connection,
                                 bool reloadPlayer, std::int64_t generation);
    /// Cancels the running probe, if there is one. Playback does not continue.
    void cancelLocalNetworkProbe();

    // ---- Sleep and wake: AppDelegate+Sleep.cpp ----

    /// Suspends playback and stops the stream.
    void systemWillSleep();
    /// Schedules a new connection to the camera.
    void systemDidWake();

  private:
    friend struct AppDelegateAccess; // gives tests access to the private state

    // AppDelegate+Launch.cpp
    void buildMainMenu();
    void loadCameras();
    void startPlaybackOnceDrawn();
    /// From now on, keeps the addresses in `list` out of the log.
    static void protectAddressesOf(const CameraList &list);
    void stopEverything();

    // AppDelegate+Activation.cpp
    void setStartsAtLogin(bool starts);
    void bringToFront(const QByteArray &activationToken);
    void perform(LaunchRequest::Action action);

    // AppDelegate+Help.cpp
    void presentInformation(const QString &title, const QString &message);
    void presentAddress(const QUrl &address);

    // AppDelegate+Details.cpp
    [[nodiscard]] StreamDetailsController::Environment detailsEnvironment();
    [[nodiscard]] StreamDetails streamDetails() const;
    [[nodiscard]] QString rendererName() const;
    [[nodiscard]] QList<StreamDetailsRow> diagnosisVersions() const;
    [[nodiscard]] PictureExporter::Environment exportEnvironment();
    [[nodiscard]] QImage pictureAtItsOwnSize() const;

    // AppDelegate+Updates.cpp
    /// Who started a check. Only a manual check reports that there is no update or that it failed.
    enum class UpdateCheckOrigin { automatic, manual };
    void performUpdateCheck(UpdateCheckOrigin origin);
    void updateCheckSucceeded(const LumvikUpdateCheckResult &result, UpdateCheckOrigin origin);
    void presentAvailableUpdate(const LumvikUpdateManifest &manifest);
    void presentUpdateStatus(const QString &title, const QString &message);

    // AppDelegate+Window.cpp
    [[nodiscard]] ViewerWindowDelegate windowHandlers();
    void createViews();
    void createVideoViews();
    void createControls();
    void hideControls();
    void connectControlFade();
    void restoreWindowState();
    void saveWindowFrame();
    /// Called when the window has lost its graphics and with them the player's render context.
    void graphicsWereLost();
    /// Called when the window has graphics again after a loss.
    void graphicsWereRestored();

    // AppDelegate+Keyboard.cpp
    void setUpKeyboardNavigation();
    /// Handles a key that no item of the window has used. Returns whether the key was used.
    bool keyDown(QKeyEvent &event);
    /// Moves the keyboard focus to the next control (Tab), to the previous one (Shift+Tab), or away
    /// from the controls (Escape). Returns whether the key was used.
    bool moveKeyboardFocus(const QKeyEvent &event);
    /// Moves the view over a magnified picture (the arrow keys). Returns whether the key was used.
    bool moveMagnifiedPicture(const QKeyEvent &event);
    /// Takes the keyboard focus away from the controls when the user clicks.
    void mouseDown();
    void openMainMenu();

    // AppDelegate+Controls.cpp
    [[nodiscard]] ViewerControlReasons controlReasons() const;
    /// Whether there is another reason to show the controls than the pointer.
    [[nodiscard]] bool controlsAreInUse() const;
    /// Returns the rectangles of the visible controls in the interaction view's coordinates.
    [[nodiscard]] QList<QRectF> viewerControlRects() const;
    void fadeControls(bool animated);
    void refreshViewerControls();
    void setControlsEnabled(bool visible);
    void setControlsOpacity(qreal opacity);
    void setControlsVisible(bool visible);
    /// Returns the picker, the pin, the focus button and the close button, in stacking order.
    /// Terminates the process if the window exists and one of them is missing.
    [[nodiscard]] std::array<QQuickItem *, 4> viewerControls() const;

    // AppDelegate+CameraPicker.cpp
    void fillCameraPicker();
    /// Updates the description of the picture for assistive technology.
    void updatePictureDescription();

    // AppDelegate+CameraSettings.cpp
    [[nodiscard]] CameraFinderController::Logins finderLogins();
    void cameraSettingsDidClose();
    bool cameraSettingsKeyDown(const QKeyEvent &event);

    // AppDelegate+Area.cpp
    void connectInteractionView();
    void endFocusSelection();
    /// Shows the area that the selected camera showed last, if the user wishes that, once for each
    /// selection. Returns whether there is one. Call this when the size of the picture is known.
    bool bringBackArea();
    void showFullCameraTemporarily();

    // AppDelegate+PictureShape.cpp
    void takeOnPictureShape();
    /// Whether the window has taken on a shape that the picture no longer has.
    [[nodiscard]] bool pictureHasAnotherShape() const;
    /// From now on, the window takes on the next shape at once.
    void forgetPictureShape();
    void cancelPictureShapeChange();

    // AppDelegate+TemporaryMaximum.cpp
    void temporaryMaximumWasRestored();

    // AppDelegate+FullScreen.cpp
    void hidePointerWhenIdle();
    [[nodiscard]] ZoomController::Environment zoomEnvironment();

    // AppDelegate+Player.cpp
    void configurePlayer(mpv_handle *handle);
    [[nodiscard]] bool initializePlayer(mpv_handle *handle);
    void attachPlayer(mpv_handle *handle);
    void failPlayerStart(mpv_handle *handle, const QString &message);
    /// Destroys a player that has no render context yet, if there is one.
    void abandonPlayerStart(mpv_handle *handle);
    /// Called when the camera at `index` has no address that can be loaded.
    void refuseCameraAddress(int index);
    /// Ends the session with the camera. Waits for that, at most `longestLinkFarewell`, if the
    /// process or the network may be gone in a moment.
    void closeCameraLink();
    /// Returns null if the engine must connect to the camera itself.
    [[nodiscard]] std::unique_ptr<CameraLink> openCameraLink(const CameraEndpoint &endpoint);
    void handleLinkFact(const LinkFact &fact);
    /// Loads the camera over UDP if the fact is that it does not send over TCP. Returns whether
    /// that may still show a picture.
    bool triesUdpAfter(const LinkFact &fact);

    // AppDelegate+CameraSettings.cpp
    /// Replaces the list in use, and starts a new selection with the camera that was shown.
    void applyCameras(const CameraList &list);

    // AppDelegate+Supervisor.cpp
    /// Starts a new selection with the camera at `index` and cancels all work for the previous one.
    void beginPlaybackSelection(int index);
    /// Starts a new selection generation, so that late results of the previous one are ignored.
    void advanceSelectionGeneration();
    void streamDidEnd(const PlaybackEngineEvents::EndFile &end);

    // AppDelegate+Recovery.cpp
    /// False while the viewer is closing, the system sleeps or the camera cannot be reached.
    [[nodiscard]] bool playbackIsPossible() const;
    /// Empty without a camera.
    [[nodiscard]] QString selectedAddress() const;
    /// Whether the selected camera can be reached over the current network path or needs none.
    [[nodiscard]] bool selectedCameraIsReachable() const;
    void scheduleRetry(double delay, bool recreatesPlayer);
    void retryPlayback(std::int64_t selectionGeneration, bool recreatesPlayer);
    /// Stops the stream and schedules the load for when the camera's login may be sent again, in
    /// `wait` seconds.
    void awaitLogin(double wait);
    void cancelPlaybackRetry();
    void tryNowWithoutWarning();
    [[nodiscard]] PictureSupervisor::Environment pictureEnvironment();
    [[nodiscard]] PictureSupervisor::Situation pictureSituation() const;
    [[nodiscard]] DesktopSupervisor::Environment desktopEnvironment();

    // AppDelegate+Watchdog.cpp
    /// Reports the first picture of each player to the environment, and logs whether the graphics
    /// card decodes the video.
    void playerHasLoaded();
    void startPlaybackWatchdog();
    /// Evaluates playback, unless the process has stood still since the previous call.
    void watchdogDidFire();
    /// Loads the camera again with more decoding threads if its decoding has fallen behind.
    void superviseDecoding();
    /// Replaces the connection, whose pictures are old, after the process has stood still for `gap`
    /// seconds.
    void processDidStandStill(TimeStamp gap);
    void scheduleStalePictureCheck();
    void hideStalePicture();
    /// Called when the engine's end-of-stream flag changes.
    void endReachedDidChange();

    // AppDelegate+Preflight.cpp
    void startOrReload();
    void beginLocalNetworkProbe(const std::shared_ptr<NetworkConnection> &connection);
    void observeLocalNetworkProbe(const std::shared_ptr<NetworkConnection> &connection);
    void scheduleLocalNetworkProbeFallback(const std::shared_ptr<NetworkConnection> &connection);

    // AppDelegate+Sleep.cpp
    void holdSleepUntilStopped(SleepMonitor::SleepDelay delay);

    AppEnvironment environment;
    std::unique_ptr<MainMenu> mainMenu; // declared before the window, whose strip refers to it

    // The viewer window and its views. The window's content owns the views.
    std::unique_ptr<ViewerWindow> window;
    MPVOpenGLView *videoHost = nullptr;
    CameraPicker *cameraPicker = nullptr;
    EmptyStateLabel *emptyStateLabel = nullptr;
    PinToggleButton *stayOnTopButton = nullptr;
    FocusViewerButton *focusViewerButton = nullptr;
    CloseViewerButton *closeViewerButton = nullptr;
    MainMenuStrip *mainMenuStrip = nullptr;
    DraggableContentView *interactionView = nullptr;
    std::unique_ptr<KeyboardNavigation> keyboardNavigation; // declared after the window it uses
    std::unique_ptr<IdlePointer> idlePointer;               // declared after the window it uses

    // The viewer's controls.
    bool usesCompactViewerControls = false;
    bool pointerIsOverViewer = false;
    bool cameraMenuIsOpen = false;
    bool mainMenuIsOpen = false;
    bool viewerControlsAreVisible = false;
    bool mainMenuStripFits = true;       // whether the window is wide enough for the strip
    QVariantAnimation viewerControlFade; // animates the controls' opacity from 0 to 1 or back

    // Cameras and the player instance.
    QList<Camera> cameras;
    CameraListKeeper cameraListKeeper;
    mpv_handle *mpv = nullptr; // owned: created by startPlayer, destroyed by stopPlayerEngine
    std::unique_ptr<MPVEventLoop> mpvEventLoop;
    std::unique_ptr<MPVObserver> mpvObserver;
    PlayerTeardown playerTeardown;
    std::unique_ptr<CameraLink> cameraLink;  // of the current load; empty without a link
    std::int64_t cameraLinkGeneration = 0;   // counts the loads, so that late facts are ignored
    bool engineUsesUdp = false;              // the engine's setting; the link knows TCP only
    std::int64_t playerGeneration = 0;       // counts the players that were started
    std::int64_t loadedPlayerGeneration = 0; // the last player that has shown a picture
    std::int64_t playbackSelectionGeneration = 0; // counts the selections of a camera
    PlaybackSupervisorState playbackState = PlaybackSupervisorState::stopped;
    std::unique_ptr<RepeatingTimer> playbackWatchdog;
    TimeStamp lastWatchdogTick = 0;              // or the last wake, if that was later
    std::shared_ptr<WorkItem> stalePictureCheck; // scheduled while the picture may become too old
    std::shared_ptr<WorkItem> playbackRetry; // the scheduled recovery attempt; never more than one
    std::int64_t playbackRetryCount = 0;     // attempts since the last proven stream or selection
    TimeStamp liveSince = 0;                 // when the frames of the current stream began
    std::optional<TimeStamp> lastFrameRenderedAt; // empty until the current load draws a frame
    TimeStamp lastCameraLoad = -std::numeric_limits<TimeStamp>::infinity();
    std::optional<double> appliedVideoAspectRatio; // width over height
    std::shared_ptr<WorkItem> pictureShapeChange;  // scheduled while the picture has another shape
    bool playbackAwaitsWindow = false; // playback starts once the window can show something
    QSet<QString> shownPlaybackErrors; // the messages of the alerts that are open

    // The network and the system's sleep.
    std::shared_ptr<NetworkConnection> localNetworkProbe;
    std::shared_ptr<WorkItem> localNetworkProbeFallback; // limits the probe; scheduled with it
    SerialQueue localNetworkProbeQueue;
    SerialQueue networkPathQueue;
    std::unique_ptr<NetworkPathMonitor> networkPathMonitor; // declared after its queue
    std::optional<NetworkPathSignature> networkPathSignature;
    bool networkPathIsSatisfied = true; // until the first update, so that the launch need not wait
    bool systemIsSleeping = false;
    SleepDelayHolder sleepDelayHolder; // delays sleep until the stream has stopped

    // The open editor, and a closed editor whose own event loop may still be running.
    std::unique_ptr<CameraSettingsController> settingsController;
    std::unique_ptr<CameraSettingsController> closedSettingsController;
    int settingsEventLoopLevel = 0; // the number of nested event loops when the editor was opened

    // Updates.
    std::unique_ptr<UpdateChecker> updateService;
    std::shared_ptr<UpdateCheck> updateCheckTask; // the newest check, running or finished

    std::unique_ptr<AboutPanel> aboutPanel; // created on first use

    // The window's special states.
    WindowFrameMemory windowFrameMemory; // the last frame that the user gave the window
    std::optional<QRect> restoreFrameBeforeTemporaryMaximum;
    QRect screenAreaBeforeTemporaryMaximum;
    bool isTemporarilyMaximized = false;
    std::shared_ptr<WorkItem> temporaryMaximumEnd; // runs when the frame has been restored
    bool isClosingViewer = false;
    bool graphicsFailureIsShown = false;

    // The focus area.
    std::optional<VideoFocusCrop> focusCrop;   // set while the view is focused on an area
    std::int64_t areaSelectionGeneration = -1; // the selection of a camera that it belongs to
    bool isSelectingFocusArea = false;
    bool isShowingFullCameraTemporarily = false; // the whole picture in the focused window
    bool fillsFullScreen = false;                // the picture, as the user wishes
    bool pictureWasFitted = false;               // when it was last scaled
    std::optional<VideoSourceGeometry> sourceVideoGeometry;
    std::optional<QRect> restoreFrameBeforeFocus;
    QRect screenAreaBeforeFocus;

    LoginSupervisor loginSupervisor;
    CameraDetailsStore cameraDetails;
    AreaMemory areaMemory; // declared after the details that it uses
    StreamTransports streamTransports;
    DecodingSupervisor decodingSupervisor; // declared after the details that it uses
    PictureSupervisor pictureSupervisor;   // declared after the window that contains its items
    DesktopSupervisor desktopSupervisor;
    StreamDetailsController streamDetailsController;
    ZoomController zoomController;
    PictureExporter pictureExporter;
};

} // namespace lumvik
