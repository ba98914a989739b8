#include "ChildCase.h"

#include <QDirIterator>
#include <QFile>

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace lumvik::test {

namespace {

/// The exit status of a child process that skipped the test.
constexpr int skippedStatus = 77;
constexpr uid_t nobody = 65534;

bool putText(const char *path, const QByteArray &text) {
    QFile file(QString::fromUtf8(path));
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) &&
           file.write(text) == text.size();
}

/// Moves the process to its own mount namespace. An ordinary user needs a user namespace for that,
/// in which the user becomes the superuser.
bool enterMountNamespace() {
    if (::geteuid() == 0)
        return ::unshare(CLONE_NEWNS) == 0;
    const QByteArray user = QByteArray::number(::geteuid());
    const QByteArray group = QByteArray::number(::getegid());
    return ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && putText("/proc/self/setgroups", "deny") &&
           putText("/proc/self/uid_map", "0 " + user + " 1") &&
           putText("/proc/self/gid_map", "0 " + group + " 1");
}

bool mountSmallDisk(const QString &folder, int kilobytes) {
    const QByteArray options = "mode=0700,size=" + QByteArray::number(kilobytes) + "k";
    return enterMountNamespace() &&
           ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount("tmpfs", QFile::encodeName(folder).constData(), "tmpfs", MS_NOSUID,
                   options.constData()) == 0;
}

} // namespace

void inChildProcess(const std::function<void()> &body) {
    std::fflush(nullptr);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        body();
        std::fflush(nullptr);
        ::_exit(testing::Test::HasFailure() ? 1 : testing::Test::IsSkipped() ? skippedStatus : 0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
    if (WEXITSTATUS(status) == skippedStatus)
        GTEST_SKIP() << "the child process has printed the reason";
    EXPECT_EQ(WEXITSTATUS(status), 0) << "the child process has printed the reason";
}

void asOrdinaryUser(const QString &folder, const std::function<void()> &body) {
    inChildProcess([&] {
        if (::geteuid() == 0) {
            QStringList paths{folder};
            for (QDirIterator entries(
                     folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
                 entries.hasNext();)
                paths.append(entries.next());
            for (const QString &path : std::as_const(paths))
                ASSERT_EQ(::lchown(QFile::encodeName(path).constData(), nobody, nobody), 0);
            ASSERT_EQ(::setgroups(0, nullptr), 0);
            ASSERT_EQ(::setgid(nobody), 0);
            ASSERT_EQ(::setuid(nobody), 0);
        }
        body();
    });
}

void onSmallDisk(const QString &folder, int kilobytes, const std::function<void()> &body) {
    inChildProcess([&] {
        if (!mountSmallDisk(folder, kilobytes)) {
            GTEST_SKIP() << "this system does not let the test mount a memory disk: "
                         << std::strerror(errno);
        }
        body();
    });
}

void makeDiskReadOnly(const QString &folder) {
    ASSERT_EQ(::mount(nullptr, QFile::encodeName(folder).constData(), nullptr,
                      MS_REMOUNT | MS_RDONLY | MS_NOSUID, nullptr),
              0)
        << std::strerror(errno);
}

} // namespace lumvik::test
