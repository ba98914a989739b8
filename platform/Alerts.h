#pragma once

#include <QString>
#include <QStringList>

#include <functional>

namespace lumvik {

/// A message that the user must answer. It is shown unchanged: code that inserts a camera's name or
/// a message from the engine must first remove addresses from it (LumvikLog::redacted).
struct Alert {
    enum class Style { warning, informational };

    Style style = Style::warning;
    QString messageText;     // a short text, in bold
    QString informativeText; // the explanation below it
    QStringList buttons;     // the first is the default and has the accent colour
};

/// Shows alerts. Main thread only.
class Alerts {
  public:
    Alerts() = default;
    Alerts(const Alerts &) = delete;
    Alerts &operator=(const Alerts &) = delete;
    virtual ~Alerts() = default;

    /// Shows `alert` above all of the program's windows, waits for the answer and returns the index
    /// of the chosen button. Dismissing the alert counts as choosing the last button. Timers and
    /// deferred work continue meanwhile.
    virtual int runModal(const Alert &alert) = 0;

    /// Shows `alert` as a sheet on the window in use. That window is blocked until the user
    /// answers; everything else continues. `answered` receives the button's index as in `runModal`,
    /// once and in a later turn of the event loop. It is not called if the program ends first.
    /// Without a window to attach to, the alert runs as in `runModal`, and `answered` is called
    /// before this function returns.
    virtual void present(const Alert &alert, std::function<void(int)> answered) = 0;
};

} // namespace lumvik
