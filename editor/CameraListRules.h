#pragma once

#include "configuration/Camera.h"

#include <QString>

#include <optional>
#include <tl/expected.hpp>

namespace lumvik {

/// The editable fields of a camera.
enum class CameraField { name, address };

/// The reason why a list cannot be saved, with the texts of the alert that reports it.
struct CameraListProblem {
    QString title;
    /// The camera's name, which is appended to the title, or an empty string. The name must be
    /// redacted first, because the user may have typed an address in its field.
    QString nameInTitle;
    QString message;
    /// The row of the camera at fault; nothing when the list has no cameras.
    std::optional<int> row;
    CameraField field = CameraField::name;
};

/// The smallest number of cameras in a list that the user may save. Without a camera the viewer has
/// nothing to show. The upper limit is `mostCameras`.
constexpr qsizetype fewestCameras = 1;

/// Returns the list with white space trimmed from all strings, or the first problem that is found.
/// An empty list is checked first, then the name and the address of each row in turn, and finally
/// the bounds of the list (see CameraListBounds.h). The message about a bound contains the camera's
/// name, so the addresses in the list must be known to LumvikLog::protectAddresses.
[[nodiscard]] tl::expected<CameraList, CameraListProblem>
validatedCameras(const CameraList &cameras);

/// Returns whether two names are equal in the collation order of the user's language, ignoring
/// case.
[[nodiscard]] bool namesAreAlike(const QString &one, const QString &other);

/// Returns the list sorted by name in the collation order of the user's language, ignoring case.
/// The sort is stable.
[[nodiscard]] CameraList sortedByName(CameraList cameras, Qt::SortOrder order);

/// Returns whether a camera can be removed: one must be selected, and `fewestCameras` must remain.
[[nodiscard]] bool canRemoveCamera(qsizetype cameras, bool hasSelection);

/// Returns the row to select after row `removed` was removed and `left` cameras (at least 1)
/// remain.
[[nodiscard]] int rowAfterRemoving(int removed, int left);

/// Parses the row number that a drag transfers as text: an integer with an optional sign. Returns
/// nothing when the text is malformed or when a list of `cameras` cameras has no such row.
[[nodiscard]] std::optional<int> draggedRow(const QString &text, qsizetype cameras);

/// Returns the new row of the camera at `source` after it is dropped into the gap above row `gap`
/// (from 0 to the number of cameras).
[[nodiscard]] int destinationOfDrop(int source, int gap);

/// Returns the row in `after` of the camera to show after the list was saved. `selected` is the row
/// in `before` of the camera that was shown until then, and need not be valid. The first match
/// wins: the same camera, the first camera with an equal name (see namesAreAlike), the camera at
/// the same row, the last camera. `after` must contain at least one camera.
[[nodiscard]] int selectionAfterSaving(int selected, const CameraList &before,
                                       const CameraList &after);

} // namespace lumvik
