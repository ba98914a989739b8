#include "app/QtFilePanels.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPointer>
#include <QStandardPaths>

#include <memory>

namespace lumvik {

namespace {

const QString jsonSuffix = QStringLiteral(".json");
const QString jsonFilter = QStringLiteral("JSON (*.json)");

/// Returns a panel for JSON files. The caller sets its mode.
std::unique_ptr<QFileDialog> makePanel(const FilePanel &panel, QWidget *parent) {
    auto dialog = std::make_unique<QFileDialog>(
        parent, panel.title, QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
    dialog->setNameFilter(jsonFilter);
    dialog->setLabelText(QFileDialog::Accept, panel.prompt);
    return dialog;
}

QString withJsonSuffix(const QString &path) {
    return path.endsWith(jsonSuffix, Qt::CaseInsensitive) ? path : path + jsonSuffix;
}

/// Returns whether a file would be replaced. A link counts even if its target is missing.
bool isTaken(const QString &path) {
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

bool mayReplace(const QString &path, const QString &title, QWidget *parent) {
    const QString question = QStringLiteral("%1 already exists.\nDo you want to replace it?")
                                 .arg(QFileInfo(path).fileName());
    // The parent may be closed while the question is open, and then deletes the box.
    const QPointer<QMessageBox> box(new QMessageBox(QMessageBox::Warning, title, question,
                                                    QMessageBox::Yes | QMessageBox::No, parent));
    box->setDefaultButton(QMessageBox::No);
    box->setTextFormat(Qt::PlainText);
    const bool isReplaced = box->exec() == QMessageBox::Yes;
    if (box.isNull())
        return false;
    delete box;
    return isReplaced;
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
    // A list may have been saved under any name, for example by a mail program.
    dialog->setNameFilters({jsonFilter, QStringLiteral("All files (*)")});
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    return answer(std::move(dialog));
}

std::optional<QString> QtFilePanels::chooseFileToSave(const FilePanel &panel, QWidget *parent) {
    const bool hasParent = parent != nullptr;
    const QPointer<QWidget> window(parent);
    QString suggestion = panel.suggestedName;
    for (;;) {
        auto dialog = makePanel(panel, parent);
        dialog->setFileMode(QFileDialog::AnyFile);
        dialog->setAcceptMode(QFileDialog::AcceptSave);
        // Not every desktop's panel asks before a file is replaced, and none asks about the name
        // with the suffix. The question is therefore asked here.
        dialog->setOption(QFileDialog::DontConfirmOverwrite);
        dialog->selectFile(suggestion);
        const auto chosen = answer(std::move(dialog));
        if (!chosen)
            return std::nullopt;
        const QString path = withJsonSuffix(*chosen);
        if (!isTaken(path) || mayReplace(path, panel.title, parent))
            return path;
        if (hasParent && window.isNull())
            return std::nullopt;
        suggestion = path;
    }
}

} // namespace lumvik
