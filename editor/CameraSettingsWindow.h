#pragma once

#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QUrl>

#include <functional>

namespace lumvik {

class CameraListModel;
class CameraTableView;

/// The editor's window: heading, explanation, table, buttons and foot, without any of their
/// behaviour. Main thread only.
class CameraSettingsWindow final : public QDialog {
    Q_OBJECT

  public:
    /// `model` stays the caller's and must outlive the window.
    CameraSettingsWindow(CameraListModel &model, const QString &webSite);

    [[nodiscard]] CameraTableView &tableView() { return *m_tableView; }

    QPushButton *addButton = nullptr;
    QPushButton *removeButton = nullptr;
    QPushButton *sortAscendingButton = nullptr;
    QPushButton *sortDescendingButton = nullptr;
    QPushButton *importButton = nullptr;
    QPushButton *exportButton = nullptr;
    QPushButton *cancelButton = nullptr;
    QPushButton *saveButton = nullptr;

    /// Opens the maker's web site.
    std::function<void(const QUrl &)> openUrl;
    /// Runs when the window was closed in any way.
    std::function<void()> didClose;
    /// Given the keys that nothing in the window used; answers whether it was one of its own.
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
    QWidget *makeFoot(const QString &webSite);
    QPushButton *makeButton(const QString &title, const QString &toolTip = {});

    void dimExplanation();

    CameraTableView *m_tableView = nullptr;
    QLabel *m_explanation = nullptr;
};

} // namespace lumvik
