#pragma once

#include "configuration/Camera.h"
#include "configuration/CameraConfigurationError.h"
#include "configuration/FileManager.h"

#include <QString>

#include <optional>
#include <tl/expected.hpp>

namespace lumvik {

/// Keeps the user's camera list on disk: the list in use, a last-known-good copy beside it that
/// takes over when the first is damaged, and the files that the user exports.
///
/// The store holds no list in memory: every call reads or writes the disk and blocks until that is
/// done. Writes are atomic (see AtomicWrite.h) and every file is readable and writable by its owner
/// only, since addresses hold passwords. The program uses `shared()`; main thread only.
class CameraConfigurationStore {
  public:
    /// The bytes of the largest document, which holds several hundred thousand cameras. What is
    /// larger is not a list of ours, and reading it would only fill the memory.
    static constexpr qint64 largestDocument = qint64{64} * 1024 * 1024;

    /// A store in `appSupportDirectoryOverride`, or in the user's own folder when there is none.
    /// `fileManager` must outlive the store.
    explicit CameraConfigurationStore(
        std::optional<QString> appSupportDirectoryOverride = std::nullopt,
        const FileManager &fileManager = FileManager::standard());

    /// The program's one store, made on first use.
    [[nodiscard]] static CameraConfigurationStore &shared();

    /// The folder with both files; not made here. By default "lumvik" in $XDG_DATA_HOME, which
    /// itself is ~/.local/share by default. The process ends if the user has no home at all.
    [[nodiscard]] QString appSupportDirectory() const;

    /// The stored list; empty when none has ever been saved. When the list is damaged or empty, the
    /// recovery copy's; the damaged file stays where it is until the next save. A good list is
    /// copied over the recovery copy.
    ///
    /// Fails when neither file holds a camera: with noCameras when the last one looked at was a
    /// document without any, else with what is wrong with the list itself.
    [[nodiscard]] tl::expected<CameraList, StoreError> load() const;

    /// Stores the list and its recovery copy, making the folder (mode 0700) if need be. Whether the
    /// copy could be written does not count. An empty list is stored like any other.
    [[nodiscard]] tl::expected<void, StoreError> save(const CameraList &cameras) const;

    /// Writes the list to a file of the user's choice; the store's own files stay untouched. An
    /// empty list is refused with noCameras. When only the permissions cannot be set, as on a
    /// memory stick without any, the error says so and the file stays, complete.
    [[nodiscard]] tl::expected<void, StoreError> exportCameras(const CameraList &cameras,
                                                               const QString &location) const;

  private:
    [[nodiscard]] tl::expected<void, StoreError> writeProtected(const QByteArray &data,
                                                                const QString &location) const;
    [[nodiscard]] tl::expected<CameraList, StoreError> recovered(const StoreError &problem) const;
    void refreshRecoveryCopy() const;
    [[nodiscard]] QString primaryLocation() const;
    [[nodiscard]] QString recoveryLocation() const;

    const FileManager &m_fileManager;
    std::optional<QString> m_appSupportDirectoryOverride;
};

} // namespace lumvik
