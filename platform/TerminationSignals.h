#pragma once

#include <QObject>

#include <functional>
#include <memory>

class QSocketNotifier;

namespace lumvik {

/// Turns SIGTERM, SIGINT and SIGHUP into one call on the main thread, so that the program can end
/// in order. A second signal ends the process at once, by the signal's own default action, in case
/// the orderly way hangs.
///
/// One instance at a time, made on the main thread after the application object.
class TerminationSignals {
  public:
    explicit TerminationSignals(std::function<void()> terminate);
    TerminationSignals(const TerminationSignals &) = delete;
    TerminationSignals &operator=(const TerminationSignals &) = delete;
    ~TerminationSignals();

    /// Whether the program has been asked to end. True from the signal on, which may be well before
    /// the call. Any thread.
    [[nodiscard]] static bool haveArrived() noexcept;

  private:
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace lumvik
