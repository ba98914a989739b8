#pragma once

#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QUrl>

#include <functional>

namespace lumvik {

class CameraListModel;
class CameraTableView;

/// The editor's window, which lays out the heading, the explanation, the table, the buttons and the
/// footer. CameraSettingsController implements the behaviour of the controls. Main thread only.
class CameraSettingsWindow final : public QDialog {
    Q_OBJECT

  public:
    /// The window does not own `model`, which must outlive it.
    CameraSettingsWindow(CameraListModel &model, const QString &webSite);

    [[nodiscard]] CameraTableView &tableView() { return *m_tableView; }

    QPushButton *addButton = nullptr;
    QPushButton *findButton = nullptr;
    QPushButton *removeButton = nullptr;
    QPushButton *sortAscendingButton = nullptr;
    QPushButton *sortDescendingButton = nullptr;
    QPushButton *importButton = nullptr;
    QPushButton *exportButton = nullptr;
    QPushButton *cancelButton = nullptr;
    QPushButton *saveButton = nullptr;

    /// Called with the address of the footer's link when the user clicks the link.
    std::function<void(const QUrl &)> openUrl;
    /// Called whenever the window is closed, whether by a button, a key or the window manager.
    std::function<void()> didClose;
    /// Called for a key that no widget in the window handled. Returns whether the key was handled.
    std::function<bool(QKeyEvent &)> keyDown;

  protected:
    void changeEvent(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void done(int result) override;

  private:
    QWidget *makeHeading();
    QWidget *makeTable(CameraListModel &model);
    QWidget *makeButtons();
    QWidget *makeFooter(const QString &webSite);
    QPushButton *makeButton(const QString &title, const QString &toolTip = {});

    void dimExplanation();

    CameraTableView *m_tableView = nullptr;
    QLabel *m_explanation = nullptr;
};

} // namespace lumvik
