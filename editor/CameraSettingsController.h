#pragma once

#include "configuration/CameraListKeeper.h"
#include "editor/CameraFinderController.h"
#include "editor/CameraListRules.h"
#include "platform/Alerts.h"
#include "platform/FilePanels.h"
#include "platform/MainQueue.h"

#include <QObject>
#include <QPointer>
#include <QPushButton>
#include <QUrl>

#include <functional>
#include <memory>

class QKeyEvent;
class QScreen;

namespace lumvik {

class CameraFinderSheet;
class CameraListModel;
class CameraSettingsWindow;
class CameraTableView;

/// The services that the editor uses. All referenced objects must outlive the editor.
struct CameraSettingsEnvironment {
    const CameraConfigurationStore &store;
    const FileManager &fileManager;
    Alerts &alerts;
    FilePanels &filePanels;
    QString webSite; ///< The address of the link in the footer.
    std::function<void(const QUrl &)> openUrl;
    MainQueue &mainQueue;
    /// Makes the search for cameras on the network.
    CameraFinderController::MakeSearch makeSearch;
    CameraFinderController::Logins logins = {};
};

/// The handlers that the editor calls, all on the main thread.
struct CameraSettingsHandlers {
    /// Saves and applies a validated list. The editor stays open when an error is returned. If the
    /// error is changedElsewhere, the editor asks the user what to do.
    std::function<tl::expected<void, StoreError>(const CameraList &, ChangedList)> save;
    /// Loads and applies the stored list, which replaces the draft.
    std::function<tl::expected<CameraList, StoreError>()> reload;
    /// Called once when the window has closed. The handler must not destroy the editor, but may
    /// schedule its destruction for a later iteration of the event loop.
    std::function<void()> close;
    /// Called for a key that no widget in the window handled. Returns whether the key was handled.
    std::function<bool(QKeyEvent &)> keyDown;
};

/// The controller of the window in which the user edits the camera list. The user can edit names
/// and addresses in a table, add, remove, sort and move rows, import and export the list, and save
/// or discard the changes.
///
/// The editor works on a draft: neither the viewer nor the stored list changes until `save`
/// succeeds. AppDelegate owns at most one editor at a time. The editor exists from the choice of
/// the menu item "Camera Addresses…" until its window closes. Main thread only.
class CameraSettingsController final : public QObject {
    Q_OBJECT

  public:
    CameraSettingsController(const CameraList &cameras, CameraSettingsEnvironment environment,
                             CameraSettingsHandlers handlers);
    ~CameraSettingsController() override;

    /// Shows the window in the middle of `screen`, or where the window system places it if `screen`
    /// is nullptr. Selects `selectedRow` if the list has such a row.
    void show(int selectedRow, bool staysOnTop, const QScreen *screen);
    /// Brings the window to the front.
    void bringToFront();
    void setStaysOnTop(bool staysOnTop);
    /// Closes the window and discards the draft.
    void close();

    [[nodiscard]] CameraSettingsWindow &window() { return *m_window; }
    [[nodiscard]] const CameraList &draftCameras() const;

    // The actions of the buttons. All actions except `cancel` first commit an edit in progress, so
    // that the text typed so far is part of the draft.
    void addCamera();
    /// Opens the sheet in which the user searches for cameras. Does nothing while it is open.
    void findCameras();
    void removeCamera();
    void sortCameras(Qt::SortOrder order);
    void importCameras();
    void exportCameras();
    void cancel();
    void save();

    /// Adds a camera for each line of `lines` that is understood as an address and is not in the
    /// draft yet, and tells the user about the others.
    void addPastedCameras(const QString &lines);

    /// Moves the selected camera up (-1) or down (1).
    void moveSelectedCamera(int rows);

  private:
    void connectWindow();
    void updateRemoveButton();
    /// Appends a camera to the draft and selects it. If the list has no room or the camera exceeds
    /// a bound, shows an alert and returns false.
    [[nodiscard]] bool appendCamera(const Camera &camera);
    void addFoundCamera(const Camera &camera);
    void windowDidClose();
    void showAlert(const QString &title, const QString &message);
    /// Returns the validated list. If the draft is invalid, shows an alert, starts editing the
    /// invalid cell and returns nothing.
    [[nodiscard]] std::optional<CameraList> validatedDraft();
    void selectDroppedRow(int row);
    void tooLongTextWasRefused(int row, int column);
    /// Tells the user that a field did not accept a text that was typed or pasted.
    void reportTooLongText(int row, int column);
    /// Saves `cameras`, or resolves the change if the stored list was changed elsewhere. Returns
    /// whether `cameras` were saved.
    [[nodiscard]] tl::expected<bool, StoreError> saveUnlessChanged(const CameraList &cameras);
    /// Asks the user what to do with a list that was changed elsewhere, and does it. Returns
    /// whether `cameras` were saved.
    [[nodiscard]] tl::expected<bool, StoreError> resolveChange(const CameraList &cameras);
    void reload();
    /// Replaces the draft by `cameras` and selects the first of them.
    void replaceDraft(const CameraList &cameras);

    CameraSettingsEnvironment m_environment;
    CameraSettingsHandlers m_handlers;
    std::unique_ptr<CameraListModel> m_model;
    std::unique_ptr<CameraSettingsWindow> m_window;
    CameraTableView *m_tableView = nullptr; // Owned by the window.
    QPointer<CameraFinderSheet> m_finder;   // Deletes itself when it is closed.
    bool m_didClose = false;
    bool m_lengthReportIsPending = false;
};

} // namespace lumvik
