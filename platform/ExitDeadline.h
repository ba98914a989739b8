#pragma once

namespace lumvik {

/// Ends the process with status 0 if it is still running after `seconds` (above 0), and prints a
/// message to standard error. If a restart was requested (see ProcessRestart.h), the program starts
/// anew instead. The function is used during shutdown, when a library may be blocked in a call that
/// cannot be interrupted, such as a look-up at an unresponsive name server. Only the first call has
/// an effect. All data that must not be lost has to be saved before the time is up.
void endProcessWithin(double seconds);

} // namespace lumvik
