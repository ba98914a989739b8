#pragma once

#include "platform/MainQueue.h"
#include "platform/SerialQueue.h"
#include "platform/network/HostLookup.h"
#include "updates/LumvikUpdateManifest.h"
#include "updates/UpdateChecker.h"

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

/// Whether a manifest offers an update: when its version is later than the installed one, or the
/// same with a higher build.
[[nodiscard]] LumvikUpdateCheckResult updateCheckResult(const LumvikUpdateManifest &manifest,
                                                        const InstalledVersion &installed);

/// What the update service is told at construction. As it stands it is right for the program.
struct LumvikUpdateSettings {
    /// The maker's web host, in lower case: asked for the manifest, and the only one on which its
    /// download page may be.
    QString webHost = makersWebHost();
    std::uint16_t port = 443;
    InstalledVersion installed = runningVersion();
    /// Who may vouch for the server; the system's authorities when not given.
    std::optional<QList<QSslCertificate>> authorities = std::nullopt;
    /// How long one check may take, everything included.
    std::chrono::milliseconds timeLimit = std::chrono::seconds(15);
    NameResolver resolver = resolveWithSystem;

    /// The host that this program was built for.
    [[nodiscard]] static QString makersWebHost();
    /// The version and build of this program.
    [[nodiscard]] static InstalledVersion runningVersion();
};

/// Asks the maker's web site for the newest version: fetches `/lumvik/version.json`, validates it
/// strictly and compares it with the version that is running. It only checks; nothing is downloaded
/// or installed, retried or kept between checks.
///
/// Owned by the controller and used on the main thread. The work is done on a serial queue of its
/// own, one check after another: a check that is asked for while another one runs waits for it.
/// Destruction cancels all checks and waits for no network and no name server.
class LumvikUpdateService final : public UpdateChecker {
  public:
    /// `mainQueue` must outlive the service.
    explicit LumvikUpdateService(MainQueue &mainQueue, LumvikUpdateSettings settings = {});
    ~LumvikUpdateService() override;

    /// The completion is destroyed on the main thread, too.
    std::shared_ptr<UpdateCheck> check(Completion completion) override;

  private:
    class Check;
    class Worker;

    SerialQueue m_queue;
    std::shared_ptr<Worker> m_worker; ///< Works, and ends, on m_queue.
    std::vector<std::weak_ptr<Check>> m_checks;
};

} // namespace lumvik
