#pragma once

#include <QList>
#include <QMenu>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

class QKeyEvent;

namespace lumvik {

/// A setting that an item turns on and off. An item without `set` is disabled.
struct MainMenuSetting {
    std::function<bool()> isOn;
    std::function<void(bool on)> set;
};

/// The actions of the main menu's items. An item without an action is disabled.
struct MainMenuActions {
    std::function<void()> showCameraSettings;
    std::function<void()> checkForUpdates;
    std::function<void()> terminate;
    std::function<void(int index)> chooseCamera;
    std::function<int()> shownCamera; ///< Returns the index of the chosen camera, or -1.
    /// Chooses the camera `step` places after the chosen one, around the ends of the list.
    std::function<void(int step)> stepCamera;
    std::function<void()> findCameras;
    MainMenuSetting startsAtLogin;
    std::function<void()> toggleFocusArea;
    std::function<QString()> focusAreaTitle; ///< Returns what `toggleFocusArea` would do.
    MainMenuSetting remembersArea;
    std::function<void(bool isLarger)> zoom; ///< Magnifies the picture more, or less.
    std::function<void()> showWholePicture;
    std::function<void()> savePicture;
    std::function<void()> copyPicture;
    MainMenuSetting showsDetails;
    std::function<void()> copyDiagnosis;
    MainMenuSetting staysOnTop;
    MainMenuSetting keepsScreenOn;
    MainMenuSetting notifiesOfLoss;
    std::function<void()> performClose;
    std::function<void()> toggleFullScreen;
    std::function<void()> openLumvikHelp;
    std::function<void()> showQuickHelp;
    std::function<void()> sendFeedback;
    std::function<void()> showAbout;
};

/// The menus "Lumvik", "Camera", "View", "Window" and "Help" and their key equivalents. There is no
/// menu bar: the strip over the picture opens the menus, and every window of the program passes the
/// keys that it does not use to `performKeyEquivalent`. Main thread only.
class MainMenu {
  public:
    explicit MainMenu(const MainMenuActions &actions);

    [[nodiscard]] QList<QMenu *> menus() const;

    /// Which menus a key may reach.
    enum class Scope {
        allMenus,
        programMenus, ///< All but "Camera" and "View", whose items are about the viewer.
    };

    /// Triggers the item with the key equivalent `event` in one of the menus in `scope`. Returns
    /// false if there is no such item or it is disabled, and for the automatic repetition of a key
    /// that is held down.
    [[nodiscard]] bool performKeyEquivalent(const QKeyEvent &event,
                                            Scope scope = Scope::allMenus) const;

    /// Lists the cameras with these names in the menu "Camera". The keys 1 to 9 choose the first
    /// nine.
    void setCameras(const QStringList &names);
    /// Ticks the chosen camera. Must be called when another one was chosen.
    void markShownCamera();

    /// Sets the title of the full-screen item to its current effect: to enter or to exit full
    /// screen.
    void setIsFullScreen(bool isFullScreen);

  private:
    void buildCameraMenu(const MainMenuActions &actions);

    std::vector<std::unique_ptr<QMenu>> m_menus;
    std::function<void(int)> m_chooseCamera;
    std::function<int()> m_shownCamera;
    // All of these are in `m_menus` or owned by a menu.
    QMenu *m_camera = nullptr;
    const QMenu *m_view = nullptr;
    QList<QAction *> m_cameras;
    QAction *m_nextCamera = nullptr;
    QAction *m_previousCamera = nullptr;
    QAction *m_fullScreen = nullptr;
};

} // namespace lumvik
