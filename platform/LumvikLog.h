#pragma once

#include <QString>
#include <QStringList>

#include <memory>

namespace lumvik {

/// How important a log line is. Every level is written; `standard` is the level named "default" in
/// the output, the one for events that somebody reading back over a night wants to see.
enum class LogLevel { debug, info, standard, error };

/// One line on its way to a sink. The text is already free of camera addresses.
struct LogRecord {
    LogLevel level = LogLevel::standard;
    const char *category = "";
    QString text;
    qint64 millisecondsSinceEpoch = 0;
};

/// Where log lines go. `write` may be called on any thread, but never by two at once.
class LogSink {
  public:
    LogSink() = default;
    LogSink(const LogSink &) = delete;
    LogSink &operator=(const LogSink &) = delete;
    virtual ~LogSink() = default;
    virtual void write(const LogRecord &record) = 0;
};

/// One of the five channels of the program's log. Stateless apart from its name; usable on any
/// thread.
class LogChannel {
  public:
    explicit constexpr LogChannel(const char *category) : m_category(category) {}

    void debug(const QString &text) const { log(LogLevel::debug, text); }
    void info(const QString &text) const { log(LogLevel::info, text); }
    /// Logs at the level named "default".
    void log(const QString &text) const { log(LogLevel::standard, text); }
    void error(const QString &text) const { log(LogLevel::error, text); }
    void log(LogLevel level, const QString &text) const;

    [[nodiscard]] constexpr const char *category() const { return m_category; }

  private:
    const char *m_category;
};

/// The program's log: one subsystem, five categories.
///
/// Lines go to the systemd journal when its socket exists and otherwise to standard error (see
/// LogSinks.h); the sink is chosen at the first line. Whatever the text, camera addresses and the
/// passwords in them are removed before a sink sees it: this is the only door to the log, so no
/// caller can forget it. All functions may be called on any thread.
namespace LumvikLog {

inline constexpr const char *subsystem = "com.tandrel.Lumvik";

[[nodiscard]] const LogChannel &lifecycle();
[[nodiscard]] const LogChannel &configuration();
[[nodiscard]] const LogChannel &network();
[[nodiscard]] const LogChannel &playback();
[[nodiscard]] const LogChannel &updates();

/// Replaces the sink and returns the previous one (null when none had been chosen yet). Tests use
/// it to read what is logged.
std::unique_ptr<LogSink> setSink(std::unique_ptr<LogSink> sink);

/// Names the camera addresses whose parts must never appear, besides everything that looks like an
/// address. Called whenever the camera list changes; addresses named earlier stay covered.
void protectAddresses(const QStringList &addresses);

/// `text` without camera addresses and their passwords, for texts that leave by another door than
/// the log.
[[nodiscard]] QString redacted(const QString &text);

/// Sends Qt's own messages through the log, in the category "lifecycle".
void installQtMessageHandler();

} // namespace LumvikLog

} // namespace lumvik
