#pragma once

#include "platform/LumvikLog.h"

namespace lumvik {

/// Returns the name of a level in a log line: "debug", "info", "default" or "error".
[[nodiscard]] const char *logLevelName(LogLevel level);

/// Returns the syslog priority of a level for the journal: 7, 6, 5 or 3.
[[nodiscard]] int journalPriority(LogLevel level);

/// Formats `record` as one line without a line break at its end, for example
/// "2026-01-31T12:00:00.123Z default playback: Starting video engine generation 1." Line breaks
/// inside the text become spaces, so no text can forge a log line.
[[nodiscard]] QByteArray formattedLogLine(const LogRecord &record);

/// Returns the sink for this process: the journal if the program was built with libsystemd and the
/// journal's socket exists, otherwise standard error. LUMVIK_LOG=stderr in the environment selects
/// standard error.
[[nodiscard]] std::unique_ptr<LogSink> makeDefaultLogSink();

} // namespace lumvik
