#pragma once

#include "platform/SleepMonitor.h"

#include <utility>

namespace lumvik::test {

/// Announces sleep and waking when the test calls `sleep` and `wake`.
class FakeSleepMonitor final : public SleepMonitor {
  public:
    void start(std::function<void(SleepDelay)> willSleep, std::function<void()> didWake) override {
        m_willSleep = std::move(willSleep);
        m_didWake = std::move(didWake);
    }
    void stop() override {
        m_willSleep = nullptr;
        m_didWake = nullptr;
    }

    void sleep() {
        auto delay = std::make_shared<int>(0);
        m_delay = delay;
        if (m_willSleep)
            m_willSleep(std::move(delay));
    }
    void wake() {
        if (m_didWake)
            m_didWake();
    }
    /// Whether the program still delays the sleep that was announced last.
    [[nodiscard]] bool isHeldOff() const { return !m_delay.expired(); }
    [[nodiscard]] bool isWatching() const { return static_cast<bool>(m_willSleep); }

  private:
    std::function<void(SleepDelay)> m_willSleep;
    std::function<void()> m_didWake;
    std::weak_ptr<void> m_delay;
};

} // namespace lumvik::test
