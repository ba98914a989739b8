#pragma once

#include <QString>
#include <QStringList>

#include <memory>

namespace lumvik {

/// The importance of a log line. Lines of every level are written. `standard`, named "default" in
/// the output, is for events that matter to somebody who reviews the log of a whole night.
enum class LogLevel { debug, info, standard, error };

/// One log line as passed to a sink. Camera addresses have already been removed from the text.
struct LogRecord {
    LogLevel level = LogLevel::standard;
    const char *category = "";
    QString text;
    qint64 millisecondsSinceEpoch = 0;
};

/// A destination for log lines. `write` may be called on any thread, but never concurrently.
class LogSink {
  public:
    LogSink() = default;
    LogSink(const LogSink &) = delete;
    LogSink &operator=(const LogSink &) = delete;
    virtual ~LogSink() = default;
    virtual void write(const LogRecord &record) = 0;
};

/// One of the five channels of the program's log. May be used on any thread.
class LogChannel {
  public:
    explicit constexpr LogChannel(const char *category) : m_category(category) {}

    void debug(const QString &text) const { log(LogLevel::debug, text); }
    void info(const QString &text) const { log(LogLevel::info, text); }
    /// Logs at the level named "default".
    void log(const QString &text) const { log(LogLevel::standard, text); }
    void error(const QString &text) const { log(LogLevel::error, text); }
    void log(LogLevel level, const QString &text) const;

  private:
    const char *m_category;
};

/// The program's log: one subsystem, five categories.
///
/// Lines go to the systemd journal if its socket exists, otherwise to standard error (see
/// LogSinks.h). The sink is chosen when the first line is logged. Camera addresses and the
/// passwords in them are removed from every text before a sink receives it. All logging passes
/// through LumvikLog, so no caller can forget to remove addresses. All functions may be called on
/// any thread.
namespace LumvikLog {

inline constexpr const char *subsystem = "com.tandrel.Lumvik";

[[nodiscard]] const LogChannel &lifecycle();
[[nodiscard]] const LogChannel &configuration();
[[nodiscard]] const LogChannel &network();
[[nodiscard]] const LogChannel &playback();
[[nodiscard]] const LogChannel &updates();

/// Replaces the sink and returns the previous one, or null if none had been chosen yet. Tests use
/// this to read what is logged.
std::unique_ptr<LogSink> setSink(std::unique_ptr<LogSink> sink);

/// Adds camera addresses whose parts must never appear in the log. Text that looks like an address
/// is always removed. Call this function whenever the camera list changes. Addresses from earlier
/// calls stay protected.
void protectAddresses(const QStringList &addresses);

/// Returns `text` without camera addresses and their passwords, for texts shown elsewhere than in
/// the log.
[[nodiscard]] QString redacted(const QString &text);

/// Returns the last lines of the log, at most `keptLines`, in the form in which standard error
/// receives them.
[[nodiscard]] QStringList recentLines();
inline constexpr int keptLines = 200;

/// Redirects Qt's own messages to the log, in the category "lifecycle".
void installQtMessageHandler();

} // namespace LumvikLog

} // namespace lumvik
