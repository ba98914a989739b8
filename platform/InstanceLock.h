#pragma once

#include "platform/FileDescriptor.h"

#include <QString>

namespace lumvik {

/// A file lock that only one process at a time can hold.
///
/// The kernel keeps the lock and releases it when the process ends, for whatever reason. A process
/// id written into the file would be less reliable, because a later process can have the same id.
/// The lock file is never removed. Destruction releases the lock.
class InstanceLock {
  public:
    /// `path` is the path of the file. Its folder must exist.
    explicit InstanceLock(QString path);
    InstanceLock(const InstanceLock &) = delete;
    InstanceLock &operator=(const InstanceLock &) = delete;

    enum class Result {
        acquired,
        heldByAnother,
        unavailable, ///< The file cannot be created or locked.
    };
    /// Acquires the lock if it is free. Does not wait.
    [[nodiscard]] Result tryLock();

  private:
    const QString m_path;
    FileDescriptor m_file; ///< Open while the lock is held.
};

} // namespace lumvik
