#pragma once

#include "updates/LumvikUpdateManifest.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <tl/expected.hpp>

namespace lumvik {

/// The version and the build of an installed copy of the program, as texts.
struct InstalledVersion {
    QString version;
    QString build;

    /// Returns the version, or "0" if it is null.
    [[nodiscard]] QString versionText() const;
    /// Returns the build number, or 0 if the build is not a decimal integer.
    [[nodiscard]] std::int64_t buildNumber() const;
};

/// The result of a successful check.
struct LumvikUpdateCheckResult {
    /// The update that is available, or nothing if the running version is current.
    std::optional<LumvikUpdateManifest> available;

    friend bool operator==(const LumvikUpdateCheckResult &,
                           const LumvikUpdateCheckResult &) = default;
};

/// The reason why a check failed.
struct LumvikUpdateCheckError {
    QString message; ///< A sentence for the user.

    friend bool operator==(const LumvikUpdateCheckError &,
                           const LumvikUpdateCheckError &) = default;
};

using LumvikUpdateCheckOutcome = tl::expected<LumvikUpdateCheckResult, LumvikUpdateCheckError>;

/// A running check. Deleting this object does not cancel the check.
class UpdateCheck {
  public:
    UpdateCheck() = default;
    UpdateCheck(const UpdateCheck &) = delete;
    UpdateCheck &operator=(const UpdateCheck &) = delete;
    virtual ~UpdateCheck() = default;
    /// Cancels the check, so that its completion handler never runs. Returns immediately. Does
    /// nothing if the check has already been cancelled or has finished. Main thread only.
    virtual void cancel() = 0;
};

/// Checks whether a newer version is available. The program uses LumvikUpdateService; tests use a
/// fake.
class UpdateChecker {
  public:
    using Completion = std::function<void(LumvikUpdateCheckOutcome)>;

    UpdateChecker() = default;
    UpdateChecker(const UpdateChecker &) = delete;
    UpdateChecker &operator=(const UpdateChecker &) = delete;
    virtual ~UpdateChecker() = default;

    /// Begins a check. `completion` runs once on the main thread, in a later turn of the event
    /// loop, unless the check is cancelled or the checker is destroyed first. Main thread only.
    virtual std::shared_ptr<UpdateCheck> check(Completion completion) = 0;
};

} // namespace lumvik
