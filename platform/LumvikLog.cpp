#include "platform/LumvikLog.h"

#include "platform/AddressRedaction.h"
#include "platform/LogSinks.h"

#include <QDateTime>

#include <deque>
#include <mutex>

namespace lumvik {

namespace {

/// The state of the log, shared by all threads. The state is never destroyed, because library
/// threads may log until the process ends.
struct SharedLog {
    std::mutex mutex;
    std::unique_ptr<LogSink> sink;
    AddressRedaction redaction;
    std::deque<LogRecord> recent;
};

SharedLog &sharedLog() {
    static auto *log = new SharedLog;
    return *log;
}

void qtMessage(QtMsgType type, const QMessageLogContext &, const QString &text) {
    switch (type) {
    case QtDebugMsg:
        LumvikLog::lifecycle().debug(text);
        return;
    case QtInfoMsg:
        LumvikLog::lifecycle().info(text);
        return;
    case QtWarningMsg:
        LumvikLog::lifecycle().log(text);
        return;
    case QtCriticalMsg:
    case QtFatalMsg: // Qt ends the process itself after a fatal message.
        LumvikLog::lifecycle().error(text);
        return;
    }
}

} // namespace

void LogChannel::log(LogLevel level, const QString &text) const {
    SharedLog &log = sharedLog();
    const std::scoped_lock lock(log.mutex);
    if (!log.sink)
        log.sink = makeDefaultLogSink();
    log.recent.push_back(
        {level, m_category, log.redaction.redact(text), QDateTime::currentMSecsSinceEpoch()});
    if (log.recent.size() > LumvikLog::keptLines)
        log.recent.pop_front();
    log.sink->write(log.recent.back());
}

namespace LumvikLog {

const LogChannel &lifecycle() {
    static constexpr LogChannel channel("lifecycle");
    return channel;
}

const LogChannel &configuration() {
    static constexpr LogChannel channel("configuration");
    return channel;
}

const LogChannel &network() {
    static constexpr LogChannel channel("network");
    return channel;
}

const LogChannel &playback() {
    static constexpr LogChannel channel("playback");
    return channel;
}

const LogChannel &updates() {
    static constexpr LogChannel channel("updates");
    return channel;
}

std::unique_ptr<LogSink> setSink(std::unique_ptr<LogSink> sink) {
    SharedLog &log = sharedLog();
    const std::scoped_lock lock(log.mutex);
    std::swap(log.sink, sink);
    return sink;
}

void protectAddresses(const QStringList &addresses) {
    SharedLog &log = sharedLog();
    const std::scoped_lock lock(log.mutex);
    log.redaction.protect(addresses);
}

QString redacted(const QString &text) {
    SharedLog &log = sharedLog();
    const std::scoped_lock lock(log.mutex);
    return log.redaction.redact(text);
}

QStringList recentLines() {
    SharedLog &log = sharedLog();
    const std::scoped_lock lock(log.mutex);
    QStringList lines;
    for (const LogRecord &record : log.recent) {
        // Addresses may have been protected since the line was written.
        lines.append(log.redaction.redact(QString::fromUtf8(formattedLogLine(record))));
    }
    return lines;
}

void installQtMessageHandler() {
    qInstallMessageHandler(qtMessage);
}

} // namespace LumvikLog

} // namespace lumvik
