#pragma once

namespace lumvik {

/// Requests a restart of the program with the arguments `argv`. The restart happens when
/// `restartIfRequested` is called or when the time limit of `endProcessWithin` expires, with the
/// environment at that time. `argv` must stay valid until then. Main thread only.
void requestRestart(char **argv);

/// Replaces this process with a new instance of the program if a restart was requested. Returns
/// only if no restart was requested, if the process has been asked to end, or if it cannot be
/// replaced. Open files other than the
/// standard streams are closed. Async-signal-safe.
void restartIfRequested();

} // namespace lumvik
