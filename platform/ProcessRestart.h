#pragma once

namespace lumvik {

/// Requests that this program starts anew, with the arguments `argv` and the environment at that
/// time, when the process would otherwise exit: when `restartIfRequested` is called, or when the
/// time limit of `endProcessWithin` is up. `argv` must stay valid until then. Main thread only.
void requestRestart(char **argv);

/// Replaces this process by a new instance of the program if a restart was requested, and otherwise
/// does nothing. Returns only then, or if the process cannot be replaced. Open files other than the
/// standard streams are closed. Async-signal-safe.
void restartIfRequested();

} // namespace lumvik
