#pragma once

#include "platform/Alerts.h"

#include <QList>

#include <functional>
#include <utility>

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

    /// As a sheet: `answered` is kept until `answerSheet`.
    void present(const Alert &alert, std::function<void(int)> answered) override {
        m_shown.append(alert);
        ++m_sheets;
        m_answered = std::move(answered);
    }
    /// How many of the alerts were sheets.
    [[nodiscard]] int sheets() const { return m_sheets; }
    /// The user answers the sheet that was shown last.
    void answerSheet(int button) {
        if (const auto answered = std::exchange(m_answered, nullptr))
            answered(button);
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
    int m_sheets = 0;
    std::function<void(int)> m_answered;
};

} // namespace lumvik::test
