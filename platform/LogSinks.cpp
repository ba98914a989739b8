#include "platform/LogSinks.h"

#include <QDateTime>
#include <QFileInfo>
#include <QTimeZone>

#include <unistd.h>

#include <cerrno>

#ifdef LUMVIK_HAVE_JOURNAL
// Otherwise every journal entry would contain this file and line instead of the caller's.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>
#endif

namespace lumvik {

const char *logLevelName(LogLevel level) {
    switch (level) {
    case LogLevel::debug:
        return "debug";
    case LogLevel::info:
        return "info";
    case LogLevel::standard:
        return "default";
    case LogLevel::error:
        return "error";
    }
    return "default";
}

int journalPriority(LogLevel level) {
    switch (level) {
    case LogLevel::debug:
        return 7;
    case LogLevel::info:
        return 6;
    case LogLevel::standard:
        return 5;
    case LogLevel::error:
        return 3;
    }
    return 5;
}

namespace {

QString singleLine(QString text) {
    for (QChar &character : text) {
        if (character.category() == QChar::Other_Control || character == QChar::LineSeparator ||
            character == QChar::ParagraphSeparator)
            character = QLatin1Char(' ');
    }
    return text.trimmed();
}

class StandardErrorSink final : public LogSink {
  public:
    void write(const LogRecord &record) override {
        QByteArray line = formattedLogLine(record);
        line.append('\n');
        // Writing a whole line with one call keeps lines of different threads and processes apart.
        // A failure (a closed terminal, a full disk) must not stop the video, so the line is
        // dropped.
        const char *rest = line.constData();
        auto left = static_cast<size_t>(line.size());
        while (left > 0) {
            const ssize_t written = ::write(STDERR_FILENO, rest, left);
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0)
                return;
            rest += written;
            left -= static_cast<size_t>(written);
        }
    }
};

#ifdef LUMVIK_HAVE_JOURNAL
class JournalSink final : public LogSink {
  public:
    void write(const LogRecord &record) override {
        sd_journal_send("MESSAGE=%s", singleLine(record.text).toUtf8().constData(), "PRIORITY=%d",
                        journalPriority(record.level), "SUBSYSTEM=%s", LumvikLog::subsystem,
                        "CATEGORY=%s", record.category, "SYSLOG_IDENTIFIER=lumvik", nullptr);
    }
};
#endif

} // namespace

QByteArray formattedLogLine(const LogRecord &record) {
    const QDateTime time =
        QDateTime::fromMSecsSinceEpoch(record.millisecondsSinceEpoch, QTimeZone::utc());
    return QStringLiteral("%1 %2 %3: %4")
        .arg(time.toString(QStringLiteral("yyyy-MM-dd'T'HH:mm:ss.zzz'Z'")),
             QLatin1String(logLevelName(record.level)), QLatin1String(record.category),
             singleLine(record.text))
        .toUtf8();
}

std::unique_ptr<LogSink> makeDefaultLogSink() {
#ifdef LUMVIK_HAVE_JOURNAL
    if (qgetenv("LUMVIK_LOG") != "stderr" &&
        QFileInfo::exists(QStringLiteral("/run/systemd/journal/socket")))
        return std::make_unique<JournalSink>();
#endif
    return std::make_unique<StandardErrorSink>();
}

} // namespace lumvik
