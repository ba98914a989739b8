#include "platform/AtomicWrite.h"

#include "platform/FileDescriptor.h"

#include <QRandomGenerator>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statfs.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <ctime>
#include <string_view>

namespace lumvik {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view temporaryPrefix = ".lumvik-";
constexpr std::string_view temporarySuffix = ".saving";
/// The hexadecimal digits of a 64-bit random number.
constexpr std::size_t temporaryDigits = 16;
/// The number of attempts to create a temporary file. An attempt fails if the random name is in
/// use, which practically never happens, or if a concurrent removeInterruptedWrites removes the new
/// file before it is locked, which is rare.
constexpr int creationAttempts = 100;
/// The maximum number of symbolic links that are followed. The Linux kernel has the same limit.
constexpr int longestLinkChain = 40;
/// The age in seconds from which a temporary file on a server is taken for interrupted. A day is
/// longer than every write, even if the clocks of the server and of this machine differ.
constexpr std::time_t longestWrite = 24L * 60 * 60;
constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;

fs::path folderOf(const fs::path &path) {
    return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

/// Returns a name that no other process uses, not even one that was forked from this one and would
/// share the numbers of QRandomGenerator::global(): a process that removes interrupted writes opens
/// a file before it removes it by its name.
std::string temporaryName() {
    char digits[temporaryDigits + 1];
    std::snprintf(digits, sizeof digits, "%0*llx", static_cast<int>(temporaryDigits),
                  static_cast<unsigned long long>(QRandomGenerator::system()->generate64()));
    return std::string(temporaryPrefix).append(digits).append(temporarySuffix);
}

bool isTemporaryName(std::string_view name) {
    if (name.size() != temporaryPrefix.size() + temporaryDigits + temporarySuffix.size() ||
        !name.starts_with(temporaryPrefix) || !name.ends_with(temporarySuffix))
        return false;
    const std::string_view digits = name.substr(temporaryPrefix.size(), temporaryDigits);
    return digits.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

/// Returns whether a file is on a server. A lock there is a request to the server, which blocks for
/// as long as the server does not reply, even if the lock is requested without waiting.
bool isOnServer(int descriptor) {
    // The kernel's header does not contain the last two numbers in all versions.
    constexpr std::array<unsigned long, 7> servers = {
        NFS_SUPER_MAGIC, SMB_SUPER_MAGIC,       AFS_SUPER_MAGIC, CODA_SUPER_MAGIC,
        V9FS_MAGIC,      0xFF534D42 /* CIFS */, 0xFE534D42 /* SMB 2 */};
    struct statfs status {};
    if (::fstatfs(descriptor, &status) != 0)
        return false;
    const auto type = static_cast<unsigned long>(status.f_type) & 0xFFFFFFFF;
    return std::find(servers.begin(), servers.end(), type) != servers.end();
}

/// A locked temporary file. The destructor removes the file unless it was renamed.
class TemporaryFile {
  public:
    TemporaryFile() = default;
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;
    ~TemporaryFile() {
        if (!m_path.empty())
            ::unlink(m_path.c_str());
    }

    [[nodiscard]] int create(const fs::path &folder);
    [[nodiscard]] int write(const QByteArray &bytes);
    [[nodiscard]] int renameTo(const fs::path &path);

  private:
    [[nodiscard]] bool lock();

    fs::path m_path; // The path is empty when there is no file to remove.
    FileDescriptor m_file;
};

int TemporaryFile::create(const fs::path &folder) {
    for (int attempt = 0; attempt < creationAttempts; ++attempt) {
        const fs::path path = folder / temporaryName();
        m_file = FileDescriptor(
            ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, ownerOnly));
        if (!m_file.isOpen() && errno == EEXIST)
            continue;
        if (!m_file.isOpen())
            return errno;
        m_path = path;
        // The umask may have cleared permission bits that the owner needs. A failure of fchmod is
        // ignored: on a file system without permissions, CameraConfigurationStore fails to set the
        // permissions of the final file and reports that error.
        static_cast<void>(::fchmod(m_file.get(), ownerOnly));
        if (lock())
            return 0;
    }
    return EAGAIN;
}

/// Takes the lock that keeps removeInterruptedWrites of other processes from removing the file, and
/// never waits for it. Returns false when another process has removed the file or is about to. On a
/// file system without locks, the file needs no lock: removeInterruptedWrites removes only files
/// that it can lock. On a server, both do without locks.
bool TemporaryFile::lock() {
    if (isOnServer(m_file.get()))
        return true;
    const bool isTaken = ::flock(m_file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    struct stat status {};
    if (!isTaken && ::fstat(m_file.get(), &status) == 0 && status.st_nlink > 0)
        return true;
    ::unlink(m_path.c_str());
    m_path.clear();
    return false;
}

int TemporaryFile::write(const QByteArray &bytes) {
    const char *next = bytes.constData();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t written = ::write(m_file.get(), next, static_cast<std::size_t>(left));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return written == 0 ? EIO : errno;
        next += written;
        left -= written;
    }
    // Some file systems report a full disk only when the file is flushed. The bytes must also be on
    // the disk before the file is renamed.
    while (::fsync(m_file.get()) != 0) {
        if (errno != EINTR)
            return errno;
    }
    return 0;
}

int TemporaryFile::renameTo(const fs::path &path) {
    if (::rename(m_path.c_str(), path.c_str()) != 0)
        return errno;
    m_path.clear();
    return 0;
}

/// Replaces `path` with the target of its symbolic links. The final target need not exist. Returns
/// ELOOP when the links form a cycle, EACCES for a link that must not be followed, and 0 otherwise.
int followLinks(fs::path &path) {
    for (int count = 0; count <= longestLinkChain; ++count) {
        // The owner and the target are read from the same link, even if the link is replaced
        // meanwhile.
        const FileDescriptor link(::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
        struct stat status {};
        if (!link.isOpen() || ::fstat(link.get(), &status) != 0 || !S_ISLNK(status.st_mode))
            return 0;
        struct stat folder {};
        if (::stat(folderOf(path).c_str(), &folder) != 0)
            return errno;
        if (!mayFollowLink(status.st_uid, folder.st_mode, ::geteuid()))
            return EACCES;
        std::string target(PATH_MAX, '\0');
        const ssize_t length = ::readlinkat(link.get(), "", target.data(), target.size());
        if (length < 0)
            return errno;
        target.resize(static_cast<std::size_t>(length));
        path = path.parent_path() / target;
    }
    return ELOOP;
}

/// Returns 0 when the file at `path` does not exist or may be replaced, and otherwise the errno
/// value to refuse the write with.
int refusalToReplace(const fs::path &path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0)
        return errno == ENOENT ? 0 : errno;
    if (S_ISDIR(status.st_mode))
        return EISDIR;
    if (!S_ISREG(status.st_mode))
        return ENODEV;
    // A read-only file is not replaced even if the superuser runs the program, although the system
    // would permit the write.
    if ((status.st_mode & S_IWUSR) == 0)
        return EACCES;
    return ::access(path.c_str(), W_OK) == 0 ? 0 : errno;
}

void removeIfInterrupted(const fs::path &path) {
    const FileDescriptor file(
        ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_uid != ::geteuid())
        return;
    const bool isInterrupted = isOnServer(file.get())
                                   ? ::time(nullptr) - status.st_mtime > longestWrite
                                   : ::flock(file.get(), LOCK_EX | LOCK_NB) == 0;
    if (isInterrupted)
        ::unlink(path.c_str());
}

} // namespace

bool mayFollowLink(uid_t owner, mode_t folderMode, uid_t user) {
    return owner == user || (folderMode & S_ISVTX) == 0;
}

int writeFileAtomically(const QByteArray &bytes, fs::path path) {
    if (const int error = followLinks(path))
        return error;
    if (const int error = refusalToReplace(path))
        return error;
    const fs::path folder = folderOf(path);
    removeInterruptedWrites(folder);
    TemporaryFile file;
    if (const int error = file.create(folder))
        return error;
    if (const int error = file.write(bytes))
        return error;
    if (const int error = file.renameTo(path))
        return error;
    synchronizeFolder(folder);
    return 0;
}

void removeInterruptedWrites(const fs::path &folder) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (isTemporaryName(entry->path().filename().native()))
            removeIfInterrupted(entry->path());
    }
}

void synchronizeFolder(const fs::path &folder) {
    const FileDescriptor directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.isOpen())
        static_cast<void>(::fsync(directory.get()));
}

} // namespace lumvik
