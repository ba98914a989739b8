#pragma once

#include "platform/Alerts.h"

#include <QList>
#include <QMessageBox>
#include <QPointer>
#include <QWindow>

#include <functional>

namespace lumvik {

/// Shows alerts as message boxes. They stay above the window that `parentWindow` returns, which may
/// be null, so that a viewer that stays on top never covers them.
class MessageBoxAlerts final : public Alerts {
  public:
    explicit MessageBoxAlerts(std::function<QWindow *()> parentWindow);

    MessageBoxAlerts(const MessageBoxAlerts &) = delete;
    MessageBoxAlerts &operator=(const MessageBoxAlerts &) = delete;
    /// Closes all open sheets without calling their handlers.
    ~MessageBoxAlerts() override;

    int runModal(const Alert &alert) override;
    void present(const Alert &alert, std::function<void(int)> answered) override;

  private:
    QList<QPointer<QMessageBox>> m_sheets;
    std::function<QWindow *()> m_parentWindow;
};

} // namespace lumvik
