#pragma once

namespace lumvik::test {

enum class VideoCodec { H264, H265 };

} // namespace lumvik::test
