#pragma once

#include <QString>

#include <functional>

namespace lumvik::test {

/// Runs `body` in a child process, so that its changes to the process (user, mounts) do not affect
/// other tests. Failed expectations and skips in the child apply to the running test.
void inChildProcess(const std::function<void()> &body);

/// Runs `body` in a child process as a user to whom permission bits apply. If the current user is
/// the superuser, the child process runs as "nobody", who first becomes the owner of `folder` and
/// its contents. Otherwise, the child process runs as the current user.
void asOrdinaryUser(const QString &folder, const std::function<void()> &body);

/// Runs `body` in a child process in which a memory disk of the size `kilobytes` is mounted at
/// `folder`. Skips the test if the system does not allow mounting.
void onSmallDisk(const QString &folder, int kilobytes, const std::function<void()> &body);

/// Makes the disk that onSmallDisk mounted at `folder` read-only.
void makeDiskReadOnly(const QString &folder);

} // namespace lumvik::test
