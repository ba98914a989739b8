#include "FakeMpv.h"

#include "FakeMpvState.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <iterator>
#include <utility>

namespace lumvik::test {

namespace {

/// Adds an event to the queue of every live client for which `wants` returns true, and calls the
/// wake-up callbacks of these clients.
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

} // namespace

std::string MpvCall::text() const {
    std::string text = function + "(" + object;
    for (const std::string &argument : arguments)
        text += ", " + argument;
    return text + ")";
}

FakeMpv::FakeMpv() : m_state(std::make_unique<State>()) {
    if (State::setCurrent(m_state.get()) != nullptr)
        misuse("two FakeMpv at once");
    std::setlocale(LC_NUMERIC, "C");
}

FakeMpv::~FakeMpv() {
    EXPECT_EQ(liveRenderers(), 0) << "a renderer was never freed";
    EXPECT_EQ(liveClients(), 0) << "a client was never destroyed";
    EXPECT_EQ(liveCores(), 0) << "a core was never destroyed";
    State::setCurrent(nullptr);
}

// ---- Recorded calls ----

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

// ---- Failures ----

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

// ---- Events and properties ----

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

void FakeMpv::setRenderResult(int result) {
    const std::scoped_lock guard(m_state->mutex);
    m_state->renderResult = result;
}

void FakeMpv::setFrameInfoFails(bool fails) {
    const std::scoped_lock guard(m_state->mutex);
    m_state->frameInfoFails = fails;
}

void FakeMpv::setPainter(std::function<void(const MpvRenderCall &)> painter) {
    const std::scoped_lock guard(m_state->mutex);
    m_state->painter = std::move(painter);
}

// ---- Existing objects ----

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
