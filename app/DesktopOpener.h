#pragma once

#include "platform/CoreDumps.h"

#include <QProcessEnvironment>
#include <QUrl>

#include <functional>

namespace lumvik {

/// Hands addresses to the user's browser or mail program through xdg-open; where there is none,
/// through whatever the toolkit finds. Main thread only.
///
/// The program is started with `environment` and `coreDumps`, so that it does not inherit what this
/// one has set for its own toolkit and against dumps of its own memory. It is never waited for and
/// outlives this one.
class DesktopOpener {
  public:
    DesktopOpener(const QProcessEnvironment &environment, const UsersCoreDumps &coreDumps)
        : m_environment(environment)
        , m_coreDumps(coreDumps) {}

    /// `failed` runs at most once, now or in a later turn, when nothing opens `address`. xdg-open
    /// may say so only after it has tried for a while.
    void open(const QUrl &address, const std::function<void()> &failed) const;

  private:
    QProcessEnvironment m_environment;
    UsersCoreDumps m_coreDumps;
};

} // namespace lumvik
