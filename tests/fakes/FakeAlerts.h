#pragma once

#include "platform/Alerts.h"

#include <QList>

#include <functional>
#include <utility>

namespace lumvik::test {

/// Records alerts instead of showing them. Modal alerts are answered at once, and sheets are
/// answered by `answerSheet`. This class may be used on the main thread only.
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
    /// Returns how many of the alerts were sheets.
    [[nodiscard]] int sheets() const { return m_sheets; }
    /// Answers the sheet that was shown last, as the user would.
    void answerSheet(int button) {
        if (const auto answered = std::exchange(m_answered, nullptr))
            answered(button);
    }

    /// Returns all alerts so far, in order.
    [[nodiscard]] const QList<Alert> &shown() const { return m_shown; }

    /// Returns the informative texts of all alerts so far, in order.
    [[nodiscard]] QStringList texts() const {
        QStringList texts;
        for (const Alert &alert : m_shown)
            texts.append(alert.informativeText);
        return texts;
    }

    void clear() { m_shown.clear(); }

    /// Sets the index of the button with which modal alerts are answered from now on. The initial
    /// index is 0, which means the default button.
    void setAnswer(int button) { m_answer = button; }

    /// Sets a function that is called while a modal alert is open. The function simulates events in
    /// the event loop of the alert.
    void setWhileOpen(std::function<void()> whileOpen) { m_whileOpen = std::move(whileOpen); }

  private:
    QList<Alert> m_shown;
    int m_answer = 0;
    std::function<void()> m_whileOpen;
    int m_sheets = 0;
    std::function<void(int)> m_answered;
};

} // namespace lumvik::test
