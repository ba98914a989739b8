#pragma once

#include <QProcessEnvironment>
#include <QUrl>

#include <functional>

namespace lumvik {

/// Hands addresses to the user's browser or mail program through xdg-open; where there is none,
/// through whatever the toolkit finds. Main thread only.
///
/// The program is started with `environment`, so that it does not inherit what this one has set for
/// its own toolkit. It is never waited for and outlives this one.
class DesktopOpener {
  public:
    explicit DesktopOpener(const QProcessEnvironment &environment) : m_environment(environment) {}

    /// `failed` runs at most once, now or in a later turn, when nothing opens `address`. xdg-open
    /// may say so only after it has tried for a while.
    void open(const QUrl &address, const std::function<void()> &failed) const;

  private:
    QProcessEnvironment m_environment;
};

} // namespace lumvik
