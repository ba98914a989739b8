#pragma once

#include <QByteArray>

#include <filesystem>

namespace lumvik {

/// Puts `bytes` in the place of the file at `path`, or makes it; returns 0 or an errno value. On
/// failure the file is as it was and nothing is left beside it.
///
///  - Whoever reads the file, at any moment and after a crash or a power cut, finds all of the old
///    bytes or all of the new ones: they go to a temporary file in the same folder, are brought to
///    the disk, and only then is the temporary file renamed. A full disk is noticed before the
///    rename.
///  - No other user can read the new bytes at any moment: the temporary file is readable and
///  writable
///    by its owner only, before the first byte is written.
///  - A link at `path` is followed and stays; the file that it leads to is replaced.
///  - A file whose owner may not write it (EACCES) is left alone, although the rename would work:
///  it
///    was made read-only for a reason. So is what is no regular file (EISDIR for a folder, ENODEV).
///
/// A process that is killed in between leaves its temporary file behind. Each write removes such
/// remains from the folder (see removeInterruptedWrites).
[[nodiscard]] int writeFileAtomically(const QByteArray &bytes, std::filesystem::path path);

/// Removes what interrupted writes of this user have left in `folder`: regular files named
/// ".lumvik-", sixteen hexadecimal digits, ".saving". A file that a running process is still
/// writing is kept, however long it takes: the writer holds a lock on it, which the system drops
/// when the process ends in whatever way.
void removeInterruptedWrites(const std::filesystem::path &folder);

/// Brings the names in `folder` to the disk, so that a file made or renamed there survives a power
/// cut. Not every file system offers that, and none can be asked to undo the change when it fails,
/// so there is nothing to report.
void synchronizeFolder(const std::filesystem::path &folder);

} // namespace lumvik
