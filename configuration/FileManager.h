#pragma once

#include "configuration/CameraConfigurationError.h"

#include <QByteArray>
#include <QString>

#include <sys/types.h>

#include <tl/expected.hpp>

namespace lumvik {

/// The file system as the camera store sees it: a handful of operations with exact errors.
///
/// Stateless; the process-wide one is `standard()`. Tests derive from it to make a step fail that
/// does not fail on a healthy system. Every call blocks until the disk has answered.
class FileManager {
  public:
    FileManager() = default;
    FileManager(const FileManager &) = delete;
    FileManager &operator=(const FileManager &) = delete;
    virtual ~FileManager() = default;

    [[nodiscard]] static const FileManager &standard();

    /// Whether something stands at `path`, links followed: a link that leads nowhere is no file.
    /// Where the system does not let us look, the answer is yes, so that a list that cannot be
    /// reached is reported and not taken for one that was never made.
    [[nodiscard]] virtual bool fileExists(const QString &path) const;

    /// All bytes of the regular file at `path`, `limit` at most (EFBIG beyond). What is no regular
    /// file is never opened for reading, so that a pipe cannot make the program hang: EISDIR for a
    /// folder, ENODEV for the rest.
    [[nodiscard]] virtual tl::expected<QByteArray, FileError> contents(const QString &path,
                                                                       qint64 limit) const;

    /// Makes the folder `path` and the folders above it that are missing, all with exactly `mode`.
    /// An existing folder is no error and stays as it is.
    [[nodiscard]] virtual tl::expected<void, FileError> createDirectory(const QString &path,
                                                                        mode_t mode) const;

    /// Puts `bytes` in the place of the file at `path`, which other processes see either as it was
    /// or as it becomes; see AtomicWrite.h.
    [[nodiscard]] virtual tl::expected<void, FileError> writeAtomically(const QByteArray &bytes,
                                                                        const QString &path) const;

    /// Sets the permission bits of the file at `path`.
    [[nodiscard]] virtual tl::expected<void, FileError> setPermissions(const QString &path,
                                                                       mode_t mode) const;
};

} // namespace lumvik
