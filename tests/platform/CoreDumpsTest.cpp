#include "platform/CoreDumps.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <functional>

namespace lumvik::test {
namespace {

/// Returns data that must not appear in a dump. The data is generated at run time, so the program
/// file does not contain it.
QByteArray secret() {
    QByteArray text;
    for (int n = 0; n < 64; ++n)
        text += QByteArray::number(n * 7919) + '/';
    return text;
}

/// Runs `act` in a child process, which then exits, and returns its wait status.
int runInChild(const std::function<void()> &act) {
    const pid_t child = ::fork();
    if (child == 0) {
        act();
        std::_Exit(0);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return status;
}

rlimit coreLimit() {
    rlimit limit{};
    EXPECT_EQ(::getrlimit(RLIMIT_CORE, &limit), 0);
    return limit;
}

QByteArray dumpFilter() {
    QFile file(QStringLiteral("/proc/self/coredump_filter"));
    return file.open(QFile::ReadOnly) ? file.readAll().trimmed() : QByteArray();
}

/// Exits with `status` if the condition is false. Intended for child processes.
void require(bool condition, int status) {
    if (!condition)
        std::_Exit(status);
}

TEST(CoreDumpsTest, ForbidsBothFilesAndMemoryInDumps) {
    const int status = runInChild([] {
        const rlimit before = coreLimit();
        (void)forbidCoreDumps();
        require(coreLimit().rlim_cur == 0, 1);
        require(coreLimit().rlim_max == before.rlim_max, 2);
        require(dumpFilter().isEmpty() || dumpFilter().toULong(nullptr, 16) == 0, 3);
    });
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(CoreDumpsTest, ChildCanRestoreTheUsersSettings) {
    const int status = runInChild([] {
        rlimit limit = coreLimit();
        limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 4096);
        require(::setrlimit(RLIMIT_CORE, &limit) == 0, 1);
        const QByteArray filter = dumpFilter();
        const CoreDumpSettings users = forbidCoreDumps();
        const int inner = runInChild([&] {
            users.restoreInChild();
            require(coreLimit().rlim_cur == limit.rlim_cur, 3);
            require(coreLimit().rlim_max == limit.rlim_max, 4);
            require(dumpFilter() == filter, 5);
        });
        require(WIFEXITED(inner) && WEXITSTATUS(inner) == 0, WEXITSTATUS(inner));
        require(coreLimit().rlim_cur == 0, 6);
    });
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

/// Tests with real dumps, on systems that write them into the working directory of the crashing
/// process.
class CoreFileTest : public testing::Test {
  protected:
    void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "sanitizers disable core dumps because their dumps would be huge";
#endif
        QFile pattern(QStringLiteral("/proc/sys/kernel/core_pattern"));
        ASSERT_TRUE(pattern.open(QFile::ReadOnly));
        const QByteArray text = pattern.readAll();
        if (text.startsWith('|') || text.contains('/'))
            GTEST_SKIP() << "this system writes core dumps elsewhere: " << text.toStdString();
        if (coreLimit().rlim_max != RLIM_INFINITY)
            GTEST_SKIP() << "core files are not allowed here";
    }
    /// Calls `prepare` in a child process that then crashes with the secret in its memory. Returns
    /// the dump.
    [[nodiscard]] QByteArray dumpOf(const std::function<void()> &prepare) const {
        const int status = runInChild([&] {
            require(::chdir(QFile::encodeName(folder.path()).constData()) == 0, 1);
            std::signal(SIGABRT, SIG_DFL);
            prepare();
            const QByteArray held = secret();
            require(!held.isEmpty(), 2);
            std::abort();
        });
        EXPECT_TRUE(WIFSIGNALED(status)) << "status " << WEXITSTATUS(status);
        const QDir dir(folder.path());
        QByteArray dump;
        for (const QString &name : dir.entryList(QDir::Files)) {
            QFile file(dir.filePath(name));
            if (file.open(QFile::ReadOnly))
                dump += file.readAll();
        }
        return dump;
    }
    static void allowFiles() {
        rlimit limit = coreLimit();
        limit.rlim_cur = limit.rlim_max;
        require(::setrlimit(RLIMIT_CORE, &limit) == 0, 3);
    }

    QTemporaryDir folder;
};

TEST_F(CoreFileTest, CrashLeavesNoFileOnceDumpsAreForbidden) {
    EXPECT_TRUE(dumpOf([] {
                    allowFiles();
                    (void)forbidCoreDumps();
                }).isEmpty());
}

TEST_F(CoreFileTest, DumpThatIgnoresTheSizeLimitContainsNoMemory) {
    const QByteArray dump = dumpOf([] {
        (void)forbidCoreDumps();
        allowFiles(); // the kernel also ignores the size limit when it pipes dumps to a program
    });
    ASSERT_TRUE(dump.startsWith("\x7f"
                                "ELF"));
    EXPECT_FALSE(dump.contains(secret()));
}

TEST_F(CoreFileTest, DumpContainsTheSecretUnlessForbidden) {
    EXPECT_TRUE(dumpOf([] { allowFiles(); }).contains(secret()));
}

} // namespace
} // namespace lumvik::test
