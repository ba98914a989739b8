#pragma once

#include "configuration/CameraConfigurationStore.h"
#include "editor/CameraListRules.h"
#include "platform/Alerts.h"
#include "platform/FilePanels.h"

#include <QObject>
#include <QPushButton>
#include <QUrl>

#include <functional>
#include <memory>

class QKeyEvent;
class QScreen;

namespace lumvik {

class CameraListModel;
class CameraSettingsWindow;
class CameraTableView;

/// What the editor needs of the world around it. Everything referred to outlives the editor.
struct CameraSettingsEnvironment {
    const CameraConfigurationStore &store;
    const FileManager &fileManager;
    Alerts &alerts;
    FilePanels &filePanels;
    QString webSite; ///< Of the maker, behind the link at the foot.
    std::function<void(const QUrl &)> openUrl;
};

/// What the editor reports, each on the main thread.
struct CameraSettingsHandlers {
    /// Applies a validated list; an error keeps the editor open.
    std::function<tl::expected<void, StoreError>(const CameraList &)> save;
    /// The window has closed. Once; the editor may be destroyed in a later turn.
    std::function<void()> close;
    /// A key that nothing in the window used; answers whether it was.
    std::function<bool(QKeyEvent &)> keyDown;
};

/// The window in which the user edits the camera list: names and addresses in a table, rows added,
/// removed, sorted and moved, the list imported and exported, and all of it saved or given up.
///
/// It works on a draft; nothing reaches the viewer or the disk until `save` succeeds. There is at
/// most one at a time, owned by AppDelegate from "Camera Addresses…" until its window closes. Main
/// thread only.
class CameraSettingsController final : public QObject {
    Q_OBJECT

  public:
    CameraSettingsController(const CameraList &cameras, CameraSettingsEnvironment environment,
                             CameraSettingsHandlers handlers);
    ~CameraSettingsController() override;

    /// Shows the window in the middle of `screen` (nullptr: where the system puts it), with a row
    /// selected if it is one of the list's.
    void show(int selectedRow, bool staysOnTop, const QScreen *screen);
    /// Brings the window to the front.
    void bringToFront();
    void setStaysOnTop(bool staysOnTop);
    /// Closes the window and gives up the edit.
    void close();

    [[nodiscard]] CameraSettingsWindow &window() { return *m_window; }
    [[nodiscard]] const CameraList &draftCameras() const;

    // The buttons' actions. Each first ends an edit in progress, so that what is being typed
    // counts.
    void addCamera();
    void removeCamera();
    void sortCameras(Qt::SortOrder order);
    void importCameras();
    void exportCameras();
    void cancel();
    void save();

    /// Moves the selected camera up (-1) or down (1).
    void moveSelectedCamera(int rows);

  private:
    void connectWindow();
    void updateRemoveButton();
    void windowDidClose();
    void showAlert(const QString &title, const QString &message);
    /// The cleaned list; or nothing, after an alert, with the cell at fault in edit.
    [[nodiscard]] std::optional<CameraList> validatedDraft();
    void selectDroppedRow(int row);

    CameraSettingsEnvironment m_environment;
    CameraSettingsHandlers m_handlers;
    std::unique_ptr<CameraListModel> m_model;
    std::unique_ptr<CameraSettingsWindow> m_window;
    CameraTableView *m_tableView = nullptr; // the window's
    bool m_didClose = false;
};

} // namespace lumvik
