#pragma once

#include <optional>

namespace lumvik {

/// An area of a camera's picture, in pixels of the decoded picture from its top left corner, before
/// any rotation.
struct CameraArea {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    /// The size of the whole picture when the area was chosen. In a picture of another size, the
    /// area would show something else.
    int sourceWidth = 0;
    int sourceHeight = 0;

    /// Whether the area is at least 2 × 2 pixels large and lies within its picture.
    [[nodiscard]] bool isValid() const {
        return x >= 0 && y >= 0 && width >= 2 && height >= 2 && x <= sourceWidth - width &&
               y <= sourceHeight - height;
    }
    friend bool operator==(const CameraArea &, const CameraArea &) = default;
};

/// What the program has learned about a camera, as opposed to what the user has entered (see
/// Camera).
struct CameraDetails {
    /// The largest number of decoding threads that can be stored.
    static constexpr int mostDecodingThreads = 16;

    /// How many threads decode the camera's stream.
    int decodingThreads = 1;
    /// The area that was shown last. Only if the user wishes areas to be remembered.
    std::optional<CameraArea> area = std::nullopt;

    friend bool operator==(const CameraDetails &, const CameraDetails &) = default;
};

} // namespace lumvik
