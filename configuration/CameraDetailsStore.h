#pragma once

#include "configuration/Camera.h"
#include "configuration/CameraDetails.h"
#include "configuration/FileManager.h"

#include <QJsonObject>
#include <QString>

#include <tl/expected.hpp>

namespace lumvik {

/// Keeps the details of the cameras on disk, in the file "cameras.details.json" beside the camera
/// list, keyed by the cameras' addresses. The list itself contains only what the user enters.
///
/// Losing the details costs comfort and nothing else: the program learns them again. A file that
/// cannot be read or understood therefore counts as empty and is reported once. Each change writes
/// the whole file atomically (see AtomicWrite.h) and drops the cameras that are no longer in the
/// list. Keys that this version does not know are kept. Only the owner can read and write the file,
/// because addresses contain passwords, and no log line contains an address.
///
/// The store caches nothing in memory, so that several processes can use the same file. The
/// controller owns the store. Main thread only.
class CameraDetailsStore {
  public:
    /// The size limit of the file in bytes (8 MiB), far more than the details of any real list.
    static constexpr qint64 largestDocument = qint64{8} * 1024 * 1024;

    /// `folder` is the folder of the camera list. `fileManager` must outlive the store.
    explicit CameraDetailsStore(QString folder,
                                const FileManager &fileManager = FileManager::standard());

    /// Returns the details of the camera with the address `url`, or the defaults if there are none.
    [[nodiscard]] CameraDetails details(const QString &url) const;

    /// Stores the details of the camera with the address `url`, and drops all cameras that are not
    /// in `cameras`. An error has been logged.
    [[nodiscard]] tl::expected<void, FileError>
    store(const QString &url, const CameraDetails &details, const CameraList &cameras) const;

  private:
    [[nodiscard]] QString location() const;
    [[nodiscard]] QJsonObject entries() const;
    [[nodiscard]] tl::expected<void, FileError> write(const QByteArray &document) const;
    void reportUnreadable() const;

    QString m_folder;
    const FileManager &m_fileManager;
    mutable bool m_unreadableWasReported = false;
};

} // namespace lumvik
