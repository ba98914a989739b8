#pragma once

#include <mpv/client.h>
#include <mpv/render_gl.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace lumvik::test {

/// One call of a libmpv function as the fake received it.
struct MpvCall {
    std::string function;               // "mpv_command"
    std::string object;                 // the callee: "core 1", "client 1 of core 1", "renderer 1"
    std::vector<std::string> arguments; // texts as given, numbers in decimal
    std::thread::id thread;

    /// The whole call in one line: "mpv_command(core 1, loadfile, rtsp://…, replace)".
    [[nodiscard]] std::string text() const;
};

/// The parameters of one mpv_render_context_render call. Parameters that were not passed are -1.
struct MpvRenderCall {
    mpv_opengl_fbo framebuffer{-1, -1, -1, -1};
    int flipY = -1;
    int blockForTargetTime = -1;
    int skipRendering = -1;
};

/// Replaces libmpv in programs that link this library instead of the real one. It defines the same
/// C functions, which record their calls and return the results that the test has set.
///
///     FakeMpv mpv;
///     mpv.setCommandResult("loadfile", -12);
///     // ... the code under test creates a player and loads a camera ...
///     EXPECT_GE(mpv.position("mpv_command(core 1, loadfile"), 0);
///
/// A test creates a FakeMpv before the code under test runs and destroys it afterwards. There can
/// be only one at a time, and calling a libmpv function without one terminates the process. By
/// default every call succeeds. Player instances are called "core 1", "core 2", …, in order of
/// creation.
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
    /// Sets LC_NUMERIC of the process to "C". Like the real mpv_create, the fake one fails in every
    /// other locale, and Qt has set the user's.
    FakeMpv();
    FakeMpv(const FakeMpv &) = delete;
    FakeMpv &operator=(const FakeMpv &) = delete;
    ~FakeMpv();

    // ---- Recorded calls ----

    /// All calls so far, in order, except mpv_wait_event, which event loops repeat arbitrarily.
    [[nodiscard]] std::vector<MpvCall> calls() const;
    /// The calls of one function, which may be mpv_wait_event.
    [[nodiscard]] std::vector<MpvCall> callsTo(const std::string &function) const;
    /// The texts (see MpvCall::text) of all `calls()`.
    [[nodiscard]] std::vector<std::string> texts() const;
    /// The index in `calls()` of the first call whose text starts with `beginning`, for example
    /// "mpv_command(core 1, loadfile"; -1 when there is none.
    [[nodiscard]] std::ptrdiff_t position(const std::string &beginning) const;
    void forgetCalls();

    [[nodiscard]] std::vector<MpvRenderCall> renderCalls() const;

    // ---- Failures ----

    void setCreateFails(bool fails);
    void setCreateClientFails(bool fails);
    /// These set the results of mpv_initialize, of mpv_render_context_create and of the command
    /// `name`.
    void setInitializeResult(int result);
    void setRenderContextCreateResult(int result);
    void setCommandResult(const std::string &name, int result);
    /// Sets the result of all mpv_set_option_string and mpv_set_property_string calls.
    void setSettingResult(int result);

    /// Sets the result of setting the property or option `name`, which overrides the one above.
    void setSettingResult(const std::string &name, int result);

    /// Makes mpv_terminate_destroy block, as during a slow name look-up, until this is called with
    /// false.
    void setDestructionHangs(bool hangs);

    // ---- Events and properties ----

    /// Sends an event without data to the newest core's own handle, through mpv_wait_event.
    void sendEvent(mpv_event_id id);
    /// Sends an end-file event with data.
    void sendEndFile(int reason, int error);
    /// Sends a message to the clients of the newest core that asked for messages.
    void sendLogMessage(mpv_log_level level, const std::string &prefix, const std::string &text);
    /// Notifies the clients of the newest core that observe `name` of a change.
    void sendPropertyChange(const std::string &name);
    /// Calls the wake-up callbacks of all clients although there is no event.
    void wakeClients();

    /// Makes every wait for events ignore its time-out and last until there is an event or a
    /// wake-up. A wait that lasts ten seconds terminates the process.
    void setWaitsNeverTimeOut();
    /// Blocks until a thread waits for events of the newest core's own handle and its queue is
    /// empty. Returns false after `deadline`.
    [[nodiscard]] bool waitUntilPumpIdles(std::chrono::milliseconds deadline) const;

    /// Sets the value of a number property. A property is unavailable until it is set.
    void setProperty(const std::string &name, std::int64_t value);
    /// Sets the value of a text property. A property is unavailable until it is set.
    void setTextProperty(const std::string &name, const std::string &value);
    void removeProperty(const std::string &name);

    // ---- The picture ----

    /// Announces a frame and calls the update callback on this thread. Until the frame is rendered
    /// or skipped, mpv_render_context_update returns MPV_RENDER_UPDATE_FRAME, and
    /// MPV_RENDER_PARAM_NEXT_FRAME_INFO returns `info` (of mpv_render_frame_info_flag). Afterwards
    /// the latter returns a redraw.
    void announceFrame(std::uint64_t info = MPV_RENDER_FRAME_INFO_PRESENT);
    /// Calls the update callback although there is nothing new. Returns false when none is set.
    bool fireUpdateCallback();
    /// Makes mpv_render_context_get_info fail, as in older versions of libmpv.
    void setFrameInfoFails(bool fails);
    /// Sets what runs in each mpv_render_context_render call that does not skip rendering, with
    /// OpenGL in the state that the caller left it in.
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
