#include "configuration/CameraConfigurationStore.h"

#include "configuration/CameraConfiguration.h"
#include "configuration/KeptFile.h"
#include "platform/LumvikLog.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace lumvik {

namespace {

// Only the owner may access the folder and its files, because addresses contain passwords.
constexpr mode_t folderMode = 0700;
constexpr mode_t fileMode = 0600;

QString absolutePathFromEnvironment(const char *name) {
    const QString path = QFile::decodeName(qgetenv(name));
    return QDir::isAbsolutePath(path) ? path : QString();
}

QString homeDirectory() {
    QString home = absolutePathFromEnvironment("HOME");
    if (!home.isEmpty())
        return home;
    const passwd *entry = ::getpwuid(::geteuid());
    const QString recorded = entry ? QFile::decodeName(entry->pw_dir) : QString();
    return QDir::isAbsolutePath(recorded) ? recorded : QString();
}

/// Returns the folder in which programs keep the data of the current user.
QString userDataDirectory() {
    // The XDG base directory rules require relative paths to be ignored.
    QString chosen = absolutePathFromEnvironment("XDG_DATA_HOME");
    if (!chosen.isEmpty())
        return chosen;
    const QString home = homeDirectory();
    if (home.isEmpty())
        qFatal("There is no home folder to keep the camera list in.");
    return home + QStringLiteral("/.local/share");
}

struct StoredDocument {
    QByteArray bytes;
    CameraList cameras;
};

/// Reads and decodes the list or its recovery copy.
tl::expected<StoredDocument, StoreError> readDocument(const FileManager &files,
                                                      const QString &location) {
    auto bytes = files.contents(location, CameraConfigurationStore::largestDocument);
    if (!bytes)
        return tl::unexpected(StoreError(std::move(bytes.error())));
    auto configuration = CameraConfiguration::decoded(*bytes);
    if (!configuration)
        return tl::unexpected(StoreError(configuration.error()));
    if (auto excess = excessOf(configuration->cameras))
        return tl::unexpected(StoreError(std::move(*excess)));
    return StoredDocument{std::move(*bytes), std::move(configuration->cameras)};
}

/// Returns the document to write to `location`, or the reason why it could not be loaded again.
/// Such a document must not replace an old one.
tl::expected<QByteArray, StoreError> loadableDocument(const CameraList &cameras,
                                                      const QString &location) {
    if (auto excess = excessOf(cameras))
        return tl::unexpected(StoreError(std::move(*excess)));
    QByteArray document = CameraConfiguration{cameras}.encoded();
    if (document.size() > CameraConfigurationStore::largestDocument)
        return tl::unexpected(StoreError(FileError{FileError::Operation::write, location, EFBIG}));
    return document;
}

QByteArray digestOfBytes(const QByteArray &bytes) {
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
}

/// Returns whether a stored file that could not be read may contain a list. A file that does not
/// exist contains nothing, and a folder or a device is never replaced.
bool mayContainList(const StoreError &problem) {
    const auto *file = std::get_if<FileError>(&problem);
    if (file == nullptr)
        return true; // The file is not a document that this version can decode.
    switch (file->systemError) {
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
    case EISDIR:
    case ENODEV:
        return false;
    default:
        return true;
    }
}

/// Keeps the file at `location` under another name.
tl::expected<std::optional<KeptFile>, StoreError> kept(const FileManager &files,
                                                       const QString &location) {
    auto file = KeptFile::keep(files, location, QDateTime::currentDateTimeUtc());
    if (!file)
        return tl::unexpected(StoreError(std::move(file.error())));
    LumvikLog::configuration().log(
        QStringLiteral("The previous camera list is kept as “%1”.").arg(file->name()));
    return std::move(*file);
}

} // namespace

CameraConfigurationStore::CameraConfigurationStore(
    std::optional<QString> appSupportDirectoryOverride, const FileManager &fileManager)
    : m_fileManager(fileManager)
    , m_appSupportDirectoryOverride(std::move(appSupportDirectoryOverride)) {}

CameraConfigurationStore &CameraConfigurationStore::shared() {
    static CameraConfigurationStore store;
    return store;
}

QString CameraConfigurationStore::appSupportDirectory() const {
    if (m_appSupportDirectoryOverride)
        return *m_appSupportDirectoryOverride;
    return QDir::cleanPath(userDataDirectory() + QStringLiteral("/lumvik"));
}

QString CameraConfigurationStore::primaryLocation() const {
    return appSupportDirectory() + QStringLiteral("/cameras.json");
}

QString CameraConfigurationStore::recoveryLocation() const {
    return appSupportDirectory() + QStringLiteral("/cameras.last-good.json");
}

tl::expected<CameraList, StoreError> CameraConfigurationStore::load() const {
    const LogChannel &log = LumvikLog::configuration();
    if (!m_fileManager.fileExists(primaryLocation())) {
        // The recovery copy is not used: a missing list means a first run, not damage.
        log.info(QStringLiteral("No camera configuration exists yet."));
        return CameraList();
    }
    auto primary = readDocument(m_fileManager, primaryLocation());
    if (primary && primary->cameras.isEmpty())
        primary = tl::unexpected(StoreError(CameraConfigurationError::noCameras));
    if (!primary)
        return recovered(primary.error());
    refreshRecoveryCopy();
    log.info(QStringLiteral("Loaded %1 cameras.").arg(primary->cameras.size()));
    return std::move(primary->cameras);
}

/// Reads the list again and copies it byte for byte, so that the recovery copy equals the file that
/// is currently on the disk. Errors are ignored, because the cameras are usable without a recovery
/// copy.
void CameraConfigurationStore::refreshRecoveryCopy() const {
    const auto primary = readDocument(m_fileManager, primaryLocation());
    if (primary && !primary->cameras.isEmpty())
        static_cast<void>(writeProtected(primary->bytes, recoveryLocation()));
}

/// Returns the list from the recovery copy. `problem` is the error of the list itself, which is
/// returned if the recovery copy cannot be read either.
tl::expected<CameraList, StoreError>
CameraConfigurationStore::recovered(const StoreError &problem) const {
    const LogChannel &log = LumvikLog::configuration();
    log.error(
        QStringLiteral("Primary camera configuration is invalid; attempting owner-only recovery."));
    if (!m_fileManager.fileExists(recoveryLocation()))
        return tl::unexpected(problem);
    auto recovery = readDocument(m_fileManager, recoveryLocation());
    if (!recovery)
        return tl::unexpected(problem);
    if (recovery->cameras.isEmpty())
        return tl::unexpected(StoreError(CameraConfigurationError::noCameras));
    log.log(QStringLiteral("Recovered %1 cameras from the last-known-good configuration.")
                .arg(recovery->cameras.size()));
    return std::move(recovery->cameras);
}

std::optional<QByteArray> CameraConfigurationStore::digest() const {
    const auto list = readDocument(m_fileManager, primaryLocation());
    return list ? std::optional(digestOfBytes(list->bytes)) : std::nullopt;
}

QByteArray CameraConfigurationStore::digestOf(const CameraList &cameras) {
    return digestOfBytes(CameraConfiguration{cameras}.encoded());
}

bool CameraConfigurationStore::isBare() const {
    if (m_fileManager.fileExists(primaryLocation()))
        return false;
    return QFileInfo(primaryLocation()).isSymLink() ||
           !m_fileManager.fileExists(recoveryLocation());
}

tl::expected<void, StoreError> CameraConfigurationStore::save(const CameraList &cameras,
                                                              ReadableList readable) const {
    const LogChannel &log = LumvikLog::configuration();
    if (auto made = m_fileManager.createDirectory(appSupportDirectory(), folderMode); !made)
        return tl::unexpected(StoreError(std::move(made.error())));
    const auto document = loadableDocument(cameras, primaryLocation());
    if (!document)
        return tl::unexpected(document.error());
    const auto listWasKept = replaceList(*document, readable);
    if (!listWasKept)
        return tl::unexpected(listWasKept.error());
    if (!replaceRecoveryCopy(*document, *listWasKept)) {
        log.error(QStringLiteral(
            "The camera list was saved, but its recovery copy could not be refreshed."));
        return {};
    }
    log.info(QStringLiteral("Saved %1 cameras and refreshed the owner-only recovery copy.")
                 .arg(cameras.size()));
    return {};
}

tl::expected<bool, StoreError> CameraConfigurationStore::replaceList(const QByteArray &document,
                                                                     ReadableList readable) const {
    const auto current = readDocument(m_fileManager, primaryLocation());
    tl::expected<std::optional<KeptFile>, StoreError> old = std::nullopt;
    if (current ? readable == ReadableList::keep : mayContainList(current.error()))
        old = kept(m_fileManager, primaryLocation());
    if (!old)
        return tl::unexpected(old.error());
    if (auto written = writeProtected(document, primaryLocation()); !written) {
        if (*old)
            (*old)->undo();
        return tl::unexpected(written.error());
    }
    return old->has_value();
}

tl::expected<void, StoreError>
CameraConfigurationStore::replaceRecoveryCopy(const QByteArray &document,
                                              bool keepsUnreadable) const {
    tl::expected<std::optional<KeptFile>, StoreError> old = std::nullopt;
    const auto current = readDocument(m_fileManager, recoveryLocation());
    if (keepsUnreadable && !current && mayContainList(current.error()))
        old = kept(m_fileManager, recoveryLocation());
    if (!old)
        return tl::unexpected(old.error());
    auto written = writeProtected(document, recoveryLocation());
    if (!written && *old)
        (*old)->undo();
    return written;
}

tl::expected<void, StoreError>
CameraConfigurationStore::exportCameras(const CameraList &cameras, const QString &location) const {
    if (cameras.isEmpty())
        return tl::unexpected(StoreError(CameraConfigurationError::noCameras));
    const auto document = loadableDocument(cameras, location);
    if (!document)
        return tl::unexpected(document.error());
    return writeProtected(*document, location);
}

tl::expected<void, StoreError>
CameraConfigurationStore::writeProtected(const QByteArray &data, const QString &location) const {
    if (auto written = m_fileManager.writeAtomically(data, location); !written)
        return tl::unexpected(StoreError(std::move(written.error())));
    if (auto made = m_fileManager.setPermissions(location, fileMode); !made)
        return tl::unexpected(StoreError(std::move(made.error())));
    return {};
}

} // namespace lumvik
