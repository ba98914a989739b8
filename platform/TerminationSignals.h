#pragma once

#include "platform/FileDescriptor.h"

#include <QObject>

#include <functional>
#include <memory>

class QSocketNotifier;

namespace lumvik {

/// Turns SIGTERM, SIGINT and SIGHUP into one call on the main thread, so that the program can shut
/// down in order. A second signal ends the process at once, through the signal's default action, in
/// case the orderly shutdown hangs.
///
/// Only one instance may exist at a time. Create the instance on the main thread, after the
/// application object.
class TerminationSignals {
  public:
    explicit TerminationSignals(std::function<void()> terminate);
    TerminationSignals(const TerminationSignals &) = delete;
    TerminationSignals &operator=(const TerminationSignals &) = delete;
    ~TerminationSignals();

    /// Returns whether one of the signals has arrived. The call on the main thread may follow much
    /// later. May be called on any thread.
    [[nodiscard]] static bool haveArrived() noexcept;

  private:
    FileDescriptor m_handlerEnd;  ///< Written to by the signal handler.
    FileDescriptor m_notifierEnd; ///< Watched by the notifier.
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace lumvik
