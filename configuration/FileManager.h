#pragma once

#include "configuration/CameraConfigurationError.h"

#include <QByteArray>
#include <QString>

#include <sys/types.h>

#include <tl/expected.hpp>

namespace lumvik {

/// The file operations that the camera store needs, with exact errors.
///
/// A file manager has no state. The program uses `standard()`. Tests derive from this class to
/// simulate failures that do not occur on a healthy system. Every call blocks until the operation
/// is complete.
class FileManager {
  public:
    FileManager() = default;
    FileManager(const FileManager &) = delete;
    FileManager &operator=(const FileManager &) = delete;
    virtual ~FileManager() = default;

    [[nodiscard]] static const FileManager &standard();

    /// Returns whether anything exists at `path`. Links are followed, so a broken link counts as
    /// missing. Also returns true when the system denies the check: a list that cannot be accessed
    /// must be reported as an error and not be mistaken for one that was never saved.
    [[nodiscard]] virtual bool fileExists(const QString &path) const;

    /// Returns all bytes of the regular file at `path`, or EFBIG if there are more than `limit`.
    /// Anything other than a regular file is refused without being opened, so that a pipe cannot
    /// block the program. The error is EISDIR for a folder and ENODEV for everything else.
    [[nodiscard]] virtual tl::expected<QByteArray, FileError> contents(const QString &path,
                                                                       qint64 limit) const;

    /// Creates the folder `path` and its missing parents, all with exactly the permissions `mode`.
    /// A folder that already exists is not an error, and its permissions are not changed.
    [[nodiscard]] virtual tl::expected<void, FileError> createDirectory(const QString &path,
                                                                        mode_t mode) const;

    /// Replaces the contents of the file at `path` with `bytes`. Other processes see either all of
    /// the old contents or all of the new ones (see AtomicWrite.h).
    [[nodiscard]] virtual tl::expected<void, FileError> writeAtomically(const QByteArray &bytes,
                                                                        const QString &path) const;

    /// Gives the file at `path` the additional name `newPath` in the same folder. On a file system
    /// on which a file has only one name, the file is renamed instead. An existing file is never
    /// replaced: the error is EEXIST.
    [[nodiscard]] virtual tl::expected<void, FileError> addName(const QString &path,
                                                                const QString &newPath) const;

    /// Undoes `addName`: removes the name `newPath` if there is still a file at `path`, and gives
    /// the file its old name back otherwise. Errors are ignored, because the file exists under one
    /// of the two names in any case.
    virtual void removeName(const QString &newPath, const QString &path) const;

    /// Sets the permission bits of the file at `path`.
    [[nodiscard]] virtual tl::expected<void, FileError> setPermissions(const QString &path,
                                                                       mode_t mode) const;
};

} // namespace lumvik
