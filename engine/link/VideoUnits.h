#pragma once

#include "engine/link/SessionDescription.h"

#include <QByteArrayView>

namespace lumvik {

/// Returns whether the content of an RTP packet begins the first slice of a picture. Parameter
/// sets, messages and the later fragments of a unit do not.
[[nodiscard]] bool beginsPicture(QByteArrayView content, VideoCodec codec);

/// Returns whether the content of an RTP packet begins a slice of a key picture, from which
/// decoding can start without any earlier picture. Parameter sets alone are no key picture, because
/// streams with intra refresh repeat them without one.
[[nodiscard]] bool beginsKeyPicture(QByteArrayView content, VideoCodec codec);

} // namespace lumvik
