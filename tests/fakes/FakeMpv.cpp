#include "FakeMpv.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <clocale>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <set>

namespace {

/// An event in the queue of a handle, with the memory that its data points to.
struct QueuedEvent {
    mpv_event_id id = MPV_EVENT_NONE;
    std::optional<mpv_event_end_file> endFile;
    std::optional<mpv_log_level> logLevel;
    std::string name; // of a property, or a message's prefix
    std::string text; // a message's
};

struct WakeupCallback {
    void (*function)(void *) = nullptr;
    void *context = nullptr;
};

} // namespace

/// A handle of the library. Kept after its destruction until the fake goes, so that a later use is
/// recognised and not just undefined.
struct mpv_handle {
    int core = 0;
    int client = 0; // 0: the core's own handle
    bool isAlive = true;
    bool isWaitedFor = false;
    bool isToWake = false;
    bool wantsMessages = false;
    std::set<std::string> observed;
    std::deque<QueuedEvent> events;
    WakeupCallback wakeup;
    // What the last mpv_wait_event answered; valid until the next one.
    QueuedEvent delivered;
    mpv_event_log_message deliveredMessage{};
    mpv_event_property deliveredProperty{};
    mpv_event answer{};

    [[nodiscard]] std::string description() const {
        const std::string name = "core " + std::to_string(core);
        return client == 0 ? name : "client " + std::to_string(client) + " of " + name;
    }
};

struct mpv_render_context {
    int number = 0;
    int core = 0;
    bool isAlive = true;
    mpv_render_update_fn update = nullptr;
    void *updateContext = nullptr;

    [[nodiscard]] std::string description() const { return "renderer " + std::to_string(number); }
};

namespace lumvik::test {

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
    std::map<std::string, int> settingResults; // by the name of what is set
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
};

namespace {

std::atomic<FakeMpv::State *> theState = nullptr;

/// Whether this thread is inside a callback, where libmpv holds locks of its own.
thread_local bool isInCallback = false;

[[noreturn]] void misuse(const std::string &what) {
    std::fprintf(stderr, "libmpv misuse: %s\n", what.c_str());
    std::abort();
}

FakeMpv::State &state() {
    FakeMpv::State *current = theState;
    if (current == nullptr)
        misuse("a call without a FakeMpv");
    if (isInCallback)
        misuse("a call out of a callback");
    return *current;
}

/// Calls back as libmpv does: on any thread, and with nothing allowed but to post.
template<typename Function, typename Context>
void callBack(Function function, Context context) {
    isInCallback = true;
    function(context);
    isInCallback = false;
}

mpv_handle &checked(FakeMpv::State &fake, mpv_handle *handle, const char *function) {
    const auto found = std::find_if(fake.handles.begin(), fake.handles.end(),
                                    [&](const auto &each) { return each.get() == handle; });
    if (found == fake.handles.end())
        misuse(std::string(function) + " on a handle that was never made");
    if (!handle->isAlive)
        misuse(std::string(function) + " on the destroyed " + handle->description());
    return *handle;
}

mpv_render_context &checked(FakeMpv::State &fake, mpv_render_context *renderer,
                            const char *function) {
    const auto found = std::find_if(fake.renderers.begin(), fake.renderers.end(),
                                    [&](const auto &each) { return each.get() == renderer; });
    if (found == fake.renderers.end())
        misuse(std::string(function) + " on a renderer that was never made");
    if (!renderer->isAlive)
        misuse(std::string(function) + " on the freed " + renderer->description());
    return *renderer;
}

void record(FakeMpv::State &fake, const char *function, const std::string &object,
            std::vector<std::string> arguments = {}) {
    fake.calls.push_back({function, object, std::move(arguments), std::this_thread::get_id()});
}

std::string given(const char *text) {
    return text == nullptr ? "(null)" : text;
}

int set(const char *function, mpv_handle *handle, const char *name, const char *value) {
    FakeMpv::State &fake = state();
    const std::scoped_lock guard(fake.mutex);
    const mpv_handle &target = checked(fake, handle, function);
    record(fake, function, target.description(), {given(name), given(value)});
    const auto result = fake.settingResults.find(given(name));
    return result == fake.settingResults.end() ? fake.settingResult : result->second;
}

/// Puts an event into the queues of the live clients that `wants` chooses, and wakes them.
template<typename Predicate>
void deliver(FakeMpv::State &fake, const QueuedEvent &event, Predicate wants) {
    std::vector<WakeupCallback> wakeups;
    {
        const std::scoped_lock guard(fake.mutex);
        for (const auto &handle : fake.handles) {
            if (!handle->isAlive || handle->core != fake.cores || !wants(*handle))
                continue;
            handle->events.push_back(event);
            if (handle->wakeup.function != nullptr)
                wakeups.push_back(handle->wakeup);
        }
        fake.changed.notify_all();
    }
    for (const WakeupCallback &wakeup : wakeups)
        callBack(wakeup.function, wakeup.context);
}

void answerWith(mpv_handle &handle, QueuedEvent event) {
    handle.delivered = std::move(event);
    QueuedEvent &delivered = handle.delivered;
    handle.answer = {};
    handle.answer.event_id = delivered.id;
    if (delivered.endFile) {
        handle.answer.data = &*delivered.endFile;
    } else if (delivered.logLevel) {
        handle.deliveredMessage = {delivered.name.c_str(), "?", delivered.text.c_str(),
                                   *delivered.logLevel};
        handle.answer.data = &handle.deliveredMessage;
    } else if (delivered.id == MPV_EVENT_PROPERTY_CHANGE) {
        handle.deliveredProperty = {delivered.name.c_str(), MPV_FORMAT_NONE, nullptr};
        handle.answer.data = &handle.deliveredProperty;
    }
}

void destroyHandle(FakeMpv::State &fake, mpv_handle &handle) {
    if (handle.isWaitedFor)
        misuse(handle.description() + " destroyed while a thread waits for its events");
    const int core = handle.core;
    const int others = fake.count([&](const mpv_handle &each) { return each.core == core; }) - 1;
    if (others == 0) {
        for (const auto &renderer : fake.renderers) {
            if (renderer->isAlive && renderer->core == core)
                misuse("core " + std::to_string(core) + " destroyed before its renderer");
        }
    }
    handle.isAlive = false;
}

MpvRenderCall renderCall(const mpv_render_param *parameters) {
    MpvRenderCall call;
    for (; parameters->type != MPV_RENDER_PARAM_INVALID; ++parameters) {
        switch (static_cast<int>(parameters->type)) {
        case MPV_RENDER_PARAM_OPENGL_FBO:
            call.framebuffer = *static_cast<const mpv_opengl_fbo *>(parameters->data);
            break;
        case MPV_RENDER_PARAM_FLIP_Y:
            call.flipY = *static_cast<const int *>(parameters->data);
            break;
        case MPV_RENDER_PARAM_BLOCK_FOR_TARGET_TIME:
            call.blockForTargetTime = *static_cast<const int *>(parameters->data);
            break;
        case MPV_RENDER_PARAM_SKIP_RENDERING:
            call.skipRendering = *static_cast<const int *>(parameters->data);
            break;
        default:
            misuse("an unknown render parameter " + std::to_string(parameters->type));
        }
    }
    return call;
}

std::vector<std::string> creationArguments(const mpv_render_param *parameters) {
    std::vector<std::string> arguments;
    for (; parameters->type != MPV_RENDER_PARAM_INVALID; ++parameters) {
        switch (static_cast<int>(parameters->type)) {
        case MPV_RENDER_PARAM_API_TYPE:
            arguments.emplace_back(static_cast<const char *>(parameters->data));
            break;
        case MPV_RENDER_PARAM_OPENGL_INIT_PARAMS: {
            const auto *init = static_cast<const mpv_opengl_init_params *>(parameters->data);
            if (init->get_proc_address == nullptr)
                misuse("a renderer without a way to find OpenGL functions");
            arguments.emplace_back(init->get_proc_address_ctx == nullptr ? "no context"
                                                                         : "a context");
            break;
        }
        case MPV_RENDER_PARAM_X11_DISPLAY:
            arguments.emplace_back("X11 display");
            break;
        default:
            misuse("an unknown creation parameter " + std::to_string(parameters->type));
        }
    }
    return arguments;
}

} // namespace

std::string MpvCall::text() const {
    std::string text = function + "(" + object;
    for (const std::string &argument : arguments)
        text += ", " + argument;
    return text + ")";
}

FakeMpv::FakeMpv() : m_state(std::make_unique<State>()) {
    if (theState.exchange(m_state.get()) != nullptr)
        misuse("two FakeMpv at once");
    std::setlocale(LC_NUMERIC, "C");
}

FakeMpv::~FakeMpv() {
    EXPECT_EQ(liveRenderers(), 0) << "a renderer was never freed";
    EXPECT_EQ(liveClients(), 0) << "a client was never destroyed";
    EXPECT_EQ(liveCores(), 0) << "a core was never destroyed";
    theState = nullptr;
}

// ---- What was called ----

std::vector<MpvCall> FakeMpv::calls() const {
    const std::scoped_lock guard(m_state->mutex);
    std::vector<MpvCall> chosen;
    std::copy_if(m_state->calls.begin(), m_state->calls.end(), std::back_inserter(chosen),
                 [](const MpvCall &call) { return call.function != "mpv_wait_event"; });
    return chosen;
}

std::vector<MpvCall> FakeMpv::callsTo(const std::string &function) const {
    const std::scoped_lock guard(m_state->mutex);
    std::vector<MpvCall> chosen;
    std::copy_if(m_state->calls.begin(), m_state->calls.end(), std::back_inserter(chosen),
                 [&](const MpvCall &call) { return call.function == function; });
    return chosen;
}

std::vector<std::string> FakeMpv::texts() const {
    std::vector<std::string> texts;
    for (const MpvCall &call : calls())
        texts.push_back(call.text());
    return texts;
}

std::ptrdiff_t FakeMpv::position(const std::string &beginning) const {
    const std::vector<std::string> all = texts();
    const auto found = std::find_if(all.begin(), all.end(), [&](const std::string &text) {
        return text.starts_with(beginning);
    });
    return found == all.end() ? -1 : found - all.begin();
}

void FakeMpv::forgetCalls() {
    const std::scoped_lock guard(m_state->mutex);
    m_state->calls.clear();
    m_state->renderCalls.clear();
}

std::vector<MpvRenderCall> FakeMpv::renderCalls() const {
    const std::scoped_lock guard(m_state->mutex);
    return m_state->renderCalls;
}

// ---- What fails ----

void FakeMpv::setCreateFails(bool fails) {
    const std::scoped_lock guard(m_state->mutex);
    m_state->createFails = fails;
}

void FakeMpv::setDestructionHangs(bool hangs) {
    const std::scoped_lock guard(m_state->mutex);
    m_state->destructionHangs = hangs;
    m_state->changed.notify_all();
}

void FakeMpv::setCreateClientFails(bool fails) {
    const std::scoped_lock guard(m_state->mutex);
    m_state->createClientFails = fails;
}

void FakeMpv::setInitializeResult(int result) {
    const std::scoped_lock guard(m_state->mutex);
    m_state->initializeResult = result;
}

void FakeMpv::setRenderContextCreateResult(int result) {
    const std::scoped_lock guard(m_state->mutex);
    m_state->renderContextCreateResult = result;
}

void FakeMpv::setCommandResult(const std::string &name, int result) {
    const std::scoped_lock guard(m_state->mutex);
    m_state->commandResults[name] = result;
}

void FakeMpv::setSettingResult(const std::string &name, int result) {
    const std::scoped_lock guard(m_state->mutex);
    m_state->settingResults[name] = result;
}

void FakeMpv::setSettingResult(int result) {
    const std::scoped_lock guard(m_state->mutex);
    m_state->settingResult = result;
}

// ---- What the engine says ----

void FakeMpv::sendEvent(mpv_event_id id) {
    deliver(*m_state, {.id = id, .endFile = {}, .logLevel = {}, .name = {}, .text = {}},
            [](const mpv_handle &handle) { return handle.client == 0; });
}

void FakeMpv::sendEndFile(int reason, int error) {
    mpv_event_end_file data{};
    data.reason = static_cast<mpv_end_file_reason>(reason);
    data.error = error;
    deliver(*m_state,
            {.id = MPV_EVENT_END_FILE, .endFile = data, .logLevel = {}, .name = {}, .text = {}},
            [](const mpv_handle &handle) { return handle.client == 0; });
}

void FakeMpv::sendLogMessage(mpv_log_level level, const std::string &prefix,
                             const std::string &text) {
    deliver(*m_state,
            {.id = MPV_EVENT_LOG_MESSAGE,
             .endFile = {},
             .logLevel = level,
             .name = prefix,
             .text = text},
            [](const mpv_handle &handle) { return handle.wantsMessages; });
}

void FakeMpv::sendPropertyChange(const std::string &name) {
    deliver(
        *m_state,
        {.id = MPV_EVENT_PROPERTY_CHANGE, .endFile = {}, .logLevel = {}, .name = name, .text = {}},
        [&](const mpv_handle &handle) { return handle.observed.contains(name); });
}

void FakeMpv::wakeClients() {
    std::vector<WakeupCallback> wakeups;
    {
        const std::scoped_lock guard(m_state->mutex);
        for (const auto &handle : m_state->handles) {
            if (handle->isAlive && handle->wakeup.function != nullptr)
                wakeups.push_back(handle->wakeup);
        }
    }
    for (const WakeupCallback &wakeup : wakeups)
        callBack(wakeup.function, wakeup.context);
}

void FakeMpv::setWaitsNeverTimeOut() {
    const std::scoped_lock guard(m_state->mutex);
    m_state->waitsTimeOut = false;
}

bool FakeMpv::waitUntilPumpIdles(std::chrono::milliseconds deadline) const {
    std::unique_lock guard(m_state->mutex);
    return m_state->changed.wait_for(guard, deadline, [this] {
        const mpv_handle *core = m_state->newestCore();
        return core != nullptr && core->isWaitedFor && core->events.empty();
    });
}

void FakeMpv::setProperty(const std::string &name, std::int64_t value) {
    const std::scoped_lock guard(m_state->mutex);
    m_state->properties[name] = value;
}

void FakeMpv::setTextProperty(const std::string &name, const std::string &value) {
    const std::scoped_lock guard(m_state->mutex);
    m_state->textProperties[name] = value;
}

void FakeMpv::removeProperty(const std::string &name) {
    const std::scoped_lock guard(m_state->mutex);
    m_state->properties.erase(name);
}

// ---- The picture ----

void FakeMpv::announceFrame(std::uint64_t info) {
    {
        const std::scoped_lock guard(m_state->mutex);
        m_state->frameIsPending = true;
        m_state->frameInfo = info;
    }
    fireUpdateCallback();
}

bool FakeMpv::fireUpdateCallback() {
    mpv_render_update_fn update = nullptr;
    void *context = nullptr;
    {
        const std::scoped_lock guard(m_state->mutex);
        if (const mpv_render_context *renderer = m_state->liveRenderer()) {
            update = renderer->update;
            context = renderer->updateContext;
        }
    }
    if (update == nullptr)
        return false;
    callBack(update, context);
    return true;
}

void FakeMpv::setFrameInfoFails(bool fails) {
    const std::scoped_lock guard(m_state->mutex);
    m_state->frameInfoFails = fails;
}

void FakeMpv::setPainter(std::function<void(const MpvRenderCall &)> painter) {
    const std::scoped_lock guard(m_state->mutex);
    m_state->painter = std::move(painter);
}

// ---- What is alive ----

int FakeMpv::liveCores() const {
    const std::scoped_lock guard(m_state->mutex);
    return m_state->count([](const mpv_handle &handle) { return handle.client == 0; });
}

int FakeMpv::liveClients() const {
    const std::scoped_lock guard(m_state->mutex);
    return m_state->count([](const mpv_handle &handle) { return handle.client != 0; });
}

int FakeMpv::liveRenderers() const {
    const std::scoped_lock guard(m_state->mutex);
    return static_cast<int>(std::count_if(m_state->renderers.begin(), m_state->renderers.end(),
                                          [](const auto &each) { return each->isAlive; }));
}

} // namespace lumvik::test

// ---- The library's functions ----

using namespace lumvik::test;

mpv_handle *mpv_create() {
    FakeMpv::State &fake = state();
    const std::scoped_lock guard(fake.mutex);
    record(fake, __func__, "library");
    // The real one refuses every other locale, too.
    if (fake.createFails || std::strcmp(std::setlocale(LC_NUMERIC, nullptr), "C") != 0)
        return nullptr;
    fake.handles.push_back(std::make_unique<mpv_handle>());
    fake.handles.back()->core = ++fake.cores;
    return fake.handles.back().get();
}

mpv_handle *mpv_create_client(mpv_handle *handle, const char *name) {
    FakeMpv::State &fake = state();
    const std::scoped_lock guard(fake.mutex);
    const mpv_handle &of = checked(fake, handle, __func__);
    record(fake, __func__, of.description(), {given(name)});
    if (fake.createClientFails)
        return nullptr;
    int clients = 0;
    for (const auto &each : fake.handles)
        clients = each->core == of.core ? std::max(clients, each->client) : clients;
    auto client = std::make_unique<mpv_handle>();
    client->core = of.core;
    client->client = clients + 1;
    fake.handles.push_back(std::move(client));
    return fake.handles.back().get();
}

int mpv_initialize(mpv_handle *handle) {
    FakeMpv::State &fake = state();
    const std::scoped_lock guard(fake.mutex);
    record(fake, __func__, checked(fake, handle, __func__).description());
    return fake.initializeResult;
}

void mpv_destroy(mpv_handle *handle) {
    if (handle == nullptr)
        return;
    FakeMpv::State &fake = state();
    const std::scoped_lock guard(fake.mutex);
    mpv_handle &target = checked(fake, handle, __func__);
    record(fake, __func__, target.description());
    destroyHandle(fake, target);
}

void mpv_terminate_destroy(mpv_handle *handle) {
    if (handle == nullptr)
        return;
    FakeMpv::State &fake = state();
    std::unique_lock guard(fake.mutex);
    mpv_handle &target = checked(fake, handle, __func__);
    record(fake, __func__, target.description());
    fake.changed.wait(guard, [&fake] { return !fake.destructionHangs; });
    const int others =
        fake.count([&](const mpv_handle &each) { return each.core == target.core; }) - 1;
    if (others > 0)
        misuse(target.description() + " terminated while another client lives; it would hang");
    destroyHandle(fake, target);
}

int mpv_set_option_string(mpv_handle *handle, const char *name, const char *value) {
    return set(__func__, handle, name, value);
}

int mpv_set_property_string(mpv_handle *handle, const char *name, const char *value) {
    return set(__func__, handle, name, value);
}

int mpv_command(mpv_handle *handle, const char **arguments) {
    FakeMpv::State &fake = state();
    const std::scoped_lock guard(fake.mutex);
    const mpv_handle &target = checked(fake, handle, __func__);
    std::vector<std::string> list;
    for (; *arguments != nullptr; ++arguments)
        list.emplace_back(*arguments);
    const std::string name = list.empty() ? std::string() : list.front();
    record(fake, __func__, target.description(), std::move(list));
    const auto result = fake.commandResults.find(name);
    return result == fake.commandResults.end() ? 0 : result->second;
}

int mpv_command_string(mpv_handle *handle, const char *arguments) {
    FakeMpv::State &fake = state();
    const std::scoped_lock guard(fake.mutex);
    const mpv_handle &target = checked(fake, handle, __func__);
    record(fake, __func__, target.description(), {given(arguments)});
    const std::string text = given(arguments);
    const auto result = fake.commandResults.find(text.substr(0, text.find(' ')));
    return result == fake.commandResults.end() ? 0 : result->second;
}

int mpv_get_property(mpv_handle *handle, const char *name, mpv_format format, void *data) {
    FakeMpv::State &fake = state();
    const std::scoped_lock guard(fake.mutex);
    const mpv_handle &target = checked(fake, handle, __func__);
    record(fake, __func__, target.description(), {given(name), std::to_string(format)});
    if (format == MPV_FORMAT_STRING) {
        const auto text = fake.textProperties.find(name);
        if (text == fake.textProperties.end())
            return MPV_ERROR_PROPERTY_UNAVAILABLE;
        *static_cast<char **>(data) = strdup(text->second.c_str()); // freed by mpv_free
        return 0;
    }
    const auto found = fake.properties.find(name);
    if (found == fake.properties.end())
        return MPV_ERROR_PROPERTY_UNAVAILABLE;
    if (format == MPV_FORMAT_INT64)
        *static_cast<std::int64_t *>(data) = found->second;
    else if (format == MPV_FORMAT_FLAG)
        *static_cast<int *>(data) = static_cast<int>(found->second);
    else
        return MPV_ERROR_PROPERTY_FORMAT;
    return 0;
}

void mpv_free(void *data) {
    std::free(data); // NOLINT(*-no-malloc)
}

int mpv_observe_property(mpv_handle *handle, std::uint64_t, const char *name, mpv_format format) {
    FakeMpv::State &fake = state();
    const std::scoped_lock guard(fake.mutex);
    mpv_handle &target = checked(fake, handle, __func__);
    record(fake, __func__, target.description(), {given(name), std::to_string(format)});
    target.observed.insert(name);
    return 0;
}

int mpv_request_log_messages(mpv_handle *handle, const char *level) {
    FakeMpv::State &fake = state();
    const std::scoped_lock guard(fake.mutex);
    mpv_handle &target = checked(fake, handle, __func__);
    record(fake, __func__, target.description(), {given(level)});
    target.wantsMessages = std::strcmp(level, "no") != 0;
    return 0;
}

void mpv_set_wakeup_callback(mpv_handle *handle, void (*callback)(void *), void *context) {
    FakeMpv::State &fake = state();
    const std::scoped_lock guard(fake.mutex);
    mpv_handle &target = checked(fake, handle, __func__);
    record(fake, __func__, target.description(), {callback == nullptr ? "none" : "a callback"});
    target.wakeup = {callback, context};
}

mpv_event *mpv_wait_event(mpv_handle *handle, double timeout) {
    FakeMpv::State &fake = state();
    std::unique_lock guard(fake.mutex);
    mpv_handle &target = checked(fake, handle, __func__);
    record(fake, __func__, target.description(), {std::to_string(timeout)});
    if (target.isWaitedFor)
        misuse("two threads wait for events of " + target.description());
    target.isWaitedFor = true;
    fake.changed.notify_all();
    const auto ready = [&] { return !target.events.empty() || target.isToWake; };
    if (timeout > 0) {
        const bool bounded = fake.waitsTimeOut;
        const double seconds = bounded ? timeout : 10;
        const bool woken =
            fake.changed.wait_for(guard, std::chrono::duration<double>(seconds), ready);
        if (!woken && !bounded)
            misuse("nobody woke the wait for events of " + target.description());
    }
    target.isWaitedFor = false;
    target.isToWake = false;
    QueuedEvent event;
    if (!target.events.empty()) {
        event = std::move(target.events.front());
        target.events.pop_front();
    }
    answerWith(target, std::move(event));
    fake.changed.notify_all();
    return &target.answer;
}

void mpv_wakeup(mpv_handle *handle) {
    FakeMpv::State &fake = state();
    const std::scoped_lock guard(fake.mutex);
    mpv_handle &target = checked(fake, handle, __func__);
    record(fake, __func__, target.description());
    target.isToWake = true;
    fake.changed.notify_all();
}

int mpv_render_context_create(mpv_render_context **result, mpv_handle *handle,
                              mpv_render_param *parameters) {
    FakeMpv::State &fake = state();
    const std::scoped_lock guard(fake.mutex);
    const mpv_handle &target = checked(fake, handle, __func__);
    record(fake, __func__, target.description(), creationArguments(parameters));
    if (fake.renderContextCreateResult < 0)
        return fake.renderContextCreateResult;
    if (fake.liveRenderer() != nullptr)
        misuse("a second renderer for " + target.description());
    auto renderer = std::make_unique<mpv_render_context>();
    renderer->number = static_cast<int>(fake.renderers.size()) + 1;
    renderer->core = target.core;
    *result = renderer.get();
    fake.renderers.push_back(std::move(renderer));
    return fake.renderContextCreateResult;
}

void mpv_render_context_set_update_callback(mpv_render_context *context,
                                            mpv_render_update_fn callback, void *callbackContext) {
    FakeMpv::State &fake = state();
    const std::scoped_lock guard(fake.mutex);
    mpv_render_context &renderer = checked(fake, context, __func__);
    record(fake, __func__, renderer.description(), {callback == nullptr ? "none" : "a callback"});
    renderer.update = callback;
    renderer.updateContext = callbackContext;
}

std::uint64_t mpv_render_context_update(mpv_render_context *context) {
    FakeMpv::State &fake = state();
    const std::scoped_lock guard(fake.mutex);
    record(fake, __func__, checked(fake, context, __func__).description());
    return fake.frameIsPending ? std::uint64_t{MPV_RENDER_UPDATE_FRAME} : 0;
}

int mpv_render_context_get_info(mpv_render_context *context, mpv_render_param parameter) {
    FakeMpv::State &fake = state();
    const std::scoped_lock guard(fake.mutex);
    record(fake, __func__, checked(fake, context, __func__).description());
    if (fake.frameInfoFails || parameter.type != MPV_RENDER_PARAM_NEXT_FRAME_INFO)
        return MPV_ERROR_NOT_IMPLEMENTED;
    auto *info = static_cast<mpv_render_frame_info *>(parameter.data);
    // Without a new frame it is the last one that would be drawn again, which has no time.
    constexpr std::uint64_t redraw = MPV_RENDER_FRAME_INFO_PRESENT | MPV_RENDER_FRAME_INFO_REDRAW;
    info->flags = fake.frameIsPending ? fake.frameInfo : fake.frameInfo == 0 ? 0 : redraw;
    const bool hasTime = info->flags != 0 && (info->flags & MPV_RENDER_FRAME_INFO_REDRAW) == 0;
    info->target_time = hasTime ? 1000000 : 0;
    return 0;
}

int mpv_render_context_render(mpv_render_context *context, mpv_render_param *parameters) {
    FakeMpv::State &fake = state();
    const MpvRenderCall call = renderCall(parameters);
    std::function<void(const MpvRenderCall &)> painter;
    {
        const std::scoped_lock guard(fake.mutex);
        record(fake, __func__, checked(fake, context, __func__).description());
        fake.renderCalls.push_back(call);
        fake.frameIsPending = false;
        painter = fake.painter;
    }
    if (painter && call.skipRendering != 1)
        painter(call);
    return 0;
}

void mpv_render_context_report_swap(mpv_render_context *context) {
    FakeMpv::State &fake = state();
    const std::scoped_lock guard(fake.mutex);
    record(fake, __func__, checked(fake, context, __func__).description());
}

void mpv_render_context_free(mpv_render_context *context) {
    if (context == nullptr)
        return;
    FakeMpv::State &fake = state();
    const std::scoped_lock guard(fake.mutex);
    mpv_render_context &renderer = checked(fake, context, __func__);
    record(fake, __func__, renderer.description());
    renderer.isAlive = false;
}

const char *mpv_error_string(int error) {
    return error >= 0 ? "success" : "an error of the fake engine";
}
