#include "engine/MPVObserver.h"

#include <atomic>
#include <string_view>

namespace lumvik {

namespace {

constexpr const char *videoParameters = "video-params";
constexpr const char *endReached = "eof-reached";

} // namespace

struct MPVObserver::Client {
    mpv_handle *handle = nullptr; // owned; null once the observer is gone
    MainQueue *mainQueue = nullptr;
    Handlers handlers;
    bool isLeaving = false; // what is still in the queue is only written down
    std::weak_ptr<Client> self;
    std::atomic_bool wakeUpIsPending = false;

    /// Called by libmpv on any of its threads, which hold locks of its own: it only posts.
    static void wakeUp(void *context) {
        auto *client = static_cast<Client *>(context);
        if (!client->wakeUpIsPending.exchange(true)) {
            client->mainQueue->async([weak = client->self] {
                if (const auto strong = weak.lock())
                    strong->drain();
            });
        }
    }

    /// Takes what is in the queue, but not more than the main thread can spare in one turn: at its
    /// most talkative the engine speaks faster than its messages can be written down.
    void drain() {
        constexpr int eventsInOneTurn = 200;
        wakeUpIsPending = false;
        bool parametersChanged = false;
        bool endChanged = false;
        int events = 0;
        while (handle != nullptr && events < eventsInOneTurn) {
            const mpv_event *event = mpv_wait_event(handle, 0);
            if (event == nullptr || event->event_id == MPV_EVENT_NONE)
                break;
            ++events;
            if (event->event_id == MPV_EVENT_PROPERTY_CHANGE) {
                const std::string_view name =
                    static_cast<const mpv_event_property *>(event->data)->name;
                (name == endReached ? endChanged : parametersChanged) = true;
            } else if (event->event_id == MPV_EVENT_LOG_MESSAGE) {
                log(*static_cast<const mpv_event_log_message *>(event->data));
            }
        }
        if (events == eventsInOneTurn)
            wakeUp(this);
        // Once for several changes, since asking for the new values stops the engine for a moment.
        if (parametersChanged && !isLeaving)
            handlers.videoParametersChanged();
        if (endChanged && !isLeaving)
            handlers.endReachedChanged();
    }

    static void log(const mpv_event_log_message &message) {
        LumvikLog::playback().log(
            logLevelOfEngineMessage(message.log_level),
            QStringLiteral("[%1] %2").arg(QString::fromUtf8(message.prefix),
                                          QString::fromUtf8(message.text).trimmed()));
    }
};

MPVObserver::MPVObserver(mpv_handle *player, MainQueue &mainQueue, const char *logLevel,
                         Handlers handlers)
    : m_client(std::make_shared<Client>()) {
    m_client->self = m_client;
    m_client->mainQueue = &mainQueue;
    m_client->handlers = std::move(handlers);
    m_client->handle = mpv_create_client(player, "observer");
    if (m_client->handle == nullptr) {
        LumvikLog::playback().error(
            QStringLiteral("The engine's messages and the picture's shape cannot be followed."));
        return;
    }
    mpv_request_log_messages(m_client->handle, logLevel);
    mpv_observe_property(m_client->handle, 0, videoParameters, MPV_FORMAT_NONE);
    mpv_observe_property(m_client->handle, 0, endReached, MPV_FORMAT_FLAG);
    mpv_set_wakeup_callback(m_client->handle, &Client::wakeUp, m_client.get());
}

MPVObserver::~MPVObserver() {
    if (m_client->handle == nullptr)
        return;
    // Once this returns no wake-up is running, so that none can see the client go away.
    mpv_set_wakeup_callback(m_client->handle, nullptr, nullptr);
    m_client->isLeaving = true; // a player that goes away has no shape to follow
    m_client->drain();          // the last messages are often the ones that explain the end
    mpv_destroy(std::exchange(m_client->handle, nullptr));
}

LogLevel logLevelOfEngineMessage(mpv_log_level level) {
    if (level <= MPV_LOG_LEVEL_ERROR)
        return LogLevel::error;
    if (level <= MPV_LOG_LEVEL_WARN)
        return LogLevel::standard;
    if (level <= MPV_LOG_LEVEL_INFO)
        return LogLevel::info;
    return LogLevel::debug;
}

} // namespace lumvik
