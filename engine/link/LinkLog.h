#pragma once

#include "engine/link/LinkFact.h"

namespace lumvik {

/// Writes a line about `fact` to the log, if a reader of the log would miss it otherwise. May be
/// called on any thread.
void logLinkFact(const LinkFact &fact);

} // namespace lumvik
