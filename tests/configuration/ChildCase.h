#pragma once

#include <QString>

#include <functional>

namespace lumvik::test {

/// Runs `body` in a child process, so that what it does to the process (user, mounts) ends with it.
/// Failed expectations and skips in the child count for the running test.
void inChildProcess(const std::function<void()> &body);

/// Runs `body` in a child process as a user whom permission bits bind, after giving that user
/// `folder` and what is in it. The superuser becomes "nobody"; everyone else stays who they are.
void asOrdinaryUser(const QString &folder, const std::function<void()> &body);

/// Runs `body` in a child process in which `folder` is a small memory disk of `kilobytes`. Skips
/// the test where the system does not allow mounting.
void onSmallDisk(const QString &folder, int kilobytes, const std::function<void()> &body);

/// Makes the disk that onSmallDisk mounted read-only.
void makeDiskReadOnly(const QString &folder);

} // namespace lumvik::test
