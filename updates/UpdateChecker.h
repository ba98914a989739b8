#pragma once

#include "updates/LumvikUpdateManifest.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <tl/expected.hpp>

namespace lumvik {

/// What a version of the program says about itself, as text.
struct InstalledVersion {
    QString version; ///< Counts as "0" when it is null.
    QString build;   ///< Counts as 0 when it is no decimal integer.

    [[nodiscard]] QString versionText() const;
    [[nodiscard]] std::int64_t buildNumber() const;
};

/// The answer of a check that succeeded.
struct LumvikUpdateCheckResult {
    /// What is offered; nothing when the running version is current.
    std::optional<LumvikUpdateManifest> available;

    [[nodiscard]] bool isCurrent() const { return !available; }
    friend bool operator==(const LumvikUpdateCheckResult &,
                           const LumvikUpdateCheckResult &) = default;
};

/// Why a check failed.
struct LumvikUpdateCheckError {
    QString message; ///< A sentence for the user.

    friend bool operator==(const LumvikUpdateCheckError &,
                           const LumvikUpdateCheckError &) = default;
};

using LumvikUpdateCheckOutcome = tl::expected<LumvikUpdateCheckResult, LumvikUpdateCheckError>;

/// A check under way. Letting go of it does not cancel it.
class UpdateCheck {
  public:
    UpdateCheck() = default;
    UpdateCheck(const UpdateCheck &) = delete;
    UpdateCheck &operator=(const UpdateCheck &) = delete;
    virtual ~UpdateCheck() = default;
    /// Breaks the check off: its completion does not run any more. Returns at once. Harmless when
    /// repeated or when the check is over. Main thread.
    virtual void cancel() = 0;
};

/// Finds out whether there is a newer version. The program's own is LumvikUpdateService.
class UpdateChecker {
  public:
    using Completion = std::function<void(LumvikUpdateCheckOutcome)>;

    UpdateChecker() = default;
    UpdateChecker(const UpdateChecker &) = delete;
    UpdateChecker &operator=(const UpdateChecker &) = delete;
    virtual ~UpdateChecker() = default;

    /// Begins a check. `completion` runs once on the main thread, in a later turn, unless the check
    /// is cancelled or the checker destroyed before. Main thread.
    virtual std::shared_ptr<UpdateCheck> check(Completion completion) = 0;
};

} // namespace lumvik
