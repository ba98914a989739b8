#pragma once

#include "platform/Alerts.h"

#include <QList>

#include <functional>

namespace lumvik::test {

/// Keeps the alerts that would have been shown and answers each at once. Main thread only.
class FakeAlerts final : public Alerts {
  public:
    int runModal(const Alert &alert) override {
        m_shown.append(alert);
        if (m_whileOpen)
            m_whileOpen();
        return m_answer;
    }

    /// All alerts so far, in order.
    [[nodiscard]] const QList<Alert> &shown() const { return m_shown; }

    /// The explaining texts of all alerts so far, in order.
    [[nodiscard]] QStringList texts() const {
        QStringList texts;
        for (const Alert &alert : m_shown)
            texts.append(alert.informativeText);
        return texts;
    }

    void clear() { m_shown.clear(); }

    /// The index of the button that the user presses from now on; at first 0, the default button.
    void setAnswer(int button) { m_answer = button; }

    /// Runs while each alert is open, for what happens behind the user's back.
    void setWhileOpen(std::function<void()> whileOpen) { m_whileOpen = std::move(whileOpen); }

  private:
    QList<Alert> m_shown;
    int m_answer = 0;
    std::function<void()> m_whileOpen;
};

} // namespace lumvik::test
