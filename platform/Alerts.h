#pragma once

#include <QString>
#include <QStringList>

#include <functional>

namespace lumvik {

/// A message that the user must answer. Alerts are shown unchanged, so code that inserts a camera's
/// name or a message from the engine must first remove addresses from it with LumvikLog::redacted.
struct Alert {
    enum class Style { warning, informational };

    Style style = Style::warning;
    QString messageText;     // a short text, in bold
    QString informativeText; // the explanation below messageText
    QStringList buttons;     // the first button is the default and has the accent colour
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
    /// deferred work continue while the alert is shown.
    virtual int runModal(const Alert &alert) = 0;

    /// Shows `alert` as a sheet on the window in use. The window is blocked until the user answers;
    /// the rest of the program remains usable. `answered` is called once, in a later turn of the
    /// event loop, with the button's index as in `runModal`. `answered` is not called if the
    /// program ends first. If there is no window for the sheet, the alert is shown as by
    /// `runModal`, and `answered` is called before `present` returns.
    virtual void present(const Alert &alert, std::function<void(int)> answered) = 0;
};

} // namespace lumvik
