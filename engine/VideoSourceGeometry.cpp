#include "engine/VideoSourceGeometry.h"

#include <cmath>

namespace lumvik {

std::optional<VideoSourceGeometry> videoSourceGeometry(std::int64_t width, std::int64_t height,
                                                       std::int64_t rotation) {
    if (width < 1 || height < 1)
        return std::nullopt;
    const auto remainder = static_cast<int>(rotation % 360);
    return VideoSourceGeometry{width, height, remainder < 0 ? remainder + 360 : remainder};
}

std::optional<double> aspectRatioToApply(const VideoSourceGeometry &geometry,
                                         std::optional<double> applied) {
    const double ratio = static_cast<double>(geometry.displayedWidth()) /
                         static_cast<double>(geometry.displayedHeight());
    if (!std::isfinite(ratio) || ratio < narrowestAspectRatio || ratio > widestAspectRatio)
        return std::nullopt;
    if (applied && std::abs(*applied - ratio) < noticeableAspectRatioChange)
        return std::nullopt;
    return ratio;
}

} // namespace lumvik
