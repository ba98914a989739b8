#include "configuration/CameraConfigurationError.h"

#include "platform/LumvikLog.h"

#include <QFileInfo>

#include <cerrno>
#include <cstring>

namespace lumvik {

namespace {

/// Returns the reason for a failure as the user sees it. Errors that the user can resolve have
/// texts of their own. All other errors have the system's text.
QString reasonText(FileError::Operation operation, int systemError) {
    switch (systemError) {
    case EACCES:
    case EPERM:
        return QStringLiteral("you do not have permission");
    case EROFS:
        return QStringLiteral("the disk cannot be written to");
    case ENOSPC:
    case EDQUOT:
        return QStringLiteral("the disk is full");
    case ENOENT:
        return operation == FileError::Operation::read
                   ? QStringLiteral("it does not exist")
                   : QStringLiteral("the folder does not exist");
    case ENOTDIR:
    case EEXIST:
        return QStringLiteral("a file is in the folder's place");
    case EISDIR:
        return QStringLiteral("a folder is in its place");
    case ENODEV:
        return QStringLiteral("what is in its place is not a file");
    case EFBIG:
        return QStringLiteral("the file is too large");
    case ELOOP:
        return QStringLiteral("the link in its place leads in a circle");
    case ENAMETOOLONG:
        return QStringLiteral("the name is too long");
    default:
        return QString::fromLocal8Bit(std::strerror(systemError));
    }
}

QString attemptText(FileError::Operation operation) {
    switch (operation) {
    case FileError::Operation::createFolder:
        return QStringLiteral("The folder “%1” could not be created: %2.");
    case FileError::Operation::read:
        return QStringLiteral("The file “%1” could not be read: %2.");
    case FileError::Operation::write:
        return QStringLiteral("The file “%1” could not be written: %2.");
    case FileError::Operation::setPermissions:
        return QStringLiteral("The file “%1” could not be made private: %2.");
    case FileError::Operation::keep:
        return QStringLiteral("The file “%1” cannot be read, and it could not be kept under "
                              "another name: %2. Nothing was saved.");
    }
    return {};
}

} // namespace

QString errorDescription(CameraConfigurationError error) {
    switch (error) {
    case CameraConfigurationError::noCameras:
        return QStringLiteral("No cameras were found.");
    case CameraConfigurationError::invalidFile:
        return QStringLiteral("The selected file does not contain a supported camera list.");
    case CameraConfigurationError::changedElsewhere:
        return QStringLiteral("The camera list was changed elsewhere.");
    }
    return {};
}

QString errorDescription(DecodingError error) {
    switch (error) {
    case DecodingError::notJson:
        return QStringLiteral("The file is not a JSON document.");
    case DecodingError::notAnObject:
    case DecodingError::noCameraArray:
        return QStringLiteral("The file does not contain a camera list.");
    case DecodingError::tooComplex:
        return QStringLiteral("The file is nested too deeply or contains too many values.");
    case DecodingError::badCamera:
        return QStringLiteral("The file contains a camera without a name or an address.");
    }
    return {};
}

QString errorDescription(const FileError &error) {
    // The user may have named the file after a camera's address, so the file name is redacted.
    const QString name = QFileInfo(error.path).fileName();
    return LumvikLog::redacted(
        attemptText(error.operation).arg(name, reasonText(error.operation, error.systemError)));
}

QString errorDescription(const StoreError &error) {
    return std::visit([](const auto &which) { return errorDescription(which); }, error);
}

} // namespace lumvik
