#pragma once

#include "FakeMpv.h"

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

// The state of FakeMpv, which is shared by the class that tests use (FakeMpv.cpp) and the libmpv
// functions that the code under test calls (FakeMpvClient.cpp, FakeMpvRenderer.cpp).

namespace lumvik::test {

/// An event in the queue of a handle, together with its data.
struct QueuedEvent {
    mpv_event_id id = MPV_EVENT_NONE;
    std::optional<mpv_event_end_file> endFile;
    std::optional<mpv_log_level> logLevel;
    std::string name; // the name of the property, or the prefix of the log message
    std::string text; // the text of the log message
};

/// The callback with which a client is notified of new events.
struct WakeupCallback {
    void (*function)(void *) = nullptr;
    void *context = nullptr;
};

} // namespace lumvik::test

/// A libmpv handle. A destroyed handle is kept until the FakeMpv is destroyed, so that the fake
/// library can detect that the handle is used after its destruction.
struct mpv_handle {
    int core = 0;
    int client = 0; // 0 for the core's own handle
    bool isAlive = true;
    bool isWaitedFor = false;
    bool isToWake = false;
    bool wantsMessages = false;
    std::set<std::string> observed;
    std::deque<lumvik::test::QueuedEvent> events;
    lumvik::test::WakeupCallback wakeup;
    // The result of the last mpv_wait_event, which is valid until the next call.
    lumvik::test::QueuedEvent delivered;
    mpv_event_log_message deliveredMessage{};
    mpv_event_property deliveredProperty{};
    mpv_event answer{};

    [[nodiscard]] std::string description() const {
        const std::string name = "core " + std::to_string(core);
        return client == 0 ? name : "client " + std::to_string(client) + " of " + name;
    }
};

/// A libmpv renderer. Like a destroyed mpv_handle, a freed renderer is kept to detect its later
/// use.
struct mpv_render_context {
    int number = 0;
    int core = 0;
    bool isAlive = true;
    mpv_render_update_fn update = nullptr;
    void *updateContext = nullptr;

    [[nodiscard]] std::string description() const { return "renderer " + std::to_string(number); }
};

namespace lumvik::test {

/// The state of the fake library. Its members may be used only while `mutex` is held. Callbacks are
/// called while `mutex` is not held.
struct FakeMpv::State {
    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    std::vector<std::unique_ptr<mpv_handle>> handles;
    std::vector<std::unique_ptr<mpv_render_context>> renderers;
    std::vector<MpvCall> calls;
    std::vector<MpvRenderCall> renderCalls;
    std::map<std::string, int> commandResults;
    std::map<std::string, std::int64_t> properties;
    std::map<std::string, std::string> textProperties;
    std::map<std::string, int> settingResults; // by the name of the option or property
    std::function<void(const MpvRenderCall &)> painter;
    int cores = 0;
    bool createFails = false;
    bool destructionHangs = false;
    bool createClientFails = false;
    int initializeResult = 0;
    int renderContextCreateResult = 0;
    int settingResult = 0;
    bool waitsTimeOut = true;
    bool frameInfoFails = false;
    int renderResult = 0;
    bool frameIsPending = false;
    std::uint64_t frameInfo = 0;

    mpv_handle *coreHandle(int number) {
        for (const auto &handle : handles) {
            if (handle->core == number && handle->client == 0)
                return handle.get();
        }
        return nullptr;
    }
    mpv_handle *newestCore() { return coreHandle(cores); }

    mpv_render_context *liveRenderer() {
        for (const auto &renderer : renderers) {
            if (renderer->isAlive)
                return renderer.get();
        }
        return nullptr;
    }

    template<typename Predicate>
    int count(Predicate predicate) const {
        return static_cast<int>(
            std::count_if(handles.begin(), handles.end(), [&](const auto &handle) {
                return handle->isAlive && predicate(*handle);
            }));
    }

    // ---- For the libmpv functions ----

    /// Returns the state of the existing FakeMpv. Calling this function without a FakeMpv, or in a
    /// callback, is reported as a misuse.
    static State &current();
    /// Makes `state` the current state, which may be null, and returns the previous one.
    static State *setCurrent(State *state);

    /// Returns the object if it may be used. Otherwise reports the call of `function` as a misuse.
    mpv_handle &checked(mpv_handle *handle, const char *function) const;
    mpv_render_context &checked(mpv_render_context *renderer, const char *function) const;
    void record(const char *function, const std::string &object,
                std::vector<std::string> arguments = {});
};

/// Reports a misuse of libmpv on standard error and terminates the process.
[[noreturn]] void misuse(const std::string &what);

/// Calls a callback like libmpv. The callback must not call libmpv.
void callBack(void (*function)(void *), void *context);

/// Returns an argument in the form in which it is recorded.
std::string given(const char *text);

} // namespace lumvik::test
