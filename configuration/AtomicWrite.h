#pragma once

#include <QByteArray>

#include <filesystem>

namespace lumvik {

/// Writes `bytes` to the file at `path`, which is created or replaced as a whole. Returns 0 or an
/// errno value. On failure the file keeps its old contents and no temporary file is left behind.
///
///  - A reader of the file sees either all of the old bytes or all of the new ones, even after a
///    crash or a power failure. The new bytes are written to a temporary file in the same folder
///    and flushed to the disk before the temporary file is renamed. A full disk is therefore
///    detected before the old file is touched.
///  - Other users can never read the new bytes: only the owner can read and write the temporary
///    file, and its permissions are set before the first byte is written.
///  - A symbolic link at `path` is followed and kept. The file that it points to is replaced.
///  - A file that its owner may not write is left alone and EACCES is returned. The rename would
///    succeed, but somebody made the file read-only for a reason. Anything other than a regular
///    file is left alone as well: EISDIR for a folder, ENODEV for the rest.
///
/// A process that is killed during a write leaves its temporary file behind. Each write removes
/// such files from the folder (see removeInterruptedWrites).
[[nodiscard]] int writeFileAtomically(const QByteArray &bytes, std::filesystem::path path);

/// Removes the temporary files that interrupted writes of this user have left in `folder`. These
/// are regular files whose names consist of ".lumvik-", sixteen hexadecimal digits and ".saving".
/// A file that a running process is still writing is kept for as long as the write takes: the
/// writer holds a lock on it, and the system releases the lock however that process ends.
void removeInterruptedWrites(const std::filesystem::path &folder);

/// Flushes the directory entries of `folder` to the disk, so that a file created or renamed there
/// survives a power failure. Errors are ignored: some file systems do not support this call, and a
/// rename that cannot be flushed cannot be undone either.
void synchronizeFolder(const std::filesystem::path &folder);

} // namespace lumvik
