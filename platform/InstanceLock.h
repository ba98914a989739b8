#pragma once

#include "platform/FileDescriptor.h"

#include <QString>

namespace lumvik {

/// A lock, based on a file, that one process at a time can hold.
///
/// The kernel keeps the lock and releases it when the process ends, however that happens. Unlike a
/// process id written into the file, it cannot be attributed to a later process by mistake. The
/// file itself is never removed. Destruction releases the lock.
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
