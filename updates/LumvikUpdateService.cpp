#include "updates/LumvikUpdateService.h"

#include "platform/LumvikLog.h"
#include "platform/SerialQueueHandle.h"
#include "updates/ManifestDownload.h"
#include "updates/VersionComparison.h"
#include "updates/WebsiteUrl.h"

#include <compare>
#include <deque>
#include <utility>

namespace lumvik {

namespace {

tl::unexpected<LumvikUpdateCheckError> failure(const QString &message) {
    return tl::unexpected(LumvikUpdateCheckError{message});
}

/// Returns the URL of the manifest, or an invalid URL if the configured host is invalid.
QUrl manifestAddress(const LumvikUpdateSettings &settings) {
    QUrl address = websiteUrl(settings.webHost, QStringLiteral("/lumvik/version.json"));
    if (address.isValid())
        address.setPort(settings.port);
    return address;
}

/// Decodes and validates a manifest and compares it with the installed version.
LumvikUpdateCheckOutcome outcomeOfManifest(const QByteArray &json,
                                           const LumvikUpdateSettings &settings) {
    const auto manifest = decodeUpdateManifest(json);
    if (!manifest)
        return failure(manifest.error());
    if (!validateUpdateManifest(*manifest, settings.webHost))
        return failure(QStringLiteral("The update server returned an invalid download address."));
    LumvikLog::updates().info(
        QStringLiteral("Validated update manifest build %1 against installed build %2.")
            .arg(manifest->build)
            .arg(settings.installed.buildNumber()));
    return updateCheckResult(*manifest, settings.installed);
}

} // namespace

QString InstalledVersion::versionText() const {
    return version.isNull() ? QStringLiteral("0") : version;
}

std::int64_t InstalledVersion::buildNumber() const {
    return decimalInteger(build).value_or(0);
}

LumvikUpdateCheckResult updateCheckResult(const LumvikUpdateManifest &manifest,
                                          const InstalledVersion &installed) {
    const auto order = compareVersions(manifest.version, installed.versionText());
    if (std::is_gt(order) || (std::is_eq(order) && installed.buildNumber() < manifest.build))
        return {.available = manifest};
    return {};
}

QString LumvikUpdateSettings::defaultWebHost() {
    return QStringLiteral(LUMVIK_WEB_HOST);
}

InstalledVersion LumvikUpdateSettings::runningVersion() {
    return {.version = QStringLiteral(LUMVIK_VERSION), .build = QStringLiteral(LUMVIK_BUILD)};
}

/// One update check. Only the main thread uses the completion handler. The worker stores checks and
/// passes them back to the main thread.
class LumvikUpdateService::Check final : public UpdateCheck,
                                         public std::enable_shared_from_this<Check> {
  public:
    Check(Completion completion, std::weak_ptr<Worker> worker,
          std::shared_ptr<SerialQueueHandle> queueHandle)
        : m_completion(std::move(completion))
        , m_worker(std::move(worker))
        , m_queueHandle(std::move(queueHandle)) {}

    void cancel() override;
    void deliver(LumvikUpdateCheckOutcome outcome) {
        if (const Completion completion = std::exchange(m_completion, nullptr))
            completion(std::move(outcome));
    }

  private:
    Completion m_completion; ///< Empty after the handler has run or the check was cancelled.
    const std::weak_ptr<Worker> m_worker;
    const std::shared_ptr<SerialQueueHandle> m_queueHandle;
};

/// The part of the service that runs on the queue's thread. The worker runs one check at a time and
/// keeps a list of waiting checks.
class LumvikUpdateService::Worker : public std::enable_shared_from_this<Worker> {
  public:
    Worker(MainQueue &mainQueue, LumvikUpdateSettings settings, SerialQueue &queue)
        : queueHandle(std::make_shared<SerialQueueHandle>(queue))
        , m_mainQueue(mainQueue)
        , m_settings(std::move(settings)) {}

    const std::shared_ptr<SerialQueueHandle> queueHandle; ///< Usable on any thread.

    void add(std::shared_ptr<Check> check) {
        m_waiting.push_back(std::move(check));
        if (!m_running)
            beginNext();
    }

    /// Removes a check that has finished or was cancelled, unless it has already been removed.
    /// Begins the next check if the removed one was running.
    void remove(const std::shared_ptr<Check> &check) {
        std::erase(m_waiting, check);
        if (m_running == check)
            beginNext();
    }

  private:
    void beginNext();
    void begin();
    void finish(LumvikUpdateCheckOutcome outcome);

    MainQueue &m_mainQueue;
    const LumvikUpdateSettings m_settings;
    std::deque<std::shared_ptr<Check>> m_waiting;
    std::shared_ptr<Check> m_running;
    std::shared_ptr<ManifestDownload> m_download;
};

void LumvikUpdateService::Worker::beginNext() {
    m_download.reset();
    m_running.reset();
    if (m_waiting.empty())
        return;
    m_running = std::move(m_waiting.front());
    m_waiting.pop_front();
    begin();
}

void LumvikUpdateService::Worker::begin() {
    LumvikLog::updates().info(QStringLiteral("Checking the official Lumvik update manifest."));
    const QUrl address = manifestAddress(m_settings);
    if (!address.isValid())
        return finish(failure(QStringLiteral("Lumvik’s update address is invalid.")));
    m_download =
        std::make_shared<ManifestDownload>(DownloadRequest{.address = address,
                                                           .timeLimit = m_settings.timeLimit,
                                                           .authorities = m_settings.authorities,
                                                           .resolver = m_settings.resolver},
                                           queueHandle);
    m_download->start([this](const ManifestDownload::Outcome &outcome) {
        finish(outcome ? outcomeOfManifest(*outcome, m_settings) : failure(outcome.error()));
    });
}

void LumvikUpdateService::Worker::finish(LumvikUpdateCheckOutcome outcome) {
    m_mainQueue.async(
        [check = m_running, outcome = std::move(outcome)] { check->deliver(outcome); });
    // The check is removed in a later task, because removing it deletes the download, which may be
    // the caller of this function.
    queueHandle->async([worker = weak_from_this(), check = m_running] {
        if (const auto self = worker.lock())
            self->remove(check);
    });
}

void LumvikUpdateService::Check::cancel() {
    if (!m_completion)
        return;
    m_completion = nullptr;
    m_queueHandle->async([worker = m_worker, check = shared_from_this()] {
        if (const auto self = worker.lock())
            self->remove(check);
    });
}

LumvikUpdateService::LumvikUpdateService(MainQueue &mainQueue, LumvikUpdateSettings settings)
    : m_queue(QLatin1String(LumvikLog::subsystem) + QStringLiteral(".updates"))
    , m_worker(std::make_shared<Worker>(mainQueue, std::move(settings), m_queue)) {}

LumvikUpdateService::~LumvikUpdateService() {
    for (const std::weak_ptr<Check> &check : m_checks) {
        if (const auto running = check.lock())
            running->cancel();
    }
    m_worker->queueHandle->close();
    // The last task destroys the worker. The queue's destructor waits for that task.
    m_queue.async([worker = std::move(m_worker)]() mutable { worker.reset(); });
}

std::shared_ptr<UpdateCheck> LumvikUpdateService::check(Completion completion) {
    auto check = std::make_shared<Check>(std::move(completion), m_worker, m_worker->queueHandle);
    std::erase_if(m_checks, [](const std::weak_ptr<Check> &other) { return other.expired(); });
    m_checks.push_back(check);
    m_queue.async([worker = m_worker, check] { worker->add(check); });
    return check;
}

} // namespace lumvik
