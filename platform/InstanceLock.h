#pragma once

#include <QString>

namespace lumvik {

/// A lock that one process at a time holds, by way of a file.
///
/// The kernel keeps it, and lets go of it with the process however that ends; unlike with a process
/// id written into the file, no later process can be taken for the holder. The file itself stays.
/// Destruction releases the lock.
class InstanceLock {
  public:
    /// `path` is the file's; its folder must exist.
    explicit InstanceLock(QString path);
    InstanceLock(const InstanceLock &) = delete;
    InstanceLock &operator=(const InstanceLock &) = delete;
    ~InstanceLock();

    enum class Result {
        acquired,
        heldByAnother,
        unavailable, ///< No file can be made or locked there.
    };
    /// Takes the lock if nobody has it. Does not wait.
    [[nodiscard]] Result tryLock();

  private:
    const QString m_path;
    int m_descriptor = -1;
};

} // namespace lumvik
