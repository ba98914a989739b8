#pragma once

#include <mpv/client.h>
#include <mpv/render_gl.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace lumvik::test {

/// One call of a libmpv function as the fake received it.
struct MpvCall {
    std::string function;               // for example "mpv_command"
    std::string object;                 // for example "core 1", "client 1 of core 1", "renderer 1"
    std::vector<std::string> arguments; // texts are unchanged, numbers are decimal
    std::thread::id thread;

    /// Returns the call as one line, for example "mpv_command(core 1, loadfile, rtsp://…)".
    [[nodiscard]] std::string text() const;
};

/// The parameters of one mpv_render_context_render call. Members whose parameters were not passed
/// keep the initial values below.
struct MpvRenderCall {
    mpv_opengl_fbo framebuffer{-1, -1, -1, -1}; ///< The framebuffer for OpenGL.
    std::array<int, 2> softwareSize{-1, -1};    ///< The size for software rendering.
    std::string softwareFormat;
    std::size_t softwareStride = 0;
    void *softwareBytes = nullptr;
    int flipY = -1;
    int blockForTargetTime = -1;
    int skipRendering = -1;
};

/// Replaces libmpv in programs that link this library instead of the real one. This library defines
/// the same C functions, which record their calls and return the results that the test has set.
///
///     FakeMpv mpv;
///     mpv.setCommandResult("loadfile", -12);
///     // ... the code under test creates a player and loads a camera ...
///     EXPECT_GE(mpv.position("mpv_command(core 1, loadfile"), 0);
///
/// A test creates a FakeMpv before the code under test runs and destroys the FakeMpv afterwards.
/// Only one FakeMpv can exist at a time, and calling a libmpv function without a FakeMpv terminates
/// the process. By default every call succeeds. Player instances are called "core 1", "core 2", …,
/// in order of creation.
///
/// Calls in which the real library would crash or hang terminate the process with a message on
/// standard error that begins with "libmpv misuse": using a destroyed or unknown handle, destroying
/// a core while its renderer or another client exists, using a freed renderer, waiting for events
/// of one handle on two threads, and calling libmpv from an update or wake-up callback. A FakeMpv
/// that is destroyed while a handle or renderer exists fails the test.
///
/// All functions may be called on any thread. Callbacks of the code under test run on the thread
/// that triggers them, without any lock held.
class FakeMpv {
  public:
    /// Sets LC_NUMERIC of the process to "C", because Qt has set the locale of the user. Like the
    /// real mpv_create, the fake mpv_create fails in every other locale.
    FakeMpv();
    FakeMpv(const FakeMpv &) = delete;
    FakeMpv &operator=(const FakeMpv &) = delete;
    ~FakeMpv();

    // ---- Recorded calls ----

    /// Returns all calls so far in order, except mpv_wait_event, which event loops call arbitrarily
    /// often.
    [[nodiscard]] std::vector<MpvCall> calls() const;
    /// Returns the calls of one function, which may be mpv_wait_event.
    [[nodiscard]] std::vector<MpvCall> callsTo(const std::string &function) const;
    /// Returns the texts (see MpvCall::text) of all `calls()`.
    [[nodiscard]] std::vector<std::string> texts() const;
    /// Returns the index in `calls()` of the first call whose text starts with `beginning`, for
    /// example "mpv_command(core 1, loadfile". Returns -1 if there is no such call.
    [[nodiscard]] std::ptrdiff_t position(const std::string &beginning) const;
    void forgetCalls();

    [[nodiscard]] std::vector<MpvRenderCall> renderCalls() const;

    // ---- Failures ----

    void setCreateFails(bool fails);
    void setCreateClientFails(bool fails);
    /// Sets the result of mpv_initialize.
    void setInitializeResult(int result);
    /// Sets the result of mpv_render_context_create.
    void setRenderContextCreateResult(int result);
    /// Sets the result of the command `name`.
    void setCommandResult(const std::string &name, int result);
    /// Sets the result of all mpv_set_option_string and mpv_set_property_string calls.
    void setSettingResult(int result);

    /// Sets the result of setting the property or option `name`. This result overrides the result
    /// for all settings.
    void setSettingResult(const std::string &name, int result);

    /// Makes mpv_terminate_destroy block, as during a slow name look-up, until
    /// `setDestructionHangs(false)` is called.
    void setDestructionHangs(bool hangs);

    // ---- Events and properties ----

    /// Sends an event without data to the newest core's own handle, for which mpv_wait_event
    /// returns the event.
    void sendEvent(mpv_event_id id);
    /// Sends an end-file event with its data to the newest core's own handle.
    void sendEndFile(int reason, int error);
    /// Sends a message to the clients of the newest core that requested log messages.
    void sendLogMessage(mpv_log_level level, const std::string &prefix, const std::string &text);
    /// Notifies the clients of the newest core that observe `name` of a change.
    void sendPropertyChange(const std::string &name);
    /// Calls the wake-up callbacks of all clients without sending an event.
    void wakeClients();

    /// Makes every mpv_wait_event call with a time-out above 0 ignore the time-out and wait for an
    /// event or a wake-up. If neither arrives within ten seconds, the process is terminated.
    void setWaitsNeverTimeOut();
    /// Blocks until a thread waits for events of the newest core's own handle and the event queue
    /// of this handle is empty. Returns false if this does not happen within `deadline`.
    [[nodiscard]] bool waitUntilPumpIdles(std::chrono::milliseconds deadline) const;

    /// Sets the value of a number property. A property is unavailable until it is set.
    void setProperty(const std::string &name, std::int64_t value);
    /// Sets the value of a text property, which is also the value of a property with a fractional
    /// number. A property is unavailable until it is set.
    void setTextProperty(const std::string &name, const std::string &value);
    void removeProperty(const std::string &name);

    // ---- The picture ----

    /// Announces a frame and calls the update callback on this thread. Until the frame is rendered
    /// or skipped, mpv_render_context_update returns MPV_RENDER_UPDATE_FRAME, and
    /// MPV_RENDER_PARAM_NEXT_FRAME_INFO returns `info` (of mpv_render_frame_info_flag). Afterwards
    /// MPV_RENDER_PARAM_NEXT_FRAME_INFO returns a redraw.
    void announceFrame(std::uint64_t info = MPV_RENDER_FRAME_INFO_PRESENT);
    /// Calls the update callback without a new frame. Returns false if no update callback is set.
    bool fireUpdateCallback();
    /// Sets the result of mpv_render_context_render. A negative result means that nothing was
    /// drawn.
    void setRenderResult(int result);
    /// Makes mpv_render_context_get_info fail, as in older versions of libmpv.
    void setFrameInfoFails(bool fails);
    /// Sets a function that is called in each mpv_render_context_render call that does not skip
    /// rendering. The function finds OpenGL in the state that the code under test has set.
    void setPainter(std::function<void(const MpvRenderCall &)> painter);

    // ---- Existing objects ----

    [[nodiscard]] int liveCores() const;
    [[nodiscard]] int liveClients() const; // without the cores' own handles
    [[nodiscard]] int liveRenderers() const;

    struct State; // private to the fake

  private:
    std::unique_ptr<State> m_state;
};

} // namespace lumvik::test
