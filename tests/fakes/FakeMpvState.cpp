#include "FakeMpvState.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <utility>

namespace lumvik::test {

namespace {

std::atomic<FakeMpv::State *> theState = nullptr;

/// Whether this thread is inside a callback, where libmpv holds its own locks.
thread_local bool isInCallback = false;

} // namespace

FakeMpv::State &FakeMpv::State::current() {
    State *current = theState;
    if (current == nullptr)
        misuse("a call without a FakeMpv");
    if (isInCallback)
        misuse("a call out of a callback");
    return *current;
}

FakeMpv::State *FakeMpv::State::setCurrent(State *state) {
    return theState.exchange(state);
}

mpv_handle &FakeMpv::State::checked(mpv_handle *handle, const char *function) const {
    const auto found = std::find_if(handles.begin(), handles.end(),
                                    [&](const auto &each) { return each.get() == handle; });
    if (found == handles.end())
        misuse(std::string(function) + " on a handle that was never made");
    if (!handle->isAlive)
        misuse(std::string(function) + " on the destroyed " + handle->description());
    return *handle;
}

mpv_render_context &FakeMpv::State::checked(mpv_render_context *renderer,
                                            const char *function) const {
    const auto found = std::find_if(renderers.begin(), renderers.end(),
                                    [&](const auto &each) { return each.get() == renderer; });
    if (found == renderers.end())
        misuse(std::string(function) + " on a renderer that was never made");
    if (!renderer->isAlive)
        misuse(std::string(function) + " on the freed " + renderer->description());
    return *renderer;
}

void FakeMpv::State::record(const char *function, const std::string &object,
                            std::vector<std::string> arguments) {
    calls.push_back({function, object, std::move(arguments), std::this_thread::get_id()});
}

void misuse(const std::string &what) {
    std::fprintf(stderr, "libmpv misuse: %s\n", what.c_str());
    std::abort();
}

void callBack(void (*function)(void *), void *context) {
    isInCallback = true;
    function(context);
    isInCallback = false;
}

std::string given(const char *text) {
    return text == nullptr ? "(null)" : text;
}

} // namespace lumvik::test
