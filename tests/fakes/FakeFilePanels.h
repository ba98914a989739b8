#pragma once

#include "platform/FilePanels.h"

#include <QList>

namespace lumvik::test {

/// Answers file panels at once with the path that the test has set.
class FakeFilePanels final : public FilePanels {
  public:
    std::optional<QString> chooseFileToOpen(const FilePanel &panel, QWidget *) override {
        opened.append(panel);
        return chosen;
    }
    std::optional<QString> chooseFileToSave(const FilePanel &panel, QWidget *) override {
        saved.append(panel);
        return chosen;
    }

    std::optional<QString> chosen; ///< The path that the user chooses; nothing to cancel.
    QList<FilePanel> opened;       ///< The panels shown so far to open a file.
    QList<FilePanel> saved;
};

} // namespace lumvik::test
