#include "platform/ExitGuard.h"

#include <atomic>
#include <cstdlib>

namespace lumvik {

namespace {

std::atomic_bool isGuarded;

void leaveIfGuarded() {
    if (isGuarded)
        std::_Exit(EXIT_FAILURE);
}

} // namespace

ExitGuard::ExitGuard() {
    // What was registered last runs first. Without room for it, exit is what it was.
    (void)std::atexit(leaveIfGuarded);
    isGuarded = true;
}

ExitGuard::~ExitGuard() {
    isGuarded = false;
}

} // namespace lumvik
