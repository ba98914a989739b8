#pragma once

#include "platform/Alerts.h"

#include <QList>

#include <functional>
#include <utility>

namespace lumvik::test {

/// Records the alerts that would have been shown. Modal alerts are answered at once, sheets by
/// `answerSheet`. Main thread only.
class FakeAlerts final : public Alerts {
  public:
    int runModal(const Alert &alert) override {
        m_shown.append(alert);
        if (m_whileOpen)
            m_whileOpen();
        return m_answer;
    }

    /// Records a sheet and keeps `answered` until `answerSheet` is called.
    void present(const Alert &alert, std::function<void(int)> answered) override {
        m_shown.append(alert);
        ++m_sheets;
        m_answered = std::move(answered);
    }
    /// How many of the alerts were sheets.
    [[nodiscard]] int sheets() const { return m_sheets; }
    /// Answers the sheet that was shown last, as the user would.
    void answerSheet(int button) {
        if (const auto answered = std::exchange(m_answered, nullptr))
            answered(button);
    }

    /// All alerts so far, in order.
    [[nodiscard]] const QList<Alert> &shown() const { return m_shown; }

    /// The informative texts of all alerts so far, in order.
    [[nodiscard]] QStringList texts() const {
        QStringList texts;
        for (const Alert &alert : m_shown)
            texts.append(alert.informativeText);
        return texts;
    }

    void clear() { m_shown.clear(); }

    /// Sets the index of the button with which modal alerts are answered from now on. Initially 0,
    /// the default button.
    void setAnswer(int button) { m_answer = button; }

    /// Sets what runs while a modal alert is open, for events during the alert's own event loop.
    void setWhileOpen(std::function<void()> whileOpen) { m_whileOpen = std::move(whileOpen); }

  private:
    QList<Alert> m_shown;
    int m_answer = 0;
    std::function<void()> m_whileOpen;
    int m_sheets = 0;
    std::function<void(int)> m_answered;
};

} // namespace lumvik::test
