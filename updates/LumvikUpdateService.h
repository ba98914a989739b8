#pragma once

#include "platform/MainQueue.h"
#include "platform/SerialQueue.h"
#include "platform/network/HostLookup.h"
#include "updates/LumvikUpdateManifest.h"
#include "updates/ManifestDownload.h"
#include "updates/UpdateChecker.h"
#include "updates/WebsiteUrl.h"

#include <QList>
#include <QSslCertificate>
#include <QString>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <tl/expected.hpp>
#include <vector>

namespace lumvik {

/// Compares a manifest with the installed version. An update is available if the manifest's version
/// is later than the installed one, or if it is the same version with a higher build number.
[[nodiscard]] LumvikUpdateCheckResult updateCheckResult(const LumvikUpdateManifest &manifest,
                                                        const InstalledVersion &installed);

/// The settings of the update service. The defaults are those of the program; tests change them.
struct LumvikUpdateSettings {
    /// The host of the Lumvik website, in lower case. The manifest is fetched from this host, and
    /// its download page must be on the same host.
    QString webHost = defaultWebHost();
    std::uint16_t port = httpsPort;
    InstalledVersion installed = runningVersion();
    /// The certificate authorities to trust, or the system's authorities if not set.
    std::optional<QList<QSslCertificate>> authorities = std::nullopt;
    /// The time limit of one check, from the look-up of the host to the last byte.
    std::chrono::milliseconds timeLimit = ManifestDownload::defaultTimeLimit;
    NameResolver resolver = resolveWithSystem;

    /// Returns the host of the Lumvik website, as configured when the program was built.
    [[nodiscard]] static QString defaultWebHost();
    /// Returns the version and build of this program.
    [[nodiscard]] static InstalledVersion runningVersion();
};

/// Checks the Lumvik website for a newer version. Fetches `/lumvik/version.json`, validates it
/// strictly and compares it with the running version. The service only checks: it does not download
/// or install updates, does not retry, and keeps nothing between checks.
///
/// The controller owns the service and uses it on the main thread. The work is done on a dedicated
/// serial queue, one check at a time: a check that begins while another one is running waits for
/// it. The destructor cancels all checks. It waits neither for the network nor for a name server.
class LumvikUpdateService final : public UpdateChecker {
  public:
    /// `mainQueue` must outlive the service.
    explicit LumvikUpdateService(MainQueue &mainQueue, LumvikUpdateSettings settings = {});
    ~LumvikUpdateService() override;

    /// The completion handler is also destroyed on the main thread.
    std::shared_ptr<UpdateCheck> check(Completion completion) override;

  private:
    class Check;
    class Worker;

    SerialQueue m_queue;
    std::shared_ptr<Worker> m_worker; ///< Used and destroyed on m_queue's thread.
    std::vector<std::weak_ptr<Check>> m_checks;
};

} // namespace lumvik
