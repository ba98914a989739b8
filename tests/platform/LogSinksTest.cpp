#include "platform/LogSinks.h"

#include <gtest/gtest.h>

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

} // namespace
} // namespace lumvik
