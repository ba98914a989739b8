#pragma once

#include "platform/Alerts.h"

#include <QPointer>
#include <QWindow>

#include <functional>

namespace lumvik {

/// Alerts as message boxes. They belong to the window that `parentWindow` names, if any, so that a
/// viewer that stays on top never covers them.
class MessageBoxAlerts final : public Alerts {
  public:
    explicit MessageBoxAlerts(std::function<QWindow *()> parentWindow)
        : m_parentWindow(std::move(parentWindow)) {}

    int runModal(const Alert &alert) override;

  private:
    std::function<QWindow *()> m_parentWindow;
};

} // namespace lumvik
