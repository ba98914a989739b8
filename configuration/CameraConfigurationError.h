#pragma once

#include "configuration/CameraListBounds.h"

#include <QString>

#include <variant>

namespace lumvik {

/// Problems with a camera list that the user can solve. Each has a fixed message.
enum class CameraConfigurationError {
    noCameras,        ///< A list that must contain a camera is empty.
    invalidFile,      ///< A file chosen for import contains no camera list or an empty one.
    changedElsewhere, ///< Another program or machine has changed the stored list.
};

/// The reasons why a file is not a camera-list document. An error names the kind of fault and never
/// quotes the document, because documents contain passwords.
enum class DecodingError {
    notJson,       ///< The file is not one complete JSON document in UTF-8.
    notAnObject,   ///< The top level of the JSON document is not an object.
    noCameraArray, ///< The member "cameras" is missing or not an array.
    tooComplex,    ///< The document is nested too deeply or has too many values.
    badCamera,     ///< An element is not an object with the strings "name" and "url".
};

/// A failed operation on a file or folder.
struct FileError {
    enum class Operation { createFolder, read, write, setPermissions, keep };

    Operation operation = Operation::read;
    QString path;
    int systemError = 0; ///< An errno value.

    friend bool operator==(const FileError &, const FileError &) = default;
};

/// Any error that loading, saving, importing or exporting a camera list can return.
using StoreError =
    std::variant<CameraConfigurationError, DecodingError, FileError, CameraListExcess>;

/// Returns the message that the user sees for an error. The message contains at most the last
/// component of a file's path and never a camera's address.
[[nodiscard]] QString errorDescription(CameraConfigurationError error);
[[nodiscard]] QString errorDescription(DecodingError error);
[[nodiscard]] QString errorDescription(const FileError &error);
[[nodiscard]] QString errorDescription(const StoreError &error);

} // namespace lumvik
