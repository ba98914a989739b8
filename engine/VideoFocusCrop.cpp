#include "engine/VideoFocusCrop.h"

#include "engine/PlayerOptions.h"
#include "engine/PlayerProperties.h"

#include <string_view>

namespace lumvik {

namespace {

constexpr const char *defaultDecoder = playerOption("hwdec");
constexpr const char *copyingDecoder = "auto-copy-safe";

/// Returns the filter for `crop`. `removesRotation` is for a player that must not rotate the video:
/// a filtered frame otherwise carries the camera's rotation again.
std::string cropFilter(const VideoFocusCrop &crop, bool removesRotation) {
    return "@focus:lavfi=[crop=" + std::to_string(crop.width) + ':' + std::to_string(crop.height) +
           ':' + std::to_string(crop.x) + ':' + std::to_string(crop.y) + ":exact=1" +
           (removesRotation ? ",sidedata=mode=delete:type=DISPLAYMATRIX]" : "]");
}

/// Whether frames decoded by `decoder` (a value of "hwdec-current") stay on the graphics card.
bool keepsFramesOnCard(std::string_view decoder) {
    constexpr std::string_view copying = "-copy";
    return !decoder.empty() && decoder != "no" && !decoder.ends_with(copying);
}

/// Sets the engine's "video-crop" property. Returns false if this version of the engine lacks it.
bool setCropProperty(mpv_handle *player, const std::string &value) {
    return mpv_set_property_string(player, "video-crop", value.c_str()) !=
           MPV_ERROR_PROPERTY_NOT_FOUND;
}

} // namespace

std::string videoCropText(const VideoFocusCrop &crop) {
    return std::to_string(crop.width) + 'x' + std::to_string(crop.height) + '+' +
           std::to_string(crop.x) + '+' + std::to_string(crop.y);
}

void setVideoCrop(mpv_handle *player, const VideoFocusCrop &crop) {
    if (setCropProperty(player, videoCropText(crop)))
        return;
    if (keepsFramesOnCard(textProperty(player, "hwdec-current")))
        mpv_set_property_string(player, "hwdec", copyingDecoder);
    const bool removesRotation = textProperty(player, "video-rotate") == "no";
    mpv_set_property_string(player, "vf", cropFilter(crop, removesRotation).c_str());
}

void hideVideoCrop(mpv_handle *player) {
    if (!setCropProperty(player, {}))
        mpv_set_property_string(player, "vf", "");
}

void removeVideoCrop(mpv_handle *player) {
    if (setCropProperty(player, {}))
        return;
    mpv_set_property_string(player, "vf", "");
    if (textProperty(player, "hwdec") == copyingDecoder)
        mpv_set_property_string(player, "hwdec", defaultDecoder);
}

} // namespace lumvik
