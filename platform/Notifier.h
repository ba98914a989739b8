#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

namespace lumvik {

/// What a desktop notification says.
struct Notification {
    QString title;
    QString text;
    /// Whether the notification stays until the user has seen it, even in "do not disturb".
    bool isUrgent = false;

    friend bool operator==(const Notification &, const Notification &) = default;
};

/// Shows one notification at a time, outside the program's windows. Main thread only.
class Notifier {
  public:
    Notifier() = default;
    Notifier(const Notifier &) = delete;
    Notifier &operator=(const Notifier &) = delete;
    virtual ~Notifier() = default;

    /// Shows `notification` in place of the one before. `opened` runs when the user wants to see
    /// what it is about. It receives the token with which a window may come to the front, or
    /// nothing where there are no such tokens. Does nothing, but for one line in the log, where the
    /// desktop shows no notifications.
    virtual void show(const Notification &notification,
                      std::function<void(const QByteArray &activationToken)> opened) = 0;
    /// Removes the notification, if it is still there.
    virtual void withdraw() = 0;
};

} // namespace lumvik
