#pragma once

#include <QString>
#include <QStringList>

#include <functional>

namespace lumvik {

/// A message that the user has to answer. It is shown as it stands: whoever puts a camera's name or
/// an engine's words into it sees to it that they show no address (LumvikLog::redacted).
struct Alert {
    enum class Style { warning, informational };

    Style style = Style::warning;
    QString messageText;     // the short text in bold
    QString informativeText; // what it means, under it
    QStringList buttons;     // the first one is the default and carries the house colour
};

/// Shows alerts. Main thread only.
class Alerts {
  public:
    Alerts() = default;
    Alerts(const Alerts &) = delete;
    Alerts &operator=(const Alerts &) = delete;
    virtual ~Alerts() = default;

    /// Shows `alert` above every window of the program and returns, once it has been answered, the
    /// index of the button (the last one when it was dismissed). Timers and deferred work go on
    /// meanwhile.
    virtual int runModal(const Alert &alert) = 0;

    /// Shows `alert` as a sheet on the window in use: that window waits for the answer, all else
    /// goes on. `answered` gets it, as above, once and in a later turn; never when the program ends
    /// before. Without any window to belong to, the alert is run as above and `answered` called
    /// before this returns.
    virtual void present(const Alert &alert, std::function<void(int)> answered) = 0;
};

} // namespace lumvik
