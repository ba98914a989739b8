#pragma once

#include "configuration/Camera.h"
#include "editor/CameraFinderController.h"

#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeView>

namespace lumvik {

/// The sheet "Find Cameras" of the editor: the cameras that answer a search, a user name and a
/// password for the chosen one, and its streams. The search begins when the sheet is opened by
/// `openAndSearch`, and everything that is awaited ends when the sheet closes, whereupon the sheet
/// deletes itself. Main thread only.
class CameraFinderSheet final : public QDialog {
    Q_OBJECT

  public:
    /// `queue` must outlive the sheet.
    CameraFinderSheet(MainQueue &queue, const CameraFinderController::MakeSearch &makeSearch,
                      CameraFinderController::Logins logins, QWidget *parent);

    /// Shows the sheet, which blocks the window of its parent, and starts the search.
    void openAndSearch();
    /// Sets the addresses of the camera list, whose cameras and streams are marked.
    void setListedAddresses(const QStringList &addresses);

    QTreeView *cameraView = nullptr;
    QTreeView *streamView = nullptr;
    QLineEdit *userField = nullptr;
    QLineEdit *passwordField = nullptr;
    QLabel *searchLabel = nullptr; ///< The state of the search.
    QLabel *streamLabel = nullptr; ///< The state of the question, or a reason.
    QPushButton *searchButton = nullptr;
    QPushButton *showButton = nullptr;
    QPushButton *addButton = nullptr;
    QPushButton *closeButton = nullptr;

  Q_SIGNALS:
    /// The user wants a camera in the list. A slot that adds it calls `setListedAddresses`.
    void addRequested(const lumvik::Camera &camera);

  protected:
    void keyPressEvent(QKeyEvent *event) override;
    void done(int result) override;

  private:
    QLayout *makeSearchRow();
    QLayout *makeLoginRow();
    QLayout *makeButtonRow();
    void connectControls();

    void chooseCamera();
    void showStreams();
    void addCamera();
    void handleSearchChange();
    void handleStreamsChange();
    void updateControls();
    [[nodiscard]] int streamRow() const;
    [[nodiscard]] QPushButton *buttonForReturn() const;

    CameraFinderController m_finder;
    CameraFinderController::StreamState m_shownState = CameraFinderController::StreamState::none;
    /// Whether the login was edited since the camera was asked.
    bool m_isLoginEdited = false;
    QString m_addedName; ///< Of the camera that was just added, or an empty text.
};

} // namespace lumvik
