#pragma once

#include "configuration/Camera.h"
#include "configuration/CameraConfigurationError.h"

#include <QByteArray>

#include <tl/expected.hpp>

namespace lumvik {

/// A camera-list document, which is stored, exported and imported. Documents have value semantics.
///
/// The encoded form of a document is a JSON object with the single member "cameras": an array of
/// objects, each with the strings "name" and "url":
///
///     {
///         "cameras": [
///             {
///                 "name": "Front door",
///                 "url": "rtsp://camera.example/front"
///             }
///         ]
///     }
struct CameraConfiguration {
    CameraList cameras;

    /// The limit of nested arrays and objects. A camera is nested three levels deep, and ignored
    /// members may be nested deeper.
    static constexpr int deepestNesting = 64;
    /// The limit of values, arrays, objects and members in a document: a hundred for each camera
    /// of the longest list.
    static constexpr int mostValues = 1'000'000;

    friend bool operator==(const CameraConfiguration &, const CameraConfiguration &) = default;

    /// Returns the document as JSON in UTF-8. The output is indented by four spaces, its keys are
    /// sorted and its slashes are not escaped. The output has no byte-order mark and no final line
    /// break. Equal lists always produce the same bytes, and `decoded` restores every string
    /// unchanged.
    [[nodiscard]] QByteArray encoded() const;

    /// Parses a document. Unknown members are ignored. Strings are neither trimmed nor validated,
    /// and duplicate cameras are kept. An empty array is a valid document: the caller decides
    /// whether it accepts an empty list.
    ///
    /// If several members have the same key, the last of them is used. A byte-order mark before
    /// the object is skipped, because some text editors write one. A document that is nested
    /// deeper than `deepestNesting` levels or has more than `mostValues` values is refused before
    /// anything is built from it.
    [[nodiscard]] static tl::expected<CameraConfiguration, DecodingError>
    decoded(const QByteArray &bytes);
};

} // namespace lumvik
