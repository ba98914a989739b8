#include "platform/ExitGuard.h"

#include <atomic>
#include <cstdlib>

namespace lumvik {

namespace {

/// The guard registers its handler when it is created, and again when each of the first three
/// players has loaded. All libraries have been loaded by that time.
constexpr int mostRegistrations = 4;

std::atomic_bool isGuarded;

void exitIfGuarded() {
    if (isGuarded)
        std::_Exit(EXIT_FAILURE);
}

} // namespace

ExitGuard::ExitGuard() {
    renew();
    isGuarded = true;
}

ExitGuard::~ExitGuard() {
    isGuarded = false;
}

void ExitGuard::renew() {
    if (m_registrations == mostRegistrations)
        return;
    ++m_registrations;
    // Exit handlers run in reverse order of registration. If registration fails, std::exit behaves
    // as usual.
    (void)std::atexit(exitIfGuarded);
}

} // namespace lumvik
