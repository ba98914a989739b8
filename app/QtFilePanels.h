#pragma once

#include "platform/FilePanels.h"

namespace lumvik {

/// File panels based on QFileDialog, which uses the desktop's own dialogs where available.
class QtFilePanels final : public FilePanels {
  public:
    std::optional<QString> chooseFileToOpen(const FilePanel &panel, QWidget *parent) override;
    std::optional<QString> chooseFileToSave(const FilePanel &panel, QWidget *parent) override;
};

} // namespace lumvik
