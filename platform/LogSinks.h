#pragma once

#include "platform/LumvikLog.h"

namespace lumvik {

/// The name of a level as it stands in a log line: "debug", "info", "default" or "error".
[[nodiscard]] const char *logLevelName(LogLevel level);

/// The syslog priority of a level, as the journal counts: 7, 6, 5 or 3.
[[nodiscard]] int journalPriority(LogLevel level);

/// `record` as one line without a line break at its end, for example
/// "2026-01-31T12:00:00.123Z default playback: Starting video engine generation 1."
/// Line breaks inside the text become blanks, so that no text can forge a line of its own.
[[nodiscard]] QByteArray formattedLogLine(const LogRecord &record);

/// The sink for this process: the journal when the program was built with libsystemd and the
/// journal's socket exists, else standard error. LUMVIK_LOG=stderr in the environment asks for
/// standard error.
[[nodiscard]] std::unique_ptr<LogSink> makeDefaultLogSink();

} // namespace lumvik
