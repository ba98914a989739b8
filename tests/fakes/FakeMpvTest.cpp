#include "FakeMpv.h"

#include <gtest/gtest.h>

#include <array>
#include <clocale>

namespace lumvik::test {
namespace {

/// The parameters with which `makeRenderer` creates a renderer.
struct Creation {
    mpv_opengl_init_params openGL{[](void *, const char *) -> void * { return nullptr; }, nullptr};
    std::array<mpv_render_param, 3> parameters{
        mpv_render_param{MPV_RENDER_PARAM_API_TYPE, const_cast<char *>("opengl")},
        mpv_render_param{MPV_RENDER_PARAM_OPENGL_INIT_PARAMS, &openGL}, mpv_render_param{}};
};

mpv_render_context *makeRenderer(mpv_handle *core) {
    Creation creation;
    mpv_render_context *renderer = nullptr;
    EXPECT_EQ(mpv_render_context_create(&renderer, core, creation.parameters.data()), 0);
    return renderer;
}

TEST(FakeMpv, RecordsCallsInOrderWithTheirArguments) {
    FakeMpv mpv;
    mpv_handle *core = mpv_create();
    mpv_set_option_string(core, "audio", "no");
    mpv_initialize(core);
    std::array<const char *, 3> command{"loadfile", "rtsp://camera.example/", nullptr};
    mpv_command(core, command.data());
    mpv_terminate_destroy(core);
    EXPECT_EQ(mpv.texts(), (std::vector<std::string>{
                               "mpv_create(library)",
                               "mpv_set_option_string(core 1, audio, no)",
                               "mpv_initialize(core 1)",
                               "mpv_command(core 1, loadfile, rtsp://camera.example/)",
                               "mpv_terminate_destroy(core 1)",
                           }));
    EXPECT_EQ(mpv.position("mpv_initialize"), 2);
    EXPECT_EQ(mpv.position("mpv_wakeup"), -1);
}

TEST(FakeMpv, CallsReturnTheFailuresThatTheTestSet) {
    FakeMpv mpv;
    mpv.setCreateFails(true);
    EXPECT_EQ(mpv_create(), nullptr);
    mpv.setCreateFails(false);
    mpv.setInitializeResult(-15);
    mpv.setCommandResult("loadfile", -12);
    mpv_handle *core = mpv_create();
    EXPECT_EQ(mpv_initialize(core), -15);
    std::array<const char *, 2> load{"loadfile", nullptr};
    std::array<const char *, 2> stop{"stop", nullptr};
    EXPECT_EQ(mpv_command(core, load.data()), -12);
    EXPECT_EQ(mpv_command(core, stop.data()), 0);
    mpv_terminate_destroy(core);
}

TEST(FakeMpv, CreationFailsInLocalesOtherThanC) {
    const FakeMpv mpv;
    ASSERT_NE(std::setlocale(LC_NUMERIC, "C.UTF-8"), nullptr);
    EXPECT_EQ(mpv_create(), nullptr);
    std::setlocale(LC_NUMERIC, "C");
}

TEST(FakeMpv, DeliversEventsInOrder) {
    FakeMpv mpv;
    mpv_handle *core = mpv_create();
    mpv.sendEvent(MPV_EVENT_START_FILE);
    mpv.sendEndFile(4, -13);
    EXPECT_EQ(mpv_wait_event(core, 0)->event_id, MPV_EVENT_START_FILE);
    const mpv_event *end = mpv_wait_event(core, 0);
    ASSERT_EQ(end->event_id, MPV_EVENT_END_FILE);
    EXPECT_EQ(static_cast<const mpv_event_end_file *>(end->data)->reason, 4);
    EXPECT_EQ(static_cast<const mpv_event_end_file *>(end->data)->error, -13);
    EXPECT_EQ(mpv_wait_event(core, 0)->event_id, MPV_EVENT_NONE);
    mpv_terminate_destroy(core);
}

TEST(FakeMpv, WakeupEndsAWaitOnAnotherThread) {
    FakeMpv mpv;
    mpv_handle *core = mpv_create();
    mpv.setWaitsNeverTimeOut();
    std::thread pump([core] { mpv_wait_event(core, 0.001); });
    EXPECT_TRUE(mpv.waitUntilPumpIdles(std::chrono::seconds(10)));
    mpv_wakeup(core);
    pump.join();
    mpv_terminate_destroy(core);
}

TEST(FakeMpv, ReturnsPropertiesThatWereSet) {
    FakeMpv mpv;
    mpv_handle *core = mpv_create();
    std::int64_t width = 7;
    EXPECT_LT(mpv_get_property(core, "video-params/w", MPV_FORMAT_INT64, &width), 0);
    EXPECT_EQ(width, 7);
    mpv.setProperty("video-params/w", 1920);
    EXPECT_EQ(mpv_get_property(core, "video-params/w", MPV_FORMAT_INT64, &width), 0);
    EXPECT_EQ(width, 1920);
    mpv_terminate_destroy(core);
}

TEST(FakeMpvDeathTest, CallWithoutAFakeIsMisuse) {
    EXPECT_DEATH(mpv_create(), "libmpv misuse: a call without a FakeMpv");
}

TEST(FakeMpvDeathTest, UseOfADestroyedHandleIsMisuse) {
    const FakeMpv mpv;
    mpv_handle *core = mpv_create();
    mpv_terminate_destroy(core);
    EXPECT_DEATH(mpv_wakeup(core), "mpv_wakeup on the destroyed core 1");
    EXPECT_DEATH(mpv_terminate_destroy(core), "mpv_terminate_destroy on the destroyed core 1");
}

TEST(FakeMpvDeathTest, DestroyingACoreBeforeItsRendererIsMisuse) {
    const FakeMpv mpv;
    mpv_handle *core = mpv_create();
    mpv_render_context *renderer = makeRenderer(core);
    EXPECT_DEATH(mpv_terminate_destroy(core), "core 1 destroyed before its renderer");
    mpv_render_context_free(renderer);
    mpv_terminate_destroy(core);
}

TEST(FakeMpvDeathTest, UseOfAFreedRendererIsMisuse) {
    const FakeMpv mpv;
    mpv_handle *core = mpv_create();
    mpv_render_context *renderer = makeRenderer(core);
    mpv_render_context_free(renderer);
    std::array<mpv_render_param, 1> none{};
    EXPECT_DEATH(mpv_render_context_render(renderer, none.data()), "on the freed renderer 1");
    EXPECT_DEATH(mpv_render_context_update(renderer), "on the freed renderer 1");
    EXPECT_DEATH(mpv_render_context_set_update_callback(renderer, nullptr, nullptr),
                 "on the freed renderer 1");
    EXPECT_DEATH(mpv_render_context_free(renderer), "on the freed renderer 1");
    mpv_terminate_destroy(core);
}

TEST(FakeMpvDeathTest, TerminatingACoreWhileAnotherClientExistsIsMisuse) {
    const FakeMpv mpv;
    mpv_handle *core = mpv_create();
    mpv_handle *client = mpv_create_client(core, "other");
    EXPECT_DEATH(mpv_terminate_destroy(core), "terminated while another client lives");
    mpv_destroy(client);
    mpv_terminate_destroy(core);
}

TEST(FakeMpvDeathTest, CallFromACallbackIsMisuse) {
    FakeMpv mpv;
    mpv_handle *core = mpv_create();
    mpv_render_context *renderer = makeRenderer(core);
    mpv_render_context_set_update_callback(
        renderer,
        [](void *context) {
            mpv_render_context_update(static_cast<mpv_render_context *>(context));
        },
        renderer);
    EXPECT_DEATH(mpv.fireUpdateCallback(), "a call out of a callback");
    mpv_render_context_free(renderer);
    mpv_terminate_destroy(core);
}

TEST(FakeMpvDeathTest, DestroyingACoreDuringAWaitIsMisuse) {
    FakeMpv mpv;
    mpv_handle *core = mpv_create();
    EXPECT_DEATH(
        {
            std::thread pump([core] { mpv_wait_event(core, 60); });
            while (!mpv.waitUntilPumpIdles(std::chrono::seconds(1))) {
            }
            mpv_terminate_destroy(core);
        },
        "core 1 destroyed while a thread waits for its events");
    mpv_terminate_destroy(core);
}

} // namespace
} // namespace lumvik::test
