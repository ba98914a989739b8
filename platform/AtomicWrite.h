#pragma once

#include <QByteArray>

#include <sys/types.h>

#include <filesystem>

namespace lumvik {

/// Writes `bytes` to the file at `path`, which is created or replaced as a whole. Returns 0 or an
/// errno value. On failure the file keeps its old contents and no temporary file is left behind.
///
///  - A reader of the file sees either all of the old bytes or all of the new ones, even after a
///    crash or a power failure. The new bytes are written to a temporary file in the same folder
///    and flushed to the disk before the temporary file is renamed. A full disk therefore never
///    damages the old file.
///  - Other users can never read the new bytes: only the owner can read and write the temporary
///    file, and its permissions are set before the first byte is written.
///  - A symbolic link at `path` is followed and kept. The file that it points to is replaced. Only
///    a link for which `mayFollowLink` is false is refused with EACCES.
///  - A read-only file is left alone and EACCES is returned. The system would let a rename replace
///    a read-only file, but somebody made it read-only for a reason. Anything other than a regular
///    file is left alone as well. The error is EISDIR for a folder and ENODEV for everything else.
///
/// A process that is killed during a write leaves its temporary file behind. The next write to the
/// same folder removes that temporary file (see removeInterruptedWrites).
[[nodiscard]] int writeFileAtomically(const QByteArray &bytes, std::filesystem::path path);

/// Returns whether `user` may follow a link of `owner` in a folder with the mode `folderMode`. In a
/// folder in which every user can create files, such as /tmp, another user could use a link to make
/// the program write to a file of the other user's choice.
[[nodiscard]] bool mayFollowLink(uid_t owner, mode_t folderMode, uid_t user);

/// Removes the temporary files that interrupted writes of this user have left in `folder`. Only
/// regular files whose names consist of ".lumvik-", sixteen hexadecimal digits and ".saving"
/// are removed. A file that a running process is still writing is kept: the writer holds a lock on
/// the file, and the system releases the lock when the process ends, even after a crash. On a
/// network file system, a lock could block the caller until the server replies. There, no lock is
/// used, and files are removed once they are a day old.
void removeInterruptedWrites(const std::filesystem::path &folder);

/// Flushes the directory entries of `folder` to the disk, so that a file created or renamed there
/// survives a power failure. Errors are ignored: some file systems cannot flush a folder, and a
/// completed rename cannot be undone.
void synchronizeFolder(const std::filesystem::path &folder);

} // namespace lumvik
