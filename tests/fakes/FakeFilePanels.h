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

    std::optional<QString> chosen; ///< The path that the user chooses. Empty to cancel.
    QList<FilePanel> opened;       ///< The open panels that were shown so far.
    QList<FilePanel> saved;        ///< The save panels that were shown so far.
};

} // namespace lumvik::test
