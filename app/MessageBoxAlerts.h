#pragma once

#include "platform/Alerts.h"

#include <QList>
#include <QMessageBox>
#include <QPointer>
#include <QWindow>

#include <functional>

namespace lumvik {

/// Alerts as message boxes. They belong to the window that `parentWindow` names, if any, so that a
/// viewer that stays on top never covers them.
class MessageBoxAlerts final : public Alerts {
  public:
    explicit MessageBoxAlerts(std::function<QWindow *()> parentWindow);

    MessageBoxAlerts(const MessageBoxAlerts &) = delete;
    MessageBoxAlerts &operator=(const MessageBoxAlerts &) = delete;
    /// Takes the sheets that are still open away, unanswered.
    ~MessageBoxAlerts() override;

    int runModal(const Alert &alert) override;
    void present(const Alert &alert, std::function<void(int)> answered) override;

  private:
    QList<QPointer<QMessageBox>> m_sheets;
    std::function<QWindow *()> m_parentWindow;
};

} // namespace lumvik
