#include "engine/VideoSourceGeometry.h"

#include <cmath>

namespace lumvik {

namespace {

/// Pixels beyond these ratios come from a damaged stream.
constexpr double narrowestPixel = 0.2;
constexpr double widestPixel = 5;

} // namespace

std::int64_t VideoSourceGeometry::squareWidth() const {
    return pixelRatio > 1 ? std::llround(static_cast<double>(width) * pixelRatio) : width;
}

std::int64_t VideoSourceGeometry::squareHeight() const {
    return pixelRatio < 1 ? std::llround(static_cast<double>(height) / pixelRatio) : height;
}

std::optional<VideoSourceGeometry> videoSourceGeometry(std::int64_t width, std::int64_t height,
                                                       std::int64_t rotation, double pixelRatio) {
    if (width < 1 || height < 1)
        return std::nullopt;
    const auto remainder = static_cast<int>(rotation % 360);
    const bool isPlausible = pixelRatio >= narrowestPixel && pixelRatio <= widestPixel;
    return VideoSourceGeometry{width, height, remainder < 0 ? remainder + 360 : remainder,
                               isPlausible ? pixelRatio : 1};
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
