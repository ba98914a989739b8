#include "engine/MPVObserver.h"

#include "engine/DelimiterComplaints.h"
#include "engine/MessageLimit.h"

#include <atomic>
#include <string_view>

namespace lumvik {

namespace {

constexpr const char *videoParameters = "video-params";
constexpr const char *endReached = "eof-reached";

/// The most events handled in one turn of the main thread. At its most verbose log level the engine
/// produces messages faster than they can be logged; handling them all would block the main thread.
constexpr int maximumEventsPerTurn = 200;

} // namespace

struct MPVObserver::Client {
    mpv_handle *handle = nullptr; // owned; null once the observer is destroyed
    MainQueue *mainQueue = nullptr;
    Handlers handlers;
    bool isShuttingDown = false; // messages are still logged, but changes are not reported
    std::weak_ptr<Client> self;
    std::atomic_bool wakeUpIsPending = false;
    MessageLimit messageLimit;
    DelimiterComplaints delimiterComplaints;

    /// libmpv calls this function on any of its threads while it holds internal locks. The function
    /// therefore only posts a task to the main thread.
    static void wakeUp(void *context) {
        auto *client = static_cast<Client *>(context);
        if (!client->wakeUpIsPending.exchange(true)) {
            client->mainQueue->async([weak = client->self] {
                if (const auto strong = weak.lock())
                    strong->drain();
            });
        }
    }

    /// Handles the queued events, at most `maximumEventsPerTurn` of them. Posts another call of
    /// this function if more events may be left.
    void drain() {
        wakeUpIsPending = false;
        bool parametersChanged = false;
        bool endChanged = false;
        int events = 0;
        while (handle != nullptr && events < maximumEventsPerTurn) {
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
        if (events == maximumEventsPerTurn)
            wakeUp(this);
        // Several changes of a property are reported as one, because querying the new values
        // briefly blocks the engine.
        if (parametersChanged && !isShuttingDown)
            handlers.videoParametersChanged();
        if (endChanged && !isShuttingDown)
            handlers.endReachedChanged();
    }

    void log(const mpv_event_log_message &message) {
        const LogLevel level = logLevelOfEngineMessage(message.log_level);
        const QString words = QString::fromUtf8(message.text).trimmed();
        if (delimiterComplaints.contain(words))
            return;
        const QString text =
            QStringLiteral("[%1] %2").arg(QString::fromUtf8(message.prefix), words);
        const TimeStamp now = mainQueue->now();
        for (const QString &summary : messageLimit.takeSummaries(now))
            LumvikLog::playback().log(summary);
        // Details, which only a user who asks for them gets, are complete.
        const bool isComplaint = level == LogLevel::error || level == LogLevel::standard;
        if (isComplaint && !isShuttingDown)
            handlers.engineComplained(words);
        if (!isComplaint || messageLimit.admits(text, now))
            LumvikLog::playback().log(level, text);
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
            QStringLiteral("Cannot observe the video engine; its messages and changes of the "
                           "picture's shape will be missed."));
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
    // After this call has returned, no wake-up callback is running, so no callback can access a
    // deleted client.
    mpv_set_wakeup_callback(m_client->handle, nullptr, nullptr);
    m_client->isShuttingDown = true;
    m_client->drain(); // the last messages often explain why playback ended
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
