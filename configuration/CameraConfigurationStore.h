#pragma once

#include "configuration/Camera.h"
#include "configuration/CameraConfigurationError.h"
#include "configuration/FileManager.h"

#include <QString>

#include <optional>
#include <tl/expected.hpp>

namespace lumvik {

/// Keeps the user's camera list on disk. The store writes the current list, a last-known-good
/// recovery copy that is loaded instead of a damaged list, and the files that the user exports.
///
/// The store caches nothing in memory: every call reads or writes the disk and returns when the
/// operation is complete. Writes are atomic (see AtomicWrite.h). Only the owner can read and write
/// the files, because addresses contain passwords. The program uses `shared()`. Main thread only.
class CameraConfigurationStore {
  public:
    /// The size limit of a document in bytes (64 MiB). Only a list that exhausts most of its bounds
    /// (see CameraListBounds.h) can be larger. Reading a larger file would only waste memory.
    static constexpr qint64 largestDocument = qint64{64} * 1024 * 1024;

    /// Creates a store in `appSupportDirectoryOverride` if it is set, and otherwise in the user's
    /// data folder. `fileManager` must outlive the store.
    explicit CameraConfigurationStore(
        std::optional<QString> appSupportDirectoryOverride = std::nullopt,
        const FileManager &fileManager = FileManager::standard());

    /// Returns the store that the whole program shares. The shared store is created on first use.
    [[nodiscard]] static CameraConfigurationStore &shared();

    /// Returns the folder of the list and its recovery copy without creating it. The default folder
    /// is "lumvik" in $XDG_DATA_HOME, which in turn defaults to ~/.local/share. The process is
    /// aborted if the user has no home folder.
    [[nodiscard]] QString appSupportDirectory() const;

    /// Returns the stored list, which is empty when none has ever been saved. A good list is copied
    /// to the recovery copy. When the list is damaged or empty, the recovery copy is returned
    /// instead, and the damaged file stays in place until the next save.
    ///
    /// A list that exceeds its bounds counts as damaged.
    ///
    /// Fails when neither the list nor the recovery copy contains a camera. The error is noCameras
    /// if one of the two is a valid document without cameras, and otherwise the error of the list.
    [[nodiscard]] tl::expected<CameraList, StoreError> load() const;

    /// Returns a digest of the stored list's bytes, or nothing if there is no list that can be
    /// read. Unlike a time stamp, the digest changes if and only if the list changes.
    [[nodiscard]] std::optional<QByteArray> digest() const;
    /// Returns the digest that the stored list has after `cameras` was saved.
    [[nodiscard]] static QByteArray digestOf(const CameraList &cameras);

    /// Returns whether there is neither a list nor a recovery copy. A link whose target is missing
    /// counts as missing, whether or not there is a recovery copy: the list is meant to be
    /// elsewhere.
    [[nodiscard]] bool isBare() const;

    /// What a save does with a list on the disk that can be read. A list that cannot be read is
    /// always kept.
    enum class ReadableList {
        replace, ///< The new list replaces the old one.
        keep,    ///< The old list is kept under another name, like an unreadable one.
    };

    /// Stores the list and its recovery copy, and creates the folder (mode 0700) if necessary. The
    /// save succeeds even if the recovery copy cannot be written. An empty list is stored as well.
    /// A list that exceeds its bounds is refused, because it could not be loaded again.
    ///
    /// A stored list that cannot be read is never replaced. The save first keeps the list, and a
    /// recovery copy that cannot be read either, under other names (see KeptFile). If that is
    /// impossible, the save fails and changes nothing.
    [[nodiscard]] tl::expected<void, StoreError>
    save(const CameraList &cameras, ReadableList readable = ReadableList::replace) const;

    /// Writes the list to the file at `location`. The store's own files are not touched. An empty
    /// list is refused with noCameras, and a list that exceeds its bounds with CameraListExcess. If
    /// the file is written but its permissions cannot be set, for example on a memory stick without
    /// permissions, the file is kept and an error is returned.
    [[nodiscard]] tl::expected<void, StoreError> exportCameras(const CameraList &cameras,
                                                               const QString &location) const;

  private:
    [[nodiscard]] tl::expected<void, StoreError> writeProtected(const QByteArray &data,
                                                                const QString &location) const;
    [[nodiscard]] tl::expected<CameraList, StoreError> recovered(const StoreError &problem) const;
    void refreshRecoveryCopy() const;
    /// Writes `document` to the list, after a list that must not be replaced was kept. Returns
    /// whether a list was kept.
    [[nodiscard]] tl::expected<bool, StoreError> replaceList(const QByteArray &document,
                                                             ReadableList readable) const;
    /// Writes `document` to the recovery copy. If `keepsUnreadable`, a recovery copy that cannot be
    /// read is kept first.
    [[nodiscard]] tl::expected<void, StoreError> replaceRecoveryCopy(const QByteArray &document,
                                                                     bool keepsUnreadable) const;
    [[nodiscard]] QString primaryLocation() const;
    [[nodiscard]] QString recoveryLocation() const;

    const FileManager &m_fileManager;
    std::optional<QString> m_appSupportDirectoryOverride;
};

} // namespace lumvik
