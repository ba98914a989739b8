#include "FakeMpvState.h"

#include <chrono>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <utility>

// The libmpv functions for player instances and their clients.

namespace lumvik::test {
namespace {

int set(const char *function, mpv_handle *handle, const char *name, const char *value) {
    FakeMpv::State &fake = FakeMpv::State::current();
    const std::scoped_lock guard(fake.mutex);
    const mpv_handle &target = fake.checked(handle, function);
    fake.record(function, target.description(), {given(name), given(value)});
    const auto result = fake.settingResults.find(given(name));
    return result == fake.settingResults.end() ? fake.settingResult : result->second;
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

} // namespace
} // namespace lumvik::test

using namespace lumvik::test;

mpv_handle *mpv_create() {
    FakeMpv::State &fake = FakeMpv::State::current();
    const std::scoped_lock guard(fake.mutex);
    fake.record(__func__, "library");
    // Like the real mpv_create, this function fails in every locale other than "C".
    if (fake.createFails || std::strcmp(std::setlocale(LC_NUMERIC, nullptr), "C") != 0)
        return nullptr;
    fake.handles.push_back(std::make_unique<mpv_handle>());
    fake.handles.back()->core = ++fake.cores;
    return fake.handles.back().get();
}

mpv_handle *mpv_create_client(mpv_handle *handle, const char *name) {
    FakeMpv::State &fake = FakeMpv::State::current();
    const std::scoped_lock guard(fake.mutex);
    const mpv_handle &of = fake.checked(handle, __func__);
    fake.record(__func__, of.description(), {given(name)});
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
    FakeMpv::State &fake = FakeMpv::State::current();
    const std::scoped_lock guard(fake.mutex);
    fake.record(__func__, fake.checked(handle, __func__).description());
    return fake.initializeResult;
}

void mpv_destroy(mpv_handle *handle) {
    if (handle == nullptr)
        return;
    FakeMpv::State &fake = FakeMpv::State::current();
    const std::scoped_lock guard(fake.mutex);
    mpv_handle &target = fake.checked(handle, __func__);
    fake.record(__func__, target.description());
    destroyHandle(fake, target);
}

void mpv_terminate_destroy(mpv_handle *handle) {
    if (handle == nullptr)
        return;
    FakeMpv::State &fake = FakeMpv::State::current();
    std::unique_lock guard(fake.mutex);
    mpv_handle &target = fake.checked(handle, __func__);
    fake.record(__func__, target.description());
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
    FakeMpv::State &fake = FakeMpv::State::current();
    const std::scoped_lock guard(fake.mutex);
    const mpv_handle &target = fake.checked(handle, __func__);
    std::vector<std::string> list;
    for (; *arguments != nullptr; ++arguments)
        list.emplace_back(*arguments);
    const std::string name = list.empty() ? std::string() : list.front();
    fake.record(__func__, target.description(), std::move(list));
    const auto result = fake.commandResults.find(name);
    return result == fake.commandResults.end() ? 0 : result->second;
}

int mpv_command_string(mpv_handle *handle, const char *arguments) {
    FakeMpv::State &fake = FakeMpv::State::current();
    const std::scoped_lock guard(fake.mutex);
    const mpv_handle &target = fake.checked(handle, __func__);
    fake.record(__func__, target.description(), {given(arguments)});
    const std::string text = given(arguments);
    const auto result = fake.commandResults.find(text.substr(0, text.find(' ')));
    return result == fake.commandResults.end() ? 0 : result->second;
}

int mpv_get_property(mpv_handle *handle, const char *name, mpv_format format, void *data) {
    FakeMpv::State &fake = FakeMpv::State::current();
    const std::scoped_lock guard(fake.mutex);
    const mpv_handle &target = fake.checked(handle, __func__);
    fake.record(__func__, target.description(), {given(name), std::to_string(format)});
    if (format == MPV_FORMAT_STRING) {
        const auto text = fake.textProperties.find(name);
        if (text == fake.textProperties.end())
            return MPV_ERROR_PROPERTY_UNAVAILABLE;
        *static_cast<char **>(data) = strdup(text->second.c_str()); // freed by mpv_free
        return 0;
    }
    if (format == MPV_FORMAT_DOUBLE) {
        const auto text = fake.textProperties.find(name);
        if (text == fake.textProperties.end())
            return MPV_ERROR_PROPERTY_UNAVAILABLE;
        *static_cast<double *>(data) = std::stod(text->second);
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
    FakeMpv::State &fake = FakeMpv::State::current();
    const std::scoped_lock guard(fake.mutex);
    mpv_handle &target = fake.checked(handle, __func__);
    fake.record(__func__, target.description(), {given(name), std::to_string(format)});
    target.observed.insert(name);
    return 0;
}

int mpv_request_log_messages(mpv_handle *handle, const char *level) {
    FakeMpv::State &fake = FakeMpv::State::current();
    const std::scoped_lock guard(fake.mutex);
    mpv_handle &target = fake.checked(handle, __func__);
    fake.record(__func__, target.description(), {given(level)});
    target.wantsMessages = std::strcmp(level, "no") != 0;
    return 0;
}

void mpv_set_wakeup_callback(mpv_handle *handle, void (*callback)(void *), void *context) {
    FakeMpv::State &fake = FakeMpv::State::current();
    const std::scoped_lock guard(fake.mutex);
    mpv_handle &target = fake.checked(handle, __func__);
    fake.record(__func__, target.description(), {callback == nullptr ? "none" : "a callback"});
    target.wakeup = {callback, context};
}

mpv_event *mpv_wait_event(mpv_handle *handle, double timeout) {
    FakeMpv::State &fake = FakeMpv::State::current();
    std::unique_lock guard(fake.mutex);
    mpv_handle &target = fake.checked(handle, __func__);
    fake.record(__func__, target.description(), {std::to_string(timeout)});
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
    FakeMpv::State &fake = FakeMpv::State::current();
    const std::scoped_lock guard(fake.mutex);
    mpv_handle &target = fake.checked(handle, __func__);
    fake.record(__func__, target.description());
    target.isToWake = true;
    fake.changed.notify_all();
}

const char *mpv_error_string(int error) {
    return error >= 0 ? "success" : "an error of the fake engine";
}
