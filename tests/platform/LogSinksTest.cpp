#include "platform/LogSinks.h"

#include "platform/FileDescriptor.h"

#include <QRegularExpression>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <array>

namespace lumvik {
namespace {

LogRecord record(LogLevel level, const QString &text) {
    return {level, "playback", text, 1769860800123}; // 2026-01-31T12:00:00.123Z
}

TEST(LogSinks, FormatsTimeLevelCategoryAndText) {
    EXPECT_EQ(formattedLogLine(record(LogLevel::standard,
                                      QStringLiteral("Starting video engine generation 1."))),
              "2026-01-31T12:00:00.123Z default playback: Starting video engine generation 1.");
}

TEST(LogSinks, NamesTheLevels) {
    EXPECT_STREQ(logLevelName(LogLevel::debug), "debug");
    EXPECT_STREQ(logLevelName(LogLevel::info), "info");
    EXPECT_STREQ(logLevelName(LogLevel::standard), "default");
    EXPECT_STREQ(logLevelName(LogLevel::error), "error");
}

TEST(LogSinks, MapsTheLevelsToJournalPriorities) {
    EXPECT_EQ(journalPriority(LogLevel::debug), 7);
    EXPECT_EQ(journalPriority(LogLevel::info), 6);
    EXPECT_EQ(journalPriority(LogLevel::standard), 5);
    EXPECT_EQ(journalPriority(LogLevel::error), 3);
}

TEST(LogSinks, NoTextCanForgeALogLine) {
    const QByteArray line = formattedLogLine(record(
        LogLevel::error, QStringLiteral("first\n2026 error forged: line\r\t\x1b[31mred\u2028x")));
    EXPECT_FALSE(line.contains('\n'));
    EXPECT_FALSE(line.contains('\r'));
    EXPECT_FALSE(line.contains('\x1b'));
    EXPECT_FALSE(line.contains("\xe2\x80\xa8"));
}

/// Replaces standard error by a pipe while it exists.
class StandardErrorPipe {
  public:
    StandardErrorPipe() {
        std::array<int, 2> ends{-1, -1};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        m_reader = FileDescriptor(ends[0]);
        const FileDescriptor writer(ends[1]);
        ::fcntl(m_reader.get(), F_SETFL, O_NONBLOCK);
        ::dup2(writer.get(), STDERR_FILENO);
    }
    StandardErrorPipe(const StandardErrorPipe &) = delete;
    StandardErrorPipe &operator=(const StandardErrorPipe &) = delete;
    ~StandardErrorPipe() { ::dup2(m_original.get(), STDERR_FILENO); }

    /// Returns everything that is in the pipe.
    QByteArray readAll() {
        QByteArray all;
        std::array<char, 65'536> buffer{};
        for (ssize_t length = 0;
             (length = ::read(m_reader.get(), buffer.data(), buffer.size())) > 0;)
            all.append(buffer.data(), length);
        return all;
    }

  private:
    FileDescriptor m_original{::dup(STDERR_FILENO)};
    FileDescriptor m_reader;
};

TEST(StandardErrorSink, NeverWaitsForAReaderAndCountsTheDroppedLines) {
    qputenv("LUMVIK_LOG", "stderr");
    const auto sink = makeDefaultLogSink();
    StandardErrorPipe pipe;
    const QString longText(10'000, u'x');
    for (int n = 0; n < 100; ++n) // a megabyte; a pipe has room for 64 KiB
        sink->write(record(LogLevel::info, longText));
    EXPECT_GT(pipe.readAll().size(), 10'000);
    sink->write(record(LogLevel::info, QStringLiteral("readable again")));
    const QList<QByteArray> lines = pipe.readAll().trimmed().split('\n');
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^9\\d log lines could not be written\\.$"))
                    .match(QString::fromUtf8(lines[0]))
                    .hasMatch())
        << lines[0].constData();
    EXPECT_TRUE(lines[1].endsWith("readable again"));
    sink->write(record(LogLevel::info, QStringLiteral("and again")));
    EXPECT_FALSE(pipe.readAll().contains("could not be written")) << "the lines are counted once";
}

TEST(StandardErrorSink, NeverWaitsForAPausedTerminal) {
    qputenv("LUMVIK_LOG", "stderr");
    const auto sink = makeDefaultLogSink();
    int terminal = -1;
    int program = -1;
    ASSERT_EQ(::openpty(&terminal, &program, nullptr, nullptr, nullptr), 0);
    const FileDescriptor terminalEnd(terminal);
    const FileDescriptor programEnd(program);
    const FileDescriptor original(::dup(STDERR_FILENO));
    ::dup2(programEnd.get(), STDERR_FILENO);
    const QString text(1'000, u'x');
    for (int n = 0; n < 1'000; ++n) // a megabyte; nobody reads it
        sink->write(record(LogLevel::info, text));
    ::dup2(original.get(), STDERR_FILENO);
    std::array<char, 2'000> buffer{};
    EXPECT_GT(::read(terminalEnd.get(), buffer.data(), buffer.size()), 0);
}

} // namespace
} // namespace lumvik
