#pragma once

#include "platform/LumvikLog.h"

#include <QList>

#include <memory>
#include <mutex>
#include <utility>

namespace lumvik::test {

/// A log line as the log sink received it.
struct LoggedLine {
    LogLevel level = LogLevel::standard;
    QString category;
    QString text;

    friend bool operator==(const LoggedLine &, const LoggedLine &) = default;
};

/// Collects all log lines. The constructor replaces the current log sink, and the destructor
/// restores that sink. Only one CapturedLog may exist at a time. All functions may be called on any
/// thread.
///
///     const CapturedLog log;
///     store.load();
///     EXPECT_EQ(log.texts(u"configuration"_s), QStringList(u"Loaded 2 cameras."_s));
class CapturedLog {
  public:
    CapturedLog() : m_previous(LumvikLog::setSink(std::make_unique<Sink>(m_lines))) {}
    CapturedLog(const CapturedLog &) = delete;
    CapturedLog &operator=(const CapturedLog &) = delete;
    ~CapturedLog() { LumvikLog::setSink(std::move(m_previous)); }

    /// Returns all lines so far, in order.
    [[nodiscard]] QList<LoggedLine> lines() const {
        const std::scoped_lock lock(m_lines->mutex);
        return m_lines->list;
    }

    /// Returns the lines of one category, in order.
    [[nodiscard]] QList<LoggedLine> lines(const QString &category) const {
        QList<LoggedLine> chosen;
        for (const LoggedLine &line : lines()) {
            if (line.category == category)
                chosen.append(line);
        }
        return chosen;
    }

    /// Returns the texts of the lines of one category, in order.
    [[nodiscard]] QStringList texts(const QString &category) const {
        QStringList texts;
        for (const LoggedLine &line : lines(category))
            texts.append(line.text);
        return texts;
    }

    void clear() {
        const std::scoped_lock lock(m_lines->mutex);
        m_lines->list.clear();
    }

  private:
    struct Lines {
        std::mutex mutex;
        QList<LoggedLine> list;
    };

    /// A sink that shares ownership of the lines with the CapturedLog, because a thread may still
    /// log while the CapturedLog is being destroyed.
    class Sink final : public LogSink {
      public:
        explicit Sink(std::shared_ptr<Lines> lines) : m_lines(std::move(lines)) {}
        void write(const LogRecord &record) override {
            const std::scoped_lock lock(m_lines->mutex);
            m_lines->list.append({record.level, QString::fromUtf8(record.category), record.text});
        }

      private:
        std::shared_ptr<Lines> m_lines;
    };

    std::shared_ptr<Lines> m_lines = std::make_shared<Lines>();
    std::unique_ptr<LogSink> m_previous;
};

} // namespace lumvik::test
