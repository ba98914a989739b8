#include "platform/AtomicWrite.h"

#include "platform/FileDescriptor.h"

#include <QRandomGenerator>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
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
constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;

std::string temporaryName() {
    char digits[temporaryDigits + 1];
    std::snprintf(digits, sizeof digits, "%0*llx", static_cast<int>(temporaryDigits),
                  static_cast<unsigned long long>(QRandomGenerator::global()->generate64()));
    return std::string(temporaryPrefix).append(digits).append(temporarySuffix);
}

bool isTemporaryName(std::string_view name) {
    if (name.size() != temporaryPrefix.size() + temporaryDigits + temporarySuffix.size() ||
        !name.starts_with(temporaryPrefix) || !name.ends_with(temporarySuffix))
        return false;
    const std::string_view digits = name.substr(temporaryPrefix.size(), temporaryDigits);
    return digits.find_first_not_of("0123456789abcdef") == std::string_view::npos;
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

/// Takes the lock that keeps removeInterruptedWrites of other processes from removing the file.
/// Returns false when another process removed the file before it was locked. On a file system
/// without locks, the file needs no lock: removeInterruptedWrites removes only files that it can
/// lock.
bool TemporaryFile::lock() {
    while (::flock(m_file.get(), LOCK_EX) != 0 && errno == EINTR) {
    }
    struct stat status {};
    if (::fstat(m_file.get(), &status) == 0 && status.st_nlink > 0)
        return true;
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
/// ELOOP when the links form a cycle, and 0 otherwise.
int followLinks(fs::path &path) {
    for (int count = 0; count <= longestLinkChain; ++count) {
        std::error_code noLink;
        const fs::path target = fs::read_symlink(path, noLink);
        if (noLink)
            return 0;
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

fs::path folderOf(const fs::path &path) {
    return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

void removeIfInterrupted(const fs::path &path) {
    const FileDescriptor file(
        ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_uid != ::geteuid())
        return;
    if (::flock(file.get(), LOCK_EX | LOCK_NB) == 0)
        ::unlink(path.c_str());
}

} // namespace

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
