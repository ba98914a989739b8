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
    std::string function; // "mpv_command"
    std::string object;   // what it was called on: "core 1", "client 1 of core 1", "renderer 1"
    std::vector<std::string> arguments; // texts as given, numbers in decimal
    std::thread::id thread;

    /// The whole call in one line: "mpv_command(core 1, loadfile, rtsp://…, replace)".
    [[nodiscard]] std::string text() const;
};

/// One mpv_render_context_render call, with its parameters taken apart. What was not passed is -1.
struct MpvRenderCall {
    mpv_opengl_fbo framebuffer{-1, -1, -1, -1};
    int flipY = -1;
    int blockForTargetTime = -1;
    int skipRendering = -1;
};

/// A libmpv without any engine in it, for programs that link this library in the place of the real
/// one: the same C functions, which record what they are asked and answer what the test wants.
///
/// A test makes one FakeMpv before the code under test runs and drops it afterwards; there can be
/// only one at a time, and calling any libmpv function without one ends the process. By default
/// every call succeeds. The core of the newest player instance is "core 1", "core 2", …, in the
/// order of creation.
///
/// What the real library would not survive, or would hang in, ends the process here with a message
/// on standard error that begins with "libmpv misuse": a call on a handle that is destroyed or was
/// never made, a core destroyed while its renderer or another client lives, any use of a freed
/// renderer, two threads waiting for events of one handle, a call out of an update or wake-up
/// callback. A FakeMpv that is dropped while a handle or renderer lives fails the test.
///
/// All functions may be called on any thread. Callbacks of the code under test run on the thread
/// that triggers them, without any lock held.
class FakeMpv {
  public:
    /// Sets the process's LC_NUMERIC to "C": like the real mpv_create, the fake one gives no handle
    /// in another locale, and the toolkit has set the user's.
    FakeMpv();
    FakeMpv(const FakeMpv &) = delete;
    FakeMpv &operator=(const FakeMpv &) = delete;
    ~FakeMpv();

    // ---- What was called ----

    /// All calls so far, in order, but mpv_wait_event, which a pump repeats as it likes.
    [[nodiscard]] std::vector<MpvCall> calls() const;
    /// The calls of one function, mpv_wait_event too.
    [[nodiscard]] std::vector<MpvCall> callsTo(const std::string &function) const;
    /// The texts of all calls (see MpvCall::text), those of `calls()`.
    [[nodiscard]] std::vector<std::string> texts() const;
    /// Where in `calls()` the first call with this text begins ("mpv_command(core 1, loadfile");
    /// -1 when there is none.
    [[nodiscard]] std::ptrdiff_t position(const std::string &beginning) const;
    void forgetCalls();

    [[nodiscard]] std::vector<MpvRenderCall> renderCalls() const;

    // ---- What fails ----

    void setCreateFails(bool fails);
    void setCreateClientFails(bool fails);
    /// The results of mpv_initialize, mpv_render_context_create and of the command `name`.
    void setInitializeResult(int result);
    void setRenderContextCreateResult(int result);
    void setCommandResult(const std::string &name, int result);
    /// The result of each mpv_set_option_string and mpv_set_property_string.
    void setSettingResult(int result);

    /// The result of setting the property or option `name`, whatever setSettingResult says.
    void setSettingResult(const std::string &name, int result);

    /// From now on mpv_terminate_destroy does not return, as while a name is looked up, until this
    /// is called with false.
    void setDestructionHangs(bool hangs);

    // ---- What the engine says ----

    /// Sends an event without data to the newest core's own handle, through mpv_wait_event.
    void sendEvent(mpv_event_id id);
    /// Sends an end-file event with data.
    void sendEndFile(int reason, int error);
    /// Sends a message to the clients of the newest core that asked for messages.
    void sendLogMessage(mpv_log_level level, const std::string &prefix, const std::string &text);
    /// Tells the clients of the newest core that observe `name` that it has changed.
    void sendPropertyChange(const std::string &name);
    /// Calls the wake-up callbacks of the newest core's clients though nothing has happened.
    void wakeClients();

    /// From now on a wait for events lasts until there is one or somebody wakes it, whatever its
    /// time-out; ten seconds later the process ends.
    void setWaitsNeverTimeOut();
    /// Blocks until some thread waits for an event of the newest core's own handle and none is
    /// left to take; false after `deadline`.
    [[nodiscard]] bool waitUntilPumpIdles(std::chrono::milliseconds deadline) const;

    /// What mpv_get_property answers for a number; until set a property is unavailable.
    void setProperty(const std::string &name, std::int64_t value);
    /// What mpv_get_property answers for a text; until set a property is unavailable.
    void setTextProperty(const std::string &name, const std::string &value);
    void removeProperty(const std::string &name);

    // ---- The picture ----

    /// Announces a frame: mpv_render_context_update answers MPV_RENDER_UPDATE_FRAME until the frame
    /// is rendered or skipped, MPV_RENDER_PARAM_NEXT_FRAME_INFO answers `info` (of
    /// mpv_render_frame_info_flag) until then and a redraw of it afterwards, and the update
    /// callback is called, on this thread.
    void announceFrame(std::uint64_t info = MPV_RENDER_FRAME_INFO_PRESENT);
    /// Calls the update callback though there is nothing new. False when none is set.
    bool fireUpdateCallback();
    /// Makes mpv_render_context_get_info fail, as an older engine's does.
    void setFrameInfoFails(bool fails);
    /// Runs in each mpv_render_context_render that is not to skip, with OpenGL as the caller left
    /// it.
    void setPainter(std::function<void(const MpvRenderCall &)> painter);

    // ---- What is alive ----

    [[nodiscard]] int liveCores() const;
    [[nodiscard]] int liveClients() const; // without the cores' own handles
    [[nodiscard]] int liveRenderers() const;

    struct State; // the fake's own

  private:
    std::unique_ptr<State> m_state;
};

} // namespace lumvik::test
