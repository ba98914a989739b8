#pragma once

#include "platform/FilePanels.h"

namespace lumvik {

/// File panels as the toolkit, or the desktop through it, has them.
class QtFilePanels final : public FilePanels {
  public:
    std::optional<QString> chooseFileToOpen(const FilePanel &panel, QWidget *parent) override;
    std::optional<QString> chooseFileToSave(const FilePanel &panel, QWidget *parent) override;
};

} // namespace lumvik
