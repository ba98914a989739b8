#include "app/QtFilePanels.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPointer>
#include <QStandardPaths>

#include <memory>

namespace lumvik {

namespace {

/// Returns a panel for JSON files. The caller sets its mode.
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
    // The parent may be closed while the panel is open, and then deletes the panel.
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
    // QFileDialog can append a default suffix, but does so only after it has asked whether to
    // replace an existing file. The suffix is therefore appended here.
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
