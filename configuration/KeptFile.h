#pragma once

#include "configuration/FileManager.h"

#include <QDateTime>
#include <QString>

#include <tl/expected.hpp>

namespace lumvik {

/// A file that is about to be replaced although nobody has read it, kept under another name.
///
/// A camera list that cannot be read today may be readable tomorrow: after the disk has been
/// mounted, after its permissions have been corrected, or with a newer version of Lumvik. The list
/// is therefore never overwritten. The store creates a KeptFile before it writes and destroys it
/// afterwards. If the write fails, `undo` restores the previous state. Main thread only.
class KeptFile {
  public:
    /// Keeps the regular file at `path` as "cameras.unreadable-<time>.json" in the same folder,
    /// with access for the owner only. `now` is the time in the name. A file that already has this
    /// name is never replaced: a number is appended instead. A link at `path` is followed, and its
    /// target is kept in the target's folder. Fails with the operation `keep`, and then changes
    /// nothing.
    [[nodiscard]] static tl::expected<KeptFile, FileError>
    keep(const FileManager &files, const QString &path, const QDateTime &now);

    /// Removes the additional name, or gives the file its old name back.
    void undo() const;

    /// Returns the name of the file without its folder.
    [[nodiscard]] QString name() const;

  private:
    KeptFile(const FileManager &files, QString original, QString kept)
        : m_files(&files)
        , m_original(std::move(original))
        , m_kept(std::move(kept)) {}

    const FileManager *m_files; // never null
    QString m_original;
    QString m_kept;
};

} // namespace lumvik
