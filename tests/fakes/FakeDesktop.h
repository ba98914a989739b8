#pragma once

#include "platform/Notifier.h"
#include "platform/ScreenInhibitor.h"

#include <QList>

#include <utility>

namespace lumvik::test {

/// Remembers the notifications. The test clicks on them.
class FakeNotifier final : public Notifier {
  public:
    void show(const Notification &notification,
              std::function<void(const QByteArray &)> opened) override {
        shown.append(notification);
        isVisible = true;
        m_opened = std::move(opened);
    }
    void withdraw() override { isVisible = false; }
    void click(const QByteArray &activationToken) { m_opened(activationToken); }

    QList<Notification> shown;
    bool isVisible = false; // the last one

  private:
    std::function<void(const QByteArray &)> m_opened;
};

/// Remembers whether the screen is kept on.
class FakeScreenInhibitor final : public ScreenInhibitor {
  public:
    void keepScreenOn(bool keepsOn) override { isKeptOn = keepsOn; }

    bool isKeptOn = false;
};

} // namespace lumvik::test
