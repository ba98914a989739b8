#include "editor/CameraSettingsController.h"

#include "configuration/CameraConfiguration.h"
#include "editor/CameraFinderSheet.h"
#include "editor/CameraListModel.h"
#include "editor/CameraSettingsWindow.h"
#include "editor/CameraTableView.h"
#include "editor/PastedCameras.h"
#include "platform/LumvikLog.h"
#include "platform/WindowActivation.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QWindow>

#include <utility>

namespace lumvik {

namespace {

/// Returns a window rectangle of `size`, centred in the available area of a screen. The size is
/// reduced if the window and its title bar would not fit into that area.
QRect centredGeometry(const QSize &size, const QRect &available) {
    // An upper bound of the height of the title bar, in points. The actual height is known only
    // after the window has been shown.
    constexpr int titleBarHeight = 40;
    QRect geometry(QPoint(), size.boundedTo(available.size() - QSize(0, titleBarHeight)));
    geometry.moveCenter(available.center());
    geometry.moveTop(qMax(geometry.top(), available.top() + titleBarHeight));
    return geometry;
}

QStringList addressesOf(const CameraList &cameras) {
    QStringList addresses;
    for (const Camera &camera : cameras)
        addresses.append(camera.url);
    return addresses;
}

} // namespace

CameraSettingsController::CameraSettingsController(const CameraList &cameras,
                                                   CameraSettingsEnvironment environment,
                                                   CameraSettingsHandlers handlers)
    : m_environment(std::move(environment))
    , m_handlers(std::move(handlers))
    , m_model(std::make_unique<CameraListModel>(cameras))
    , m_window(std::make_unique<CameraSettingsWindow>(*m_model, m_environment.webSite))
    , m_tableView(&m_window->tableView()) {
    connectWindow();
}

CameraSettingsController::~CameraSettingsController() {
    m_didClose = true; // The close handler must not run any more.
}

void CameraSettingsController::connectWindow() {
    using Self = CameraSettingsController;
    connect(m_window->addButton, &QPushButton::clicked, this, &Self::addCamera);
    connect(m_window->findButton, &QPushButton::clicked, this, &Self::findCameras);
    connect(m_window->removeButton, &QPushButton::clicked, this, &Self::removeCamera);
    connect(m_window->sortAscendingButton, &QPushButton::clicked, this,
            [this] { sortCameras(Qt::AscendingOrder); });
    connect(m_window->sortDescendingButton, &QPushButton::clicked, this,
            [this] { sortCameras(Qt::DescendingOrder); });
    connect(m_window->importButton, &QPushButton::clicked, this, &Self::importCameras);
    connect(m_window->exportButton, &QPushButton::clicked, this, &Self::exportCameras);
    connect(m_window->cancelButton, &QPushButton::clicked, this, &Self::cancel);
    connect(m_window->saveButton, &QPushButton::clicked, this, &Self::save);
    connect(m_tableView, &CameraTableView::selectedRowChanged, this, &Self::updateRemoveButton);
    connect(m_tableView, &CameraTableView::moveRequested, this, &Self::moveSelectedCamera);
    connect(m_tableView, &CameraTableView::removalRequested, m_window->removeButton,
            &QPushButton::click); // A disabled Remove button ignores clicks.
    // The connection is queued, because the drag is still in progress when the drop is reported.
    connect(m_model.get(), &CameraListModel::rowDropped, this, &Self::selectDroppedRow,
            Qt::QueuedConnection);
    connect(m_tableView, &CameraTableView::tooLongTextRefused, this, &Self::tooLongTextWasRefused);
    // The connection is queued, because the field is still being closed when the lines are
    // reported.
    connect(m_tableView, &CameraTableView::linesPasted, this, &Self::addPastedCameras,
            Qt::QueuedConnection);
    m_window->openUrl = m_environment.openUrl;
    m_window->didClose = [this] { windowDidClose(); };
    m_window->keyDown = [this](QKeyEvent &event) {
        return m_handlers.keyDown && m_handlers.keyDown(event);
    };
}

const CameraList &CameraSettingsController::draftCameras() const {
    return m_model->cameras();
}

// ---- The window ----

void CameraSettingsController::show(int selectedRow, bool staysOnTop, const QScreen *screen) {
    m_window->setWindowFlag(Qt::WindowStaysOnTopHint, staysOnTop);
    if (screen != nullptr)
        m_window->setGeometry(centredGeometry(m_window->size(), screen->availableGeometry()));
    m_window->show();
    m_tableView->selectCamera(selectedRow,
                              Scrolling::intoView); // Scrolling needs the final size of the table.
    updateRemoveButton();
    bringToFront();
    m_tableView->setFocus();
}

void CameraSettingsController::bringToFront() {
    // The state is set on the QWidget. The widget is notified of a state that is set on its QWindow
    // only in a later event, and would report the window as minimised until then.
    m_window->setWindowState(m_window->windowState() & ~Qt::WindowMinimized);
    // The request may come from outside the program, just after the viewer was activated.
    // QWidget::activateWindow() would then use an older time stamp than the activation of the
    // viewer, and the window manager would ignore the call.
    if (QWindow *window = m_window->windowHandle())
        activateWindow(*window, {});
}

void CameraSettingsController::setStaysOnTop(bool staysOnTop) {
    // The flag is set on the QWindow, because QWidget::setWindowFlag() would hide and recreate the
    // window.
    if (QWindow *window = m_window->windowHandle())
        window->setFlag(Qt::WindowStaysOnTopHint, staysOnTop);
}

void CameraSettingsController::close() {
    m_window->close();
}

void CameraSettingsController::windowDidClose() {
    if (std::exchange(m_didClose, true))
        return;
    if (m_finder)
        m_finder->close(); // The sheet does not close with its window.
    if (m_handlers.close)
        m_handlers.close();
}

void CameraSettingsController::updateRemoveButton() {
    const bool canRemove = canRemoveCamera(draftCameras().size(), m_tableView->selectedRow() >= 0);
    // A disabled button passes the focus to its neighbour. The next press of the space bar would
    // then sort the list instead of doing nothing.
    if (!canRemove && m_window->removeButton->hasFocus())
        m_tableView->setFocus();
    m_window->removeButton->setEnabled(canRemove);
}

void CameraSettingsController::showAlert(const QString &title, const QString &message) {
    m_environment.alerts.runModal({.style = Alert::Style::warning,
                                   .messageText = title,
                                   .informativeText = message,
                                   .buttons = {QStringLiteral("OK")}});
}

// ---- Editing the list ----

bool CameraSettingsController::appendCamera(const Camera &camera) {
    std::optional<CameraListExcess> excess = excessOf({camera});
    if (draftCameras().size() >= mostCameras)
        excess = {.kind = CameraListExcess::Kind::tooManyCameras,
                  .row = mostCameras,
                  .name = camera.name};
    if (excess) {
        showAlert(excess->kind == CameraListExcess::Kind::tooManyCameras
                      ? QStringLiteral("Too many cameras")
                      : QStringLiteral("Text too long"),
                  errorDescription(*excess));
        return false;
    }
    m_model->append(camera);
    m_tableView->selectCamera(m_model->rowCount() - 1, Scrolling::intoView);
    updateRemoveButton();
    return true;
}

void CameraSettingsController::addCamera() {
    m_tableView->endEditing();
    if (appendCamera({.name = QStringLiteral("New Camera"), .url = QStringLiteral("rtsp://")}))
        m_tableView->editCell(m_model->rowCount() - 1, CameraListModel::name);
}

void CameraSettingsController::findCameras() {
    m_tableView->endEditing();
    if (m_finder)
        return;
    m_finder = new CameraFinderSheet(m_environment.mainQueue, m_environment.makeSearch,
                                     m_environment.logins, m_window.get());
    connect(m_finder, &CameraFinderSheet::addRequested, this,
            &CameraSettingsController::addFoundCamera);
    m_finder->setListedAddresses(addressesOf(draftCameras()));
    m_finder->openAndSearch();
}

void CameraSettingsController::addFoundCamera(const Camera &camera) {
    LumvikLog::protectAddresses({camera.url});
    if (appendCamera(camera) && m_finder)
        m_finder->setListedAddresses(addressesOf(draftCameras()));
}

void CameraSettingsController::addPastedCameras(const QString &lines) {
    const PastedCameras pasted = pastedCameras(lines, addressesOf(draftCameras()));
    LumvikLog::protectAddresses(addressesOf(pasted.cameras));
    for (const Camera &camera : pasted.cameras) {
        if (!appendCamera(camera))
            return; // the user was told that the list is full
    }
    if (!pasted.problems.isEmpty())
        showAlert(QStringLiteral("Not every line was added"), pasted.problems);
}

void CameraSettingsController::tooLongTextWasRefused(int row, int column) {
    // A field refuses a text twice if it is much too long.
    if (std::exchange(m_lengthReportIsPending, true))
        return;
    // The alert is shown later, because the field still handles the input that it has refused.
    QMetaObject::invokeMethod(
        this,
        [this, row, column] {
            reportTooLongText(row, column);
            m_lengthReportIsPending = false;
        },
        Qt::QueuedConnection);
}

void CameraSettingsController::reportTooLongText(int row, int column) {
    LumvikLog::protectAddresses(addressesOf(draftCameras()));
    using Kind = CameraListExcess::Kind;
    showAlert(QStringLiteral("Text too long"),
              errorDescription(CameraListExcess{
                  .kind = column == CameraListModel::name ? Kind::longName : Kind::longAddress,
                  .row = row,
                  .name = draftCameras().value(row).name}));
}

void CameraSettingsController::removeCamera() {
    m_tableView->endEditing();
    if (draftCameras().size() <= fewestCameras) {
        showAlert(QStringLiteral("Keep one camera"),
                  QStringLiteral("Lumvik needs at least one camera in the list."));
        return;
    }
    const int row = m_tableView->selectedRow();
    if (row < 0)
        return;
    m_model->remove(row);
    m_tableView->selectCamera(rowAfterRemoving(row, m_model->rowCount()), Scrolling::keepPlace);
    updateRemoveButton();
}

void CameraSettingsController::sortCameras(Qt::SortOrder order) {
    m_tableView->endEditing();
    const std::optional<Camera> selected =
        m_tableView->selectedRow() < 0
            ? std::nullopt
            : std::optional(draftCameras().at(m_tableView->selectedRow()));
    m_model->setCameras(sortedByName(draftCameras(), order));
    if (selected)
        m_tableView->selectCamera(static_cast<int>(draftCameras().indexOf(*selected)),
                                  Scrolling::intoView);
    updateRemoveButton();
}

void CameraSettingsController::moveSelectedCamera(int rows) {
    m_tableView->endEditing();
    const int source = m_tableView->selectedRow();
    const int destination = source + rows;
    if (source < 0 || destination < 0 || destination >= m_model->rowCount())
        return;
    m_model->move(source, destination);
    m_tableView->selectCamera(destination, Scrolling::intoView);
}

void CameraSettingsController::selectDroppedRow(int row) {
    m_tableView->selectCamera(row, Scrolling::intoView);
}

// ---- Files ----

void CameraSettingsController::importCameras() {
    m_tableView->endEditing();
    const auto path =
        m_environment.filePanels.chooseFileToOpen({.title = QStringLiteral("Import Camera List"),
                                                   .prompt = QStringLiteral("Import"),
                                                   .suggestedName = {}},
                                                  m_window.get());
    if (!path)
        return;
    const QString title = QStringLiteral("Could not import cameras");
    const auto bytes =
        m_environment.fileManager.contents(*path, CameraConfigurationStore::largestDocument);
    if (!bytes) {
        showAlert(title, errorDescription(bytes.error()));
        return;
    }
    auto document = CameraConfiguration::decoded(*bytes);
    if (!document || document->cameras.isEmpty()) {
        showAlert(title, errorDescription(CameraConfigurationError::invalidFile));
        return;
    }
    LumvikLog::protectAddresses(addressesOf(document->cameras));
    if (const auto excess = excessOf(document->cameras)) {
        showAlert(title, errorDescription(*excess));
        return;
    }
    replaceDraft(document->cameras);
}

void CameraSettingsController::replaceDraft(const CameraList &cameras) {
    LumvikLog::protectAddresses(addressesOf(cameras));
    m_model->setCameras(cameras);
    m_tableView->selectCamera(0, Scrolling::intoView);
    updateRemoveButton();
}

void CameraSettingsController::exportCameras() {
    m_tableView->endEditing();
    const auto cameras = validatedDraft();
    if (!cameras)
        return;
    const auto path = m_environment.filePanels.chooseFileToSave(
        {.title = QStringLiteral("Export Camera List"),
         .prompt = QStringLiteral("Export"),
         .suggestedName = QStringLiteral("lumvik-cameras.json")},
        m_window.get());
    if (!path)
        return;
    const auto exported = m_environment.store.exportCameras(*cameras, *path);
    if (!exported)
        showAlert(QStringLiteral("Could not export cameras"), errorDescription(exported.error()));
}

std::optional<CameraList> CameraSettingsController::validatedDraft() {
    // A camera's name may contain an address.
    LumvikLog::protectAddresses(addressesOf(draftCameras()));
    auto validated = validatedCameras(draftCameras());
    if (validated)
        return *std::move(validated);
    const CameraListProblem &problem = validated.error();
    showAlert(problem.title + LumvikLog::redacted(problem.nameInTitle), problem.message);
    if (problem.row) {
        m_tableView->editCell(*problem.row, problem.field == CameraField::name
                                                ? CameraListModel::name
                                                : CameraListModel::address);
    }
    return std::nullopt;
}

// ---- Saving and cancelling ----

void CameraSettingsController::cancel() {
    close();
}

void CameraSettingsController::save() {
    m_tableView->endEditing();
    const auto cameras = validatedDraft();
    if (!cameras)
        return;
    const auto saved = saveUnlessChanged(*cameras);
    if (!saved)
        showAlert(QStringLiteral("Could not save cameras"), errorDescription(saved.error()));
    else if (*saved)
        close();
}

tl::expected<bool, StoreError>
CameraSettingsController::saveUnlessChanged(const CameraList &cameras) {
    const auto saved = m_handlers.save(cameras, ChangedList::refuse);
    if (!saved && saved.error() == StoreError(CameraConfigurationError::changedElsewhere))
        return resolveChange(cameras);
    return saved.map([] { return true; });
}

tl::expected<bool, StoreError> CameraSettingsController::resolveChange(const CameraList &cameras) {
    enum Answer { reloadList, saveAnyway, cancelSaving };
    const int answer = m_environment.alerts.runModal(
        {.style = Alert::Style::warning,
         .messageText = errorDescription(CameraConfigurationError::changedElsewhere),
         .informativeText =
             QStringLiteral("Another program or computer has saved a different list. Reload "
                            "discards your changes and shows that list. Save Anyway saves your "
                            "list in its place."),
         .buttons = {QStringLiteral("Reload"), QStringLiteral("Save Anyway"),
                     QStringLiteral("Cancel")}});
    if (m_didClose) // The program is being terminated.
        return false;
    if (answer == saveAnyway)
        return m_handlers.save(cameras, ChangedList::replace).map([] { return true; });
    if (answer == reloadList)
        reload();
    return false;
}

void CameraSettingsController::reload() {
    const auto loaded = m_handlers.reload();
    if (loaded)
        replaceDraft(*loaded);
    else
        showAlert(QStringLiteral("Could not reload cameras"), errorDescription(loaded.error()));
}

} // namespace lumvik
