#include "platform/AtomicWrite.h"

#include "ChildCase.h"
#include "SystemCalls.h"
#include "TestFolder.h"
#include "configuration/CameraConfiguration.h"
#include "configuration/CameraConfigurationStore.h"
#include "fakes/CapturingLogSink.h"
#include "platform/FileDescriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ostream>
#include <random>
#include <set>
#include <thread>

namespace lumvik {
namespace {

using namespace test;

/// The name of a temporary file that an interrupted write has left behind.
const QString leftover = u".lumvik-0123456789abcdef.saving"_s;

bool isTemporary(const QString &name) {
    return name.startsWith(u".lumvik-"_s) && name.endsWith(u".saving"_s);
}

class AtomicWrite : public testing::Test {
  protected:
    [[nodiscard]] int write(const QByteArray &bytes, const QString &name = u"file"_s) const {
        return writeFileAtomically(bytes, QFile::encodeName(folder.path(name)).toStdString());
    }

    const TestFolder folder;
    const SystemCallsRestored restored;
};

TEST_F(AtomicWrite, CreatesAFileAndReplacesIt) {
    EXPECT_EQ(write("one"), 0);
    EXPECT_EQ(write(""), 0);
    EXPECT_EQ(bytesOf(folder.path(u"file"_s)), "");
    EXPECT_EQ(write("three"), 0);
    EXPECT_EQ(bytesOf(folder.path(u"file"_s)), "three");
    EXPECT_EQ(folder.names(), QStringList(u"file"_s));
}

TEST_F(AtomicWrite, PartialWritesAreContinued) {
    const QByteArray bytes = CameraConfiguration{manyCameras(20)}.encoded();
    systemCalls().largestWrite = 7;
    EXPECT_EQ(write(bytes), 0);
    EXPECT_EQ(bytesOf(folder.path(u"file"_s)), bytes);
}

TEST_F(AtomicWrite, InterruptedSystemCallsAreRepeated) {
    std::set<std::string> interrupted;
    systemCalls().before = [&](const std::string &call, int) {
        const bool first = call == "flock" || call == "write" || call == "fsync"
                               ? interrupted.insert(call).second
                               : false;
        return first ? EINTR : 0;
    };
    EXPECT_EQ(write("bytes"), 0);
    EXPECT_EQ(interrupted.size(), 3U);
    EXPECT_EQ(bytesOf(folder.path(u"file"_s)), "bytes");
}

/// A system call that fails, and the errno value that it fails with.
struct Fault {
    const char *call;
    int error;
};

void PrintTo(const Fault &fault, std::ostream *out) {
    *out << fault.call << " fails with " << std::strerror(fault.error);
}

class AtomicWriteFault : public AtomicWrite, public testing::WithParamInterface<Fault> {};

TEST_P(AtomicWriteFault, LeavesTheOldFileAndNoTemporaryFile) {
    ASSERT_EQ(write("old"), 0);
    systemCalls().before = [](const std::string &call, int) {
        return call == GetParam().call ? GetParam().error : 0;
    };
    EXPECT_EQ(write("new"), GetParam().error);
    EXPECT_EQ(bytesOf(folder.path(u"file"_s)), "old");
    EXPECT_EQ(folder.names(), QStringList(u"file"_s));
}

INSTANTIATE_TEST_SUITE_P(Calls, AtomicWriteFault,
                         testing::Values(Fault{"write", ENOSPC}, Fault{"write", EIO},
                                         Fault{"fsync", EIO}, Fault{"fsync", EDQUOT},
                                         Fault{"rename", EACCES}));

TEST_F(AtomicWrite, DiskThatFillsUpDuringTheWriteLeavesTheOldFile) {
    ASSERT_EQ(write("old"), 0);
    int writes = 0;
    systemCalls().largestWrite = 4;
    systemCalls().before = [&](const std::string &call, int) {
        return call == "write" && ++writes > 2 ? ENOSPC : 0;
    };
    EXPECT_EQ(write("a longer text"), ENOSPC);
    EXPECT_EQ(bytesOf(folder.path(u"file"_s)), "old");
    EXPECT_EQ(folder.names(), QStringList(u"file"_s));
}

TEST_F(AtomicWrite, WritesToAFileSystemWithoutLocksOrPermissions) {
    systemCalls().before = [](const std::string &call, int) {
        return call == "flock" || call == "fchmod" ? EOPNOTSUPP : 0;
    };
    putBytes(folder.path(leftover), "leftover");
    EXPECT_EQ(write("bytes"), 0);
    EXPECT_EQ(bytesOf(folder.path(u"file"_s)), "bytes");
    // Without locks, the writer cannot know whether the leftover file is still being written.
    EXPECT_EQ(folder.names(), (QStringList{leftover, u"file"_s}));
}

TEST_F(AtomicWrite, BytesAreFlushedBeforeTheRenameAndTheFolderIsFlushedAfterIt) {
    QStringList calls;
    systemCalls().before = [&](const std::string &call, int descriptor) {
        struct stat status {};
        const bool isFolder =
            descriptor >= 0 && ::fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
        calls.append(QString::fromStdString(call) + (isFolder ? u" folder"_s : u""_s));
        return 0;
    };
    EXPECT_EQ(write("bytes"), 0);
    EXPECT_EQ(calls, (QStringList{u"fchmod"_s, u"flock"_s, u"write"_s, u"fsync"_s, u"rename"_s,
                                  u"fsync folder"_s}));
}

TEST_F(AtomicWrite, FileIsPrivateBeforeTheFirstByteWithAnyUmask) {
    for (const mode_t mask : {0000U, 0022U, 0077U, 0777U}) {
        const FileCreationMask creationMask(mask);
        int writes = 0;
        systemCalls().before = [&](const std::string &call, int descriptor) {
            struct stat status {};
            if (call == "fchmod") {
                EXPECT_EQ(::fstat(descriptor, &status), 0);
                EXPECT_EQ(status.st_mode & 0077, 0U); // The file is private from the start.
            }
            if (call == "write") {
                ++writes;
                EXPECT_EQ(::fstat(descriptor, &status), 0);
                EXPECT_EQ(status.st_mode & 07777, 0600U);
                EXPECT_TRUE(writes > 1 || status.st_size == 0);
            }
            return 0;
        };
        systemCalls().largestWrite = 3;
        EXPECT_EQ(write("several writes"), 0);
        EXPECT_EQ(writes, 5);
    }
}

TEST_F(AtomicWrite, OnlyLeftoverTemporaryFilesAreRemoved) {
    const QStringList kept{
        u".lumvik-0123456789abcde.saving"_s,   u".lumvik-0123456789ABCDEF.saving"_s,
        u".lumvik-0123456789abcdef.saving~"_s, u"lumvik-0123456789abcdef.saving"_s,
        u".lumvik-0123456789abcdefg.saving"_s, u".lumvik-.saving"_s,
        u".lumvik-0123456789abcdeg.saving"_s,  u"cameras.json"_s};
    for (const QString &name : kept)
        putBytes(folder.path(name), "mine");
    ASSERT_TRUE(QDir().mkpath(folder.path(u".lumvik-00000000000000d1.saving"_s)));
    ASSERT_EQ(::mkfifo(qPrintable(folder.path(u".lumvik-00000000000000f1.saving"_s)), 0600), 0);
    ASSERT_EQ(
        ::symlink("cameras.json", qPrintable(folder.path(u".lumvik-00000000000000e1.saving"_s))),
        0);
    const QStringList before = folder.names();
    putBytes(folder.path(leftover), "half a li");
    putBytes(folder.path(u".lumvik-fedcba9876543210.saving"_s), "");
    EXPECT_EQ(write("bytes"), 0);
    QStringList expected = before + QStringList(u"file"_s);
    QStringList found = folder.names();
    expected.sort();
    found.sort();
    EXPECT_EQ(found, expected);
    EXPECT_EQ(bytesOf(folder.path(u"cameras.json"_s)), "mine");
}

TEST_F(AtomicWrite, TemporaryFilesOfAnotherUserAreKept) {
    putBytes(folder.path(leftover), "leftover");
    const uid_t somebodyElse = ::geteuid() + 1;
    if (::chown(qPrintable(folder.path(leftover)), somebodyElse, somebodyElse) != 0)
        GTEST_SKIP() << "only the superuser can give a file away";
    EXPECT_EQ(write("bytes"), 0);
    EXPECT_TRUE(folder.names().contains(leftover));
}

TEST_F(AtomicWrite, FileThatAnotherProcessIsStillWritingIsKept) {
    putBytes(folder.path(leftover), "being written");
    {
        const FileDescriptor writer(::open(qPrintable(folder.path(leftover)), O_WRONLY));
        ASSERT_EQ(::flock(writer.get(), LOCK_EX), 0);
        EXPECT_EQ(write("bytes"), 0);
        EXPECT_TRUE(folder.names().contains(leftover));
    }
    EXPECT_EQ(write("bytes"), 0);
    EXPECT_EQ(folder.names(), QStringList(u"file"_s));
}

TEST_F(AtomicWrite, WriteIsRetriedWhenItsTemporaryFileIsRemovedBeforeTheLock) {
    int removals = 0;
    systemCalls().before = [&](const std::string &call, int) {
        if (call == "flock" && removals == 0) {
            ++removals;
            systemCalls().before = nullptr; // removeInterruptedWrites() calls flock() as well.
            removeInterruptedWrites(QFile::encodeName(folder.path()).toStdString());
            EXPECT_EQ(folder.names(), QStringList());
        }
        return 0;
    };
    EXPECT_EQ(write("bytes"), 0);
    EXPECT_EQ(removals, 1);
    EXPECT_EQ(bytesOf(folder.path(u"file"_s)), "bytes");
    EXPECT_EQ(folder.names(), QStringList(u"file"_s));
}

// ---- Interrupted saves ----

const CameraList listA = manyCameras(40, u"a"_s);
const CameraList listB = manyCameras(60, u"b"_s);

class InterruptedSave : public testing::Test {
  protected:
    [[nodiscard]] CameraConfigurationStore store() const {
        return CameraConfigurationStore(storage);
    }

    /// Expects that the stored list and its recovery copy are each complete, and that every file in
    /// the folder is private.
    void expectConsistent() const {
        for (const QString &name : {u"cameras.json"_s, u"cameras.last-good.json"_s}) {
            const QByteArray bytes = bytesOf(storage + u'/' + name);
            EXPECT_TRUE(bytes == bytesA || bytes == bytesB) << qPrintable(name) << " is incomplete";
        }
        for (const QString &name : TestFolder::namesIn(storage))
            EXPECT_EQ(modeOf(storage + u'/' + name), 0600) << qPrintable(name);
    }

    void expectLoadsAndCleansUp() const {
        const auto loaded = store().load();
        ASSERT_TRUE(loaded.has_value());
        EXPECT_TRUE(*loaded == listA || *loaded == listB);
        ASSERT_TRUE(store().save(listA).has_value());
        EXPECT_EQ(TestFolder::namesIn(storage),
                  (QStringList{u"cameras.json"_s, u"cameras.last-good.json"_s}));
    }

    /// Starts a process that saves the two lists alternately until it is killed.
    [[nodiscard]] pid_t startSaving() const {
        const pid_t child = ::fork();
        if (child == 0) {
            for (;;) {
                if (!store().save(listB) || !store().save(listA))
                    ::_exit(1);
            }
        }
        return child;
    }

    const TestFolder folder;
    const QString storage = folder.path(u"lumvik"_s);
    const QByteArray bytesA = CameraConfiguration{listA}.encoded();
    const QByteArray bytesB = CameraConfiguration{listB}.encoded();
    const SystemCallsRestored restored;
    const FileCreationMask openMask{0000};
    CapturedLog log;
};

/// Runs `work` in a child process that is killed just before its system call number `fatal`.
/// Returns false if the process finished before that call.
bool isKilledDuring(int fatal, const std::function<void()> &work) {
    const pid_t child = ::fork();
    if (child == 0) {
        int calls = 0;
        systemCalls().largestWrite = 1000;
        systemCalls().before = [&calls, fatal](const std::string &, int) {
            if (++calls == fatal)
                ::raise(SIGKILL);
            return 0;
        };
        work();
        ::_exit(0);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

TEST_F(InterruptedSave, ProcessKilledAtAnyStepOfASaveLosesNothing) {
    int steps = 0;
    int leftovers = 0;
    for (bool wasKilled = true; wasKilled;) {
        ASSERT_TRUE(store().save(listA).has_value());
        wasKilled = isKilledDuring(++steps, [this] { static_cast<void>(store().save(listB)); });
        expectConsistent();
        leftovers += TestFolder::namesIn(storage).size() > 2 ? 1 : 0;
        expectLoadsAndCleansUp();
        log.clear();
    }
    EXPECT_GT(steps, 20);
    EXPECT_GT(leftovers, 10); // Otherwise no save was interrupted.
}

TEST_F(InterruptedSave, ProcessKilledAtAnyStepOfALoadLosesNothing) {
    int steps = 0;
    for (bool wasKilled = true; wasKilled; log.clear()) {
        ASSERT_TRUE(store().save(listB).has_value());
        ASSERT_EQ(
            writeFileAtomically(bytesA, QFile::encodeName(storage).toStdString() + "/cameras.json"),
            0);
        wasKilled = isKilledDuring(++steps, [this] { static_cast<void>(store().load()); });
        expectConsistent();
        expectLoadsAndCleansUp();
    }
    EXPECT_GT(steps, 8);
}

TEST_F(InterruptedSave, InterruptedFirstSaveLeavesNoListOrACompleteOne) {
    int steps = 0;
    for (bool wasKilled = true; wasKilled; log.clear()) {
        wasKilled = isKilledDuring(++steps, [this] { static_cast<void>(store().save(listB)); });
        const auto loaded = store().load();
        ASSERT_TRUE(loaded.has_value());
        EXPECT_TRUE(loaded->isEmpty() || *loaded == listB);
        ASSERT_TRUE(QDir(storage).removeRecursively());
    }
    EXPECT_GT(steps, 20);
}

TEST_F(InterruptedSave, ProcessKilledAtARandomMomentLosesNothing) {
    constexpr int kills = 400;
    constexpr unsigned seed = 20260131;
    std::mt19937 random(seed);
    ASSERT_TRUE(store().save(listA).has_value());
    std::uniform_int_distribution<int> microseconds(0, 15000);
    int leftovers = 0;
    int sawB = 0;
    for (int kill = 0; kill < kills && !HasFailure(); ++kill) {
        const pid_t child = startSaving();
        ASSERT_GT(child, 0);
        // This sleep chooses the random moment of the kill and does not wait for an event.
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random)));
        ASSERT_EQ(::kill(child, SIGKILL), 0);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "a save failed";
        expectConsistent();
        leftovers += TestFolder::namesIn(storage).size() > 2 ? 1 : 0;
        sawB += bytesOf(storage + u"/cameras.json"_s) == bytesB ? 1 : 0;
        expectLoadsAndCleansUp();
        log.clear();
    }
    RecordProperty("interrupted", leftovers);
    EXPECT_GT(leftovers, 0); // Otherwise no save was interrupted.
    EXPECT_GT(sawB, 0);
}

TEST_F(InterruptedSave, SimultaneousSavesOfSeveralInstancesDoNotDamageTheList) {
    std::vector<pid_t> children;
    for (const CameraList &list : {listA, listB, listA}) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int round = 0; round < 60; ++round) {
                const auto loaded = store().load();
                const auto saved = store().save(list);
                if (!loaded)
                    std::fprintf(stderr, "%s\n", qPrintable(errorDescription(loaded.error())));
                if (!saved)
                    std::fprintf(stderr, "%s\n", qPrintable(errorDescription(saved.error())));
                if (!loaded || !saved)
                    ::_exit(1);
            }
            ::_exit(0);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    expectConsistent();
    expectLoadsAndCleansUp();
}

/// Inspects a folder continuously on a separate thread, as another user of the machine might.
class FolderObserver {
  public:
    explicit FolderObserver(const QString &folder)
        : m_folder(QFile::encodeName(folder))
        , m_thread([this] { observe(); }) {}
    FolderObserver(const FolderObserver &) = delete;
    FolderObserver &operator=(const FolderObserver &) = delete;
    ~FolderObserver() {
        m_stop = true;
        m_thread.join();
    }

    [[nodiscard]] int temporaryFilesSeen() const { return m_temporaryFilesSeen; }
    [[nodiscard]] int readableFilesSeen() const { return m_readableFilesSeen; }
    [[nodiscard]] int partialListsSeen() const { return m_partialListsSeen; }

  private:
    void observe() {
        const QString folder = QFile::decodeName(m_folder);
        while (!m_stop) {
            for (const QString &name : TestFolder::namesIn(folder)) {
                struct stat status {};
                const QByteArray path = m_folder + '/' + QFile::encodeName(name);
                if (::lstat(path.constData(), &status) != 0)
                    continue; // The file has already been removed.
                m_temporaryFilesSeen += isTemporary(name) ? 1 : 0;
                m_readableFilesSeen += (status.st_mode & 0077) != 0 ? 1 : 0;
            }
            QFile list(folder + u"/cameras.json"_s);
            if (list.open(QIODevice::ReadOnly) && !CameraConfiguration::decoded(list.readAll()))
                ++m_partialListsSeen;
        }
    }

    const QByteArray m_folder;
    std::atomic<bool> m_stop = false;
    std::atomic<int> m_temporaryFilesSeen = 0;
    std::atomic<int> m_readableFilesSeen = 0;
    std::atomic<int> m_partialListsSeen = 0;
    // The thread is the last member, so that it starts after all others are initialised.
    std::thread m_thread;
};

TEST_F(InterruptedSave, ConcurrentReaderNeverSeesAReadableTemporaryFileOrAPartialList) {
    ASSERT_TRUE(store().save(listA).has_value());
    const FolderObserver observer(storage);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    int saves = 0;
    while ((saves < 200 || observer.temporaryFilesSeen() < 50) &&
           std::chrono::steady_clock::now() < deadline) {
        ASSERT_TRUE(store().save(++saves % 2 == 0 ? listA : listB).has_value());
    }
    EXPECT_GE(observer.temporaryFilesSeen(), 50); // Otherwise the observer saw no save in progress.
    EXPECT_EQ(observer.readableFilesSeen(), 0);
    EXPECT_EQ(observer.partialListsSeen(), 0);
}

} // namespace
} // namespace lumvik
