#include "platform/InstanceLock.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <optional>

namespace lumvik {
namespace {

using Result = InstanceLock::Result;

class InstanceLockTest : public testing::Test {
  protected:
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("program.lock"));
};

TEST_F(InstanceLockTest, FirstCallerAcquiresTheLock) {
    InstanceLock first(path);
    EXPECT_EQ(first.tryLock(), Result::acquired);
    EXPECT_EQ(first.tryLock(), Result::acquired) << "a second call by the holder also succeeds";
}

TEST_F(InstanceLockTest, LockIsHeldUntilItsHolderIsDestroyed) {
    std::optional<InstanceLock> first(path);
    ASSERT_EQ(first->tryLock(), Result::acquired);
    InstanceLock second(path);
    EXPECT_EQ(second.tryLock(), Result::heldByAnother);
    first.reset();
    EXPECT_EQ(second.tryLock(), Result::acquired);
}

TEST_F(InstanceLockTest, KilledProcessReleasesTheLock) {
    int held[2];
    ASSERT_EQ(::pipe(held), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        InstanceLock first(path);
        const char result = first.tryLock() == Result::acquired ? 'y' : 'n';
        if (::write(held[1], &result, 1) == 1)
            ::pause();
        ::_exit(1);
    }
    char result = 'n';
    ASSERT_EQ(::read(held[0], &result, 1), 1);
    EXPECT_EQ(result, 'y');
    InstanceLock second(path);
    EXPECT_EQ(second.tryLock(), Result::heldByAnother);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_EQ(second.tryLock(), Result::acquired);
    ::close(held[0]);
    ::close(held[1]);
}

TEST_F(InstanceLockTest, ExistingFileAloneHoldsNoLock) {
    QFile file(path);
    ASSERT_TRUE(file.open(QFile::WriteOnly));
    file.write("1\n");
    file.close();
    InstanceLock lock(path);
    EXPECT_EQ(lock.tryLock(), Result::acquired);
}

TEST_F(InstanceLockTest, FileIsAccessibleToItsOwnerOnly) {
    InstanceLock lock(path);
    ASSERT_EQ(lock.tryLock(), Result::acquired);
    EXPECT_EQ(QFileInfo(path).permissions() &
                  (QFile::ReadGroup | QFile::ReadOther | QFile::WriteGroup | QFile::WriteOther),
              QFile::Permissions());
}

TEST_F(InstanceLockTest, LockIsUnavailableWithoutItsFolder) {
    InstanceLock lock(folder.filePath(QStringLiteral("missing/program.lock")));
    EXPECT_EQ(lock.tryLock(), Result::unavailable);
}

TEST_F(InstanceLockTest, SymbolicLinkIsNotFollowed) {
    ASSERT_TRUE(QFile::link(folder.filePath(QStringLiteral("elsewhere")), path));
    InstanceLock lock(path);
    EXPECT_EQ(lock.tryLock(), Result::unavailable);
    EXPECT_FALSE(QFile::exists(folder.filePath(QStringLiteral("elsewhere"))));
}

} // namespace
} // namespace lumvik
