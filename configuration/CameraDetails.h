#pragma once

namespace lumvik {

/// What the program has learned about a camera, as opposed to what the user has entered (see
/// Camera).
struct CameraDetails {
    /// The largest number of decoding threads that can be stored.
    static constexpr int mostDecodingThreads = 16;

    /// How many threads decode the camera's stream.
    int decodingThreads = 1;

    friend bool operator==(const CameraDetails &, const CameraDetails &) = default;
};

} // namespace lumvik
