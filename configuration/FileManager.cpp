#include "configuration/FileManager.h"

#include "platform/AtomicWrite.h"
#include "platform/FileDescriptor.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

namespace lumvik {

namespace {

using Operation = FileError::Operation;

auto failure(Operation operation, const QString &path, int systemError) {
    return tl::unexpected(FileError{operation, path, systemError});
}

/// The minimum number of bytes by which the buffer grows when a file is longer than its reported
/// size.
constexpr qsizetype smallestGrowth = 4096;

/// Returns 0 for a regular file, and otherwise the errno value to refuse reading with.
int refusalToRead(const struct stat &status) {
    if (S_ISREG(status.st_mode))
        return 0;
    return S_ISDIR(status.st_mode) ? EISDIR : ENODEV;
}

/// Reads to the end of the file, but at most one byte more than `limit`. The extra byte tells the
/// caller that the file is too large. Returns an errno value on failure.
tl::expected<QByteArray, int> readUpTo(int descriptor, qint64 limit, qint64 expectedSize) {
    // The reported size is only a hint: the file may be growing, and some file systems always
    // report 0.
    QByteArray bytes;
    bytes.resize(std::min(expectedSize, limit) + 1);
    qint64 used = 0;
    while (used <= limit) {
        if (used == bytes.size())
            bytes.resize(std::min(bytes.size() * 2 + smallestGrowth, limit + 1));
        const ssize_t got =
            ::read(descriptor, bytes.data() + used, static_cast<std::size_t>(bytes.size() - used));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return tl::unexpected(errno);
        if (got == 0)
            break;
        used += got;
    }
    bytes.truncate(used);
    return bytes;
}

/// Creates the folder `path`, whose parent exists, unless the folder already exists. Returns 0 or
/// an errno value.
int makeDirectory(const std::filesystem::path &path, mode_t mode) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0)
        return S_ISDIR(status.st_mode) ? 0 : ENOTDIR;
    if (::mkdir(path.c_str(), mode) != 0) {
        const int error = errno; // EEXIST if another instance created the folder first.
        return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) ? 0 : error;
    }
    // The umask may have cleared permission bits that the owner needs.
    if (::chmod(path.c_str(), mode) != 0)
        return errno;
    synchronizeFolder(path.parent_path());
    return 0;
}

} // namespace

const FileManager &FileManager::standard() {
    static const FileManager manager;
    return manager;
}

bool FileManager::fileExists(const QString &path) const {
    struct stat status {};
    if (::stat(QFile::encodeName(path).constData(), &status) == 0)
        return true;
    return errno != ENOENT && errno != ENOTDIR && errno != ELOOP;
}

tl::expected<QByteArray, FileError> FileManager::contents(const QString &path, qint64 limit) const {
    const QByteArray nativePath = QFile::encodeName(path);
    // The file type is checked before the file is opened, because merely opening some devices has
    // side effects. The type of the opened file is checked again, because the file may have been
    // replaced in the meantime.
    struct stat status {};
    if (::stat(nativePath.constData(), &status) != 0)
        return failure(Operation::read, path, errno);
    if (const int refusal = refusalToRead(status))
        return failure(Operation::read, path, refusal);
    const FileDescriptor file(
        ::open(nativePath.constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0)
        return failure(Operation::read, path, errno);
    if (const int refusal = refusalToRead(status))
        return failure(Operation::read, path, refusal);
    if (status.st_size > limit)
        return failure(Operation::read, path, EFBIG);
    auto bytes = readUpTo(file.get(), limit, status.st_size);
    if (!bytes)
        return failure(Operation::read, path, bytes.error());
    if (bytes->size() > limit)
        return failure(Operation::read, path, EFBIG);
    return std::move(*bytes);
}

tl::expected<void, FileError> FileManager::createDirectory(const QString &path, mode_t mode) const {
    std::filesystem::path folder;
    for (const auto &component : std::filesystem::path(QFile::encodeName(path).toStdString())) {
        folder /= component;
        if (const int error = makeDirectory(folder, mode))
            return failure(Operation::createFolder, path, error);
    }
    return {};
}

tl::expected<void, FileError> FileManager::writeAtomically(const QByteArray &bytes,
                                                           const QString &path) const {
    if (const int error = writeFileAtomically(bytes, QFile::encodeName(path).toStdString()))
        return failure(Operation::write, path, error);
    return {};
}

tl::expected<void, FileError> FileManager::addName(const QString &path,
                                                   const QString &newPath) const {
    const QByteArray from = QFile::encodeName(path);
    const QByteArray to = QFile::encodeName(newPath);
    // A second name leaves no moment at which the file is missing. File systems without hard links
    // report various errors, so every error except EEXIST leads to the attempt to rename the file.
    if (::link(from.constData(), to.constData()) != 0) {
        if (errno == EEXIST || ::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(),
                                           RENAME_NOREPLACE) != 0)
            return failure(Operation::keep, path, errno);
    }
    synchronizeFolder(std::filesystem::path(to.toStdString()).parent_path());
    return {};
}

void FileManager::removeName(const QString &newPath, const QString &path) const {
    const QByteArray added = QFile::encodeName(newPath);
    const QByteArray original = QFile::encodeName(path);
    if (::renameat2(AT_FDCWD, added.constData(), AT_FDCWD, original.constData(),
                    RENAME_NOREPLACE) == 0)
        return;
    struct stat status {};
    if (::stat(original.constData(), &status) == 0)
        ::unlink(added.constData());
}

tl::expected<void, FileError> FileManager::setPermissions(const QString &path, mode_t mode) const {
    if (::chmod(QFile::encodeName(path).constData(), mode) != 0)
        return failure(Operation::setPermissions, path, errno);
    return {};
}

} // namespace lumvik
