#include "platform/ExitGuard.h"

#include <atomic>
#include <cstdlib>

namespace lumvik {

namespace {

/// The guard's own, and one for each of the first players: by then all libraries have been loaded.
constexpr int mostRegistrations = 4;

std::atomic_bool isGuarded;

void leaveIfGuarded() {
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
    // What was registered last runs first. Without room for it, exit is what it was.
    (void)std::atexit(leaveIfGuarded);
}

} // namespace lumvik
