#include "engine/VideoFocusCrop.h"

#include "fakes/FakeMpv.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const VideoFocusCrop crop{
    .x = 120, .y = 80, .width = 640, .height = 360, .sourceSize = {1920, 1080}};
const std::string filter = "vf=@focus:lavfi=[crop=640:360:120:80:exact=1]";

TEST(VideoCropText, ConsistsOfSizeAndPosition) {
    EXPECT_EQ(videoCropText(crop), "640x360+120+80");
    EXPECT_EQ(videoCropText({.x = 0, .y = 0, .width = 1920, .height = 1080, .sourceSize = {}}),
              "1920x1080+0+0");
}

class VideoFocusCropTest : public testing::Test {
  protected:
    ~VideoFocusCropTest() override { mpv_terminate_destroy(player); }

    /// Simulates an engine version without the "video-crop" property.
    void simulateOlderEngine() { mpv.setSettingResult("video-crop", MPV_ERROR_PROPERTY_NOT_FOUND); }

    /// Returns the properties that were set since the last call, in order, as "name=value".
    std::vector<std::string> newSettings() {
        std::vector<std::string> settings;
        for (const MpvCall &call : mpv.callsTo("mpv_set_property_string"))
            settings.push_back(call.arguments.at(0) + "=" + call.arguments.at(1));
        mpv.forgetCalls();
        return settings;
    }

    FakeMpv mpv;
    mpv_handle *player = mpv_create();
};

TEST_F(VideoFocusCropTest, UsesTheCropPropertyIfTheEngineHasIt) {
    mpv.setTextProperty("hwdec-current", "vaapi");
    setVideoCrop(player, crop);
    EXPECT_THAT(newSettings(), ElementsAre("video-crop=640x360+120+80"));
}

TEST_F(VideoFocusCropTest, IsRemovedWithAnEmptyText) {
    mpv.setTextProperty("hwdec", "auto-copy-safe");
    removeVideoCrop(player);
    EXPECT_THAT(newSettings(), ElementsAre("video-crop="));
}

TEST_F(VideoFocusCropTest, FilterRemovesTheRotationIfThePlayerMustNotRotate) {
    simulateOlderEngine();
    mpv.setTextProperty("video-rotate", "no");
    setVideoCrop(player, crop);
    EXPECT_THAT(newSettings(), ElementsAre("video-crop=640x360+120+80",
                                           "vf=@focus:lavfi=[crop=640:360:120:80:exact=1,"
                                           "sidedata=mode=delete:type=DISPLAYMATRIX]"));
}

TEST_F(VideoFocusCropTest, QueriesNoPropertiesIfTheEngineHasTheCropProperty) {
    setVideoCrop(player, crop);
    removeVideoCrop(player);
    EXPECT_THAT(mpv.callsTo("mpv_get_property"), IsEmpty());
}

TEST_F(VideoFocusCropTest, UsesAFilterInAnOlderEngine) {
    simulateOlderEngine();
    mpv.setTextProperty("hwdec-current", "no");
    setVideoCrop(player, crop);
    EXPECT_THAT(newSettings(), ElementsAre("video-crop=640x360+120+80", filter));
}

TEST_F(VideoFocusCropTest, RemovesTheFilterInAnOlderEngine) {
    simulateOlderEngine();
    mpv.setTextProperty("hwdec", "auto-safe");
    removeVideoCrop(player);
    EXPECT_THAT(newSettings(), ElementsAre("video-crop=", "vf="));
}

TEST_F(VideoFocusCropTest, NewFilterReplacesThePreviousOne) {
    simulateOlderEngine();
    setVideoCrop(player, crop);
    newSettings();
    VideoFocusCrop other = crop;
    other.x = 0;
    setVideoCrop(player, other);
    EXPECT_THAT(newSettings(), ElementsAre("video-crop=640x360+0+80",
                                           "vf=@focus:lavfi=[crop=640:360:0:80:exact=1]"));
}

TEST_F(VideoFocusCropTest, UsesNoFilterIfTheCropPropertyExistsButCannotBeSet) {
    for (const int error : {MPV_ERROR_PROPERTY_UNAVAILABLE, MPV_ERROR_PROPERTY_FORMAT,
                            MPV_ERROR_PROPERTY_ERROR, MPV_ERROR_INVALID_PARAMETER}) {
        mpv.setSettingResult("video-crop", error);
        setVideoCrop(player, crop);
        EXPECT_THAT(newSettings(), ElementsAre("video-crop=640x360+120+80")) << error;
    }
}

TEST_F(VideoFocusCropTest, ReplacesADecoderThatKeepsFramesOnTheGraphicsCard) {
    simulateOlderEngine();
    mpv.setTextProperty("hwdec-current", "vaapi");
    setVideoCrop(player, crop);
    EXPECT_THAT(newSettings(),
                ElementsAre("video-crop=640x360+120+80", "hwdec=auto-copy-safe", filter));
}

class DecoderThatFiltersCanAccess : public VideoFocusCropTest,
                                    public testing::WithParamInterface<const char *> {};

TEST_P(DecoderThatFiltersCanAccess, IsLeftUnchanged) {
    simulateOlderEngine();
    mpv.setTextProperty("hwdec-current", GetParam());
    setVideoCrop(player, crop);
    EXPECT_THAT(newSettings(), ElementsAre("video-crop=640x360+120+80", filter));
}

INSTANTIATE_TEST_SUITE_P(, DecoderThatFiltersCanAccess,
                         testing::Values("", "no", "vaapi-copy", "nvdec-copy", "v4l2m2m-copy"),
                         [](const auto &row) { return "Row" + std::to_string(row.index); });

TEST_F(VideoFocusCropTest, LeavesAnUnknownDecoderUnchanged) {
    simulateOlderEngine();
    setVideoCrop(player, crop);
    EXPECT_THAT(newSettings(), ElementsAre("video-crop=640x360+120+80", filter));
}

TEST_F(VideoFocusCropTest, TemporarilyHiddenCropLeavesTheDecoderUnchanged) {
    hideVideoCrop(player);
    EXPECT_THAT(newSettings(), ElementsAre("video-crop="));
    simulateOlderEngine();
    mpv.setTextProperty("hwdec", "auto-copy-safe");
    mpv.setTextProperty("hwdec-current", "vaapi-copy");
    hideVideoCrop(player);
    EXPECT_THAT(newSettings(), ElementsAre("video-crop=", "vf="));
}

TEST_F(VideoFocusCropTest, RestoresTheDecoderAfterRemovingTheFilter) {
    simulateOlderEngine();
    mpv.setTextProperty("hwdec-current", "vaapi");
    setVideoCrop(player, crop);
    mpv.setTextProperty("hwdec", "auto-copy-safe");
    mpv.setTextProperty("hwdec-current", "vaapi-copy");
    newSettings();
    removeVideoCrop(player);
    EXPECT_THAT(newSettings(), ElementsAre("video-crop=", "vf=", "hwdec=auto-safe"));
    mpv.setTextProperty("hwdec", "auto-safe");
    removeVideoCrop(player);
    EXPECT_THAT(newSettings(), ElementsAre("video-crop=", "vf="))
        << "the decoder is restored only once";
}

} // namespace
} // namespace lumvik::test
