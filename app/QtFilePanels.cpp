#include "app/QtFilePanels.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPointer>
#include <QStandardPaths>

#include <memory>

namespace lumvik {

namespace {

/// A panel for files of the kind JSON; the caller says what for.
std::unique_ptr<QFileDialog> makePanel(const FilePanel &panel, QWidget *parent) {
    auto dialog = std::make_unique<QFileDialog>(
        parent, panel.title, QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
    dialog->setNameFilter(QStringLiteral("JSON (*.json)"));
    dialog->setLabelText(QFileDialog::Accept, panel.prompt);
    return dialog;
}

bool mayReplace(const QString &path, const QString &title, QWidget *parent) {
    const QString question = QStringLiteral("%1 already exists.\nDo you want to replace it?")
                                 .arg(QFileInfo(path).fileName());
    return QMessageBox::warning(parent, title, question, QMessageBox::Yes | QMessageBox::No,
                                QMessageBox::No) == QMessageBox::Yes;
}

std::optional<QString> answer(std::unique_ptr<QFileDialog> dialog) {
    // It goes with its parent, should that one be closed meanwhile.
    const QPointer<QFileDialog> panel(dialog.release());
    const bool isChosen = panel->exec() == QDialog::Accepted;
    if (panel.isNull())
        return std::nullopt;
    const std::unique_ptr<QFileDialog> owned(panel);
    const QStringList files = owned->selectedFiles();
    return isChosen && !files.isEmpty() ? std::optional(files.first()) : std::nullopt;
}

} // namespace

std::optional<QString> QtFilePanels::chooseFileToOpen(const FilePanel &panel, QWidget *parent) {
    auto dialog = makePanel(panel, parent);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    return answer(std::move(dialog));
}

std::optional<QString> QtFilePanels::chooseFileToSave(const FilePanel &panel, QWidget *parent) {
    auto dialog = makePanel(panel, parent);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    // A suffix that the dialog adds by itself comes after its question whether to replace a file;
    // so it is added here.
    dialog->selectFile(panel.suggestedName);
    auto chosen = answer(std::move(dialog));
    if (!chosen || !QFileInfo(*chosen).suffix().isEmpty())
        return chosen;
    const QString completed = *chosen + QStringLiteral(".json");
    if (!QFileInfo::exists(completed) || mayReplace(completed, panel.title, parent))
        return completed;
    return std::nullopt;
}

} // namespace lumvik
