#pragma once

#include <QString>

#include <optional>

class QWidget;

namespace lumvik {

/// The texts of a panel for choosing a file.
struct FilePanel {
    QString title;
    QString prompt;        ///< The label of the button that accepts the choice.
    QString suggestedName; ///< For a file to be written, otherwise empty.
};

/// Asks the user to choose JSON files. Main thread only.
class FilePanels {
  public:
    FilePanels() = default;
    FilePanels(const FilePanels &) = delete;
    FilePanels &operator=(const FilePanels &) = delete;
    virtual ~FilePanels() = default;

    /// Asks for one existing file, not a folder, in a panel above `parent`. Returns nothing if the
    /// user cancels.
    virtual std::optional<QString> chooseFileToOpen(const FilePanel &panel, QWidget *parent) = 0;

    /// Asks where to write a file, until the user cancels, chooses a new name or confirms that an
    /// existing file is to be replaced. The path ends with ".json", which is appended if necessary.
    /// Returns nothing if the user cancels.
    virtual std::optional<QString> chooseFileToSave(const FilePanel &panel, QWidget *parent) = 0;
};

} // namespace lumvik
