#pragma once

#include "configuration/Camera.h"

#include <QString>

#include <optional>
#include <tl/expected.hpp>

namespace lumvik {

/// Which of a camera's texts.
enum class CameraField { name, address };

/// Why a list cannot be saved, in the words of the alert that says so.
struct CameraListProblem {
    QString title;
    /// The camera's name, which is the end of the title; or empty. It is text that the user typed,
    /// possibly an address.
    QString nameInTitle;
    QString message;
    /// Where it can be put right; nothing when there is no camera at all.
    std::optional<int> row;
    CameraField field = CameraField::name;
};

/// Whether `address` is one that can be played: it reads as a URL, begins with "rtsp://" in any
/// case, and names a host. Nothing is trimmed here.
[[nodiscard]] bool isCameraAddress(const QString &address);

/// What a screen reader says of an address that it passes over: where the camera is, and neither
/// user, password nor path. What is spoken is heard by whoever is near and goes into the logs of
/// speech services, and each of those may be a secret. The whole address is read in its field,
/// while it is edited.
[[nodiscard]] QString spokenAddress(const QString &address);

/// The list with white space trimmed from all texts, or the first thing that is wrong with it: no
/// camera, then row by row an empty name and an address that cannot be played.
[[nodiscard]] tl::expected<CameraList, CameraListProblem>
validatedCameras(const CameraList &cameras);

/// Whether two names are the same to a reader of the user's language, in capitals or not.
[[nodiscard]] bool namesAreAlike(const QString &one, const QString &other);

/// The list sorted by name, as a reader of the user's language expects it, capitals or not. Names
/// that are alike keep their order.
[[nodiscard]] CameraList sortedByName(CameraList cameras, Qt::SortOrder order);

/// Whether a camera may be removed: one has to stay, and one has to be selected.
[[nodiscard]] bool canRemoveCamera(qsizetype cameras, bool hasSelection);

/// The row to select once the camera at `removed` has gone and `left` (at least 1) are left.
[[nodiscard]] int rowAfterRemoving(int removed, int left);

/// The row that a drag carries as text: a whole number, with a sign or without; nothing when it is
/// none or no row of `cameras`.
[[nodiscard]] std::optional<int> draggedRow(const QString &text, qsizetype cameras);

/// Where the camera at `source` comes to be when it is dropped into the gap before row `gap` (from
/// 0 to the number of cameras).
[[nodiscard]] int destinationOfDrop(int source, int gap);

/// Which camera is shown after a list was saved: the one that was shown before, `selected` in
/// `before`, or else the first whose name is like its own, or else the one in its place. `after`
/// has at least one camera; `selected` may be anything.
[[nodiscard]] int selectionAfterSaving(int selected, const CameraList &before,
                                       const CameraList &after);

} // namespace lumvik
