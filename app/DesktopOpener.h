#pragma once

#include "platform/CoreDumps.h"

#include <QProcessEnvironment>
#include <QUrl>

#include <functional>

namespace lumvik {

/// Opens addresses in the user's browser or mail program through xdg-open, or through Qt if
/// xdg-open is not installed. Main thread only.
///
/// The program is started with `environment` and `coreDumps`, so that it does not inherit Lumvik's
/// own environment variables and core dump settings. Lumvik does not wait for it, and it continues
/// to run when Lumvik exits.
class DesktopOpener {
  public:
    DesktopOpener(const QProcessEnvironment &environment, const CoreDumpSettings &coreDumps)
        : m_environment(environment)
        , m_coreDumps(coreDumps) {}

    /// Opens `address`. `failed` runs at most once, immediately or later, if no program could open
    /// it. xdg-open may take a while to report a failure.
    void open(const QUrl &address, const std::function<void()> &failed) const;

  private:
    QProcessEnvironment m_environment;
    CoreDumpSettings m_coreDumps;
};

} // namespace lumvik
