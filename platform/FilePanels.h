#pragma once

#include <QString>

#include <optional>

class QWidget;

namespace lumvik {

/// What a panel for choosing a file asks.
struct FilePanel {
    QString title;
    QString prompt;        ///< What the button says that chooses.
    QString suggestedName; ///< For a file to be written; else empty.
};

/// Asks the user for files of the kind JSON. Main thread only.
class FilePanels {
  public:
    FilePanels() = default;
    FilePanels(const FilePanels &) = delete;
    FilePanels &operator=(const FilePanels &) = delete;
    virtual ~FilePanels() = default;

    /// Asks for one file that exists, no folder, above `parent`; nothing when the user cancels.
    virtual std::optional<QString> chooseFileToOpen(const FilePanel &panel, QWidget *parent) = 0;

    /// Asks where to write a file; an existing one only with the user's consent.
    virtual std::optional<QString> chooseFileToSave(const FilePanel &panel, QWidget *parent) = 0;
};

} // namespace lumvik
