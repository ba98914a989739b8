#include "platform/LogSinks.h"

#include "platform/FileDescriptor.h"

#include <QDateTime>
#include <QFileInfo>
#include <QTimeZone>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#ifdef LUMVIK_HAVE_JOURNAL
// Without this definition, every journal entry would name this file and line as its source.
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

/// Writes to standard error without ever waiting for a reader. Otherwise, a terminal that the user
/// has paused or a full pipe would block the main thread and freeze the picture.
class StandardErrorSink final : public LogSink {
  public:
    void write(const LogRecord &record) override {
        QByteArray line = formattedLogLine(record) + '\n';
        if (m_dropped > 0) {
            line.prepend(
                QStringLiteral("%1 log lines could not be written.\n").arg(m_dropped).toUtf8());
        }
        if (m_isWithinALine)
            line.prepend('\n');
        if (!send(line))
            ++m_dropped;
        else
            m_dropped = 0;
    }

  private:
    /// Opens the terminal or pipe behind standard error a second time, in non-blocking mode.
    /// Standard error itself cannot be switched to non-blocking mode, because other processes share
    /// it. Returns no descriptor for files and sockets.
    static FileDescriptor openNonBlocking() {
        struct stat status {};
        if (::fstat(STDERR_FILENO, &status) != 0 ||
            !(S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode)))
            return FileDescriptor();
        return FileDescriptor(
            ::open("/proc/self/fd/2", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    }

    /// Writes as much of `text` as is possible without waiting. Returns whether at least one byte
    /// was written.
    bool send(const QByteArray &text) {
        // Writing a whole line with one call keeps lines of different threads and processes apart.
        // A pipe that is ready accepts at least PIPE_BUF bytes without waiting.
        constexpr qsizetype largestPart = PIPE_BUF;
        const FileDescriptor own = openNonBlocking();
        const int target = own.isOpen() ? own.get() : STDERR_FILENO;
        qsizetype sent = 0;
        while (sent < text.size()) {
            pollfd descriptor{.fd = target, .events = POLLOUT, .revents = 0};
            if (::poll(&descriptor, 1, 0) <= 0 || descriptor.revents != POLLOUT)
                break; // nobody will ever read it, or not now
            const ssize_t written =
                ::write(target, text.constData() + sent,
                        static_cast<size_t>(std::min(largestPart, text.size() - sent)));
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0)
                break; // a closed terminal or a full disk must not stop the video either
            sent += written;
        }
        if (sent > 0)
            m_isWithinALine = sent < text.size();
        return sent > 0;
    }

    qint64 m_dropped = 0;         ///< Lines dropped since the last line that was written.
    bool m_isWithinALine = false; ///< Whether the last line was written only in part.
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
