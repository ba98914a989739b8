#pragma once

namespace lumvik {

/// Ends the process with status 0 once `seconds` (above 0) have passed, should it still run then,
/// and says so on standard error. For the end of the program, where a library can be held up by
/// something that nothing breaks off, such as a name server that does not answer. Only the first
/// call counts. Whatever must not be lost is to be written down before the time is over.
void endProcessWithin(double seconds);

} // namespace lumvik
