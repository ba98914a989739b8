#pragma once

#include <QString>

#include <variant>

namespace lumvik {

/// What the user can get wrong about a camera list, with a fixed text each.
enum class CameraConfigurationError {
    noCameras,   ///< A list that must hold a camera is empty.
    invalidFile, ///< A file chosen for import is no camera list, or an empty one.
};

/// Why bytes are not a camera-list document. It says where to look and never what stands there:
/// documents hold passwords.
enum class DecodingError {
    notJson,       ///< Not one complete JSON document in UTF-8.
    notAnObject,   ///< JSON, but something else than an object at the top.
    noCameraArray, ///< The member "cameras" is missing or no array.
    badCamera,     ///< An element is no object with the texts "name" and "url".
};

/// A file or folder that the system would not let us read or change.
struct FileError {
    enum class Operation { createFolder, read, write, setPermissions };

    Operation operation = Operation::read;
    QString path;
    int systemError = 0; ///< An errno value.

    friend bool operator==(const FileError &, const FileError &) = default;
};

/// Everything that can go wrong between the camera list and the disk.
using StoreError = std::variant<CameraConfigurationError, DecodingError, FileError>;

/// The sentence that the user reads about an error. It names a file at most by its last component
/// and never holds a camera's address.
[[nodiscard]] QString errorDescription(CameraConfigurationError error);
[[nodiscard]] QString errorDescription(DecodingError error);
[[nodiscard]] QString errorDescription(const FileError &error);
[[nodiscard]] QString errorDescription(const StoreError &error);

} // namespace lumvik
