#pragma once

#include "platform/FilePanels.h"

#include <QList>

namespace lumvik::test {

/// Answers panels for files at once, with what the test has chosen.
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

    std::optional<QString> chosen; ///< What the user chooses; nothing to cancel.
    QList<FilePanel> opened;       ///< The panels shown so far.
    QList<FilePanel> saved;
};

} // namespace lumvik::test
