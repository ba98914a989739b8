// Tests of atomic writes in folders that several users or machines share: links of other users, and
// locks on a server.

#include "ChildCase.h"
#include "SystemCalls.h"
#include "TestFolder.h"
#include "platform/AtomicWrite.h"
#include "platform/FileDescriptor.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utime.h>

#include <cerrno>

namespace lumvik {
namespace {

using namespace test;

class SharedFolder : public testing::Test {
  protected:
    [[nodiscard]] static int write(const QString &path) {
        return writeFileAtomically("new", QFile::encodeName(path).toStdString());
    }
    static void makeLink(const QString &target, const QString &link) {
        ASSERT_TRUE(QFile::link(target, link));
    }

    const SystemCallsRestored restored;
    const TestFolder folder;
    const QString target = folder.path(u"target.json"_s);
    const QString link = folder.path(u"link.json"_s);
};

TEST(MayFollowLink, OnlyLinksOfOthersInStickyFoldersAreRefused) {
    constexpr uid_t user = 1000;
    constexpr uid_t other = 1001;
    for (const mode_t mode : {0700U, 0755U, 0777U}) {
        EXPECT_TRUE(mayFollowLink(user, mode, user));
        EXPECT_TRUE(mayFollowLink(other, mode, user));
    }
    EXPECT_TRUE(mayFollowLink(user, 01777, user));
    EXPECT_FALSE(mayFollowLink(other, 01777, user));
    EXPECT_FALSE(mayFollowLink(0, 01777, user));
}

TEST_F(SharedFolder, OwnLinkInAStickyFolderIsFollowed) {
    setMode(folder.path(), 01777);
    putBytes(target, "old");
    makeLink(target, link);
    EXPECT_EQ(write(link), 0);
    EXPECT_EQ(bytesOf(target), "new");
}

TEST_F(SharedFolder, LinkOfAnotherUserInAStickyFolderIsNotFollowed) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only the superuser can create a link that belongs to another user";
    constexpr uid_t other = 12345;
    putBytes(target, "old");
    makeLink(u"target.json"_s, link);
    const QString indirect = folder.path(u"indirect.json"_s);
    makeLink(link, indirect);
    ASSERT_EQ(::lchown(QFile::encodeName(link).constData(), other, other), 0);
    setMode(folder.path(), 01777);
    EXPECT_EQ(write(link), EACCES);
    EXPECT_EQ(write(indirect), EACCES) << "the second link of a chain";
    EXPECT_EQ(bytesOf(target), "old");
    EXPECT_EQ(folder.names().size(), 3);
    setMode(folder.path(), 0777);
    EXPECT_EQ(write(link), 0) << "the folder is not sticky";
    EXPECT_EQ(bytesOf(target), "new");
}

// ---- Locks ----

TEST_F(SharedFolder, LockOfAnotherProcessIsNotAwaited) {
    int attempts = 0;
    FileDescriptor foreign; // holds a lock on the first temporary file
    systemCalls().before = [&](const std::string &call, int descriptor) {
        if (call != "flock" || ++attempts != 1)
            return 0;
        const QString path = u"/proc/self/fd/%1"_s.arg(descriptor);
        foreign = FileDescriptor(::open(QFile::encodeName(path).constData(), O_WRONLY | O_CLOEXEC));
        EXPECT_EQ(::syscall(SYS_flock, foreign.get(), LOCK_EX), 0);
        return 0;
    };
    EXPECT_EQ(write(target), 0);
    EXPECT_EQ(attempts, 2);
    EXPECT_EQ(bytesOf(target), "new");
    EXPECT_EQ(folder.names(), QStringList(u"target.json"_s));
}

class Server : public SharedFolder, public testing::WithParamInterface<long> {
  protected:
    [[nodiscard]] QString interruptedWrite(int age) const {
        QString path = folder.path(u".lumvik-0123456789abcdef.saving"_s);
        putBytes(path, "half");
        utimbuf times{};
        times.actime = times.modtime = ::time(nullptr) - age;
        EXPECT_EQ(::utime(QFile::encodeName(path).constData(), &times), 0);
        return path;
    }
};

TEST_P(Server, NoLockIsRequested) {
    systemCalls().fileSystem = GetParam();
    int locks = 0;
    systemCalls().before = [&](const std::string &call, int) {
        locks += call == "flock" ? 1 : 0;
        return 0;
    };
    static_cast<void>(interruptedWrite(0));
    EXPECT_EQ(write(target), 0);
    EXPECT_EQ(locks, 0);
    EXPECT_EQ(bytesOf(target), "new");
}

TEST_P(Server, InterruptedWriteIsRemovedAfterADay) {
    systemCalls().fileSystem = GetParam();
    const QString recent = interruptedWrite(60 * 60);
    EXPECT_EQ(write(target), 0);
    EXPECT_TRUE(QFile::exists(recent)) << "another machine may still be writing the file";
    const QString old = interruptedWrite(25 * 60 * 60);
    EXPECT_EQ(write(target), 0);
    EXPECT_FALSE(QFile::exists(old));
}

INSTANTIATE_TEST_SUITE_P(All, Server,
                         testing::Values(NFS_SUPER_MAGIC, SMB_SUPER_MAGIC, 0xFF534D42L, 0xFE534D42L,
                                         static_cast<long>(static_cast<int>(0xFF534D42))));

} // namespace
} // namespace lumvik
