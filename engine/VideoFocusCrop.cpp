#include "engine/VideoFocusCrop.h"

#include <memory>
#include <string_view>

namespace lumvik {

namespace {

constexpr const char *anyDecoder = "auto-safe"; // as the player was started with
constexpr const char *copyingDecoder = "auto-copy-safe";

std::string textProperty(mpv_handle *player, const char *name) {
    struct Free {
        void operator()(char *text) const { mpv_free(text); }
    };
    char *text = nullptr;
    if (mpv_get_property(player, name, MPV_FORMAT_STRING, &text) < 0 || text == nullptr)
        return {};
    return std::unique_ptr<char, Free>(text).get();
}

std::string cropFilter(const VideoFocusCrop &crop) {
    return "@focus:lavfi=[crop=" + std::to_string(crop.width) + ':' + std::to_string(crop.height) +
           ':' + std::to_string(crop.x) + ':' + std::to_string(crop.y) + ":exact=1]";
}

/// Whether frames decoded by `decoder` (a value of "hwdec-current") stay on the graphics card.
bool keepsFramesOnCard(std::string_view decoder) {
    constexpr std::string_view copying = "-copy";
    return !decoder.empty() && decoder != "no" && !decoder.ends_with(copying);
}

/// Changing the decoder costs the picture until the next key frame, so it is changed only where
/// frames are out of the filter's reach.
void cropByFilter(mpv_handle *player, const std::optional<VideoFocusCrop> &crop) {
    if (crop) {
        if (keepsFramesOnCard(textProperty(player, "hwdec-current")))
            mpv_set_property_string(player, "hwdec", copyingDecoder);
        mpv_set_property_string(player, "vf", cropFilter(*crop).c_str());
    } else {
        mpv_set_property_string(player, "vf", "");
        if (textProperty(player, "hwdec") == copyingDecoder)
            mpv_set_property_string(player, "hwdec", anyDecoder);
    }
}

} // namespace

std::string videoCropText(const VideoFocusCrop &crop) {
    return std::to_string(crop.width) + 'x' + std::to_string(crop.height) + '+' +
           std::to_string(crop.x) + '+' + std::to_string(crop.y);
}

void setVideoCrop(mpv_handle *player, const std::optional<VideoFocusCrop> &crop) {
    const std::string text = crop ? videoCropText(*crop) : std::string();
    if (mpv_set_property_string(player, "video-crop", text.c_str()) == MPV_ERROR_PROPERTY_NOT_FOUND)
        cropByFilter(player, crop);
}

} // namespace lumvik
