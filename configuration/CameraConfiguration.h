#pragma once

#include "configuration/Camera.h"
#include "configuration/CameraConfigurationError.h"

#include <QByteArray>

#include <tl/expected.hpp>

namespace lumvik {

/// The camera-list document: what is stored, exported and imported. A plain value.
///
/// As bytes it is one JSON object with the single member "cameras", an array of objects with the
/// texts "name" and "url":
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

    friend bool operator==(const CameraConfiguration &, const CameraConfiguration &) = default;

    /// The document in UTF-8 without a byte-order mark: indented by four blanks, keys sorted,
    /// slashes plain, nothing before or after the object, not even a line break. The same list
    /// always gives the same bytes, and every text comes back unchanged through `decoded`.
    [[nodiscard]] QByteArray encoded() const;

    /// Reads a document. Members that are not ours are ignored; texts are taken as they stand,
    /// neither trimmed nor checked, and equal cameras are all kept. An empty array is a document
    /// like any other: whether an empty list will do is for the caller to say.
    ///
    /// Where JSON leaves a choice: of two members with the same key the last counts; a byte-order
    /// mark before the object is skipped, since some editors write one; nesting deeper than 1024 is
    /// refused.
    [[nodiscard]] static tl::expected<CameraConfiguration, DecodingError>
    decoded(const QByteArray &bytes);
};

} // namespace lumvik
