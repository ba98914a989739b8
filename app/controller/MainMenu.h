#pragma once

#include <QList>
#include <QMenu>

#include <functional>
#include <memory>
#include <vector>

class QKeyEvent;

namespace lumvik {

/// What the main menu's items do. An item without an action is disabled.
struct MainMenuActions {
    std::function<void()> showCameraSettings;
    std::function<void()> checkForUpdates;
    std::function<void()> terminate;
    std::function<void()> performClose;
    std::function<void()> toggleFullScreen;
    std::function<void()> openLumvikHelp;
    std::function<void()> showQuickHelp;
    std::function<void()> sendFeedback;
    std::function<void()> showAbout;
};

/// The three menus "Lumvik", "Window" and "Help" and their key equivalents. There is no menu bar:
/// the strip over the picture opens them, and each window of the program hands its unused keys to
/// `performKeyEquivalent`. Main thread only.
class MainMenu {
  public:
    explicit MainMenu(const MainMenuActions &actions);

    [[nodiscard]] QList<QMenu *> menus() const;

    /// Runs the item whose key equivalent `event` is. False when there is none, when it
    /// is disabled, and for a key that repeats because it is held.
    [[nodiscard]] bool performKeyEquivalent(const QKeyEvent &event) const;

    /// Names the full-screen item after what it would do.
    void setIsFullScreen(bool isFullScreen);

  private:
    std::vector<std::unique_ptr<QMenu>> m_menus;
    QAction *m_fullScreen = nullptr; // belongs to its menu
};

} // namespace lumvik
