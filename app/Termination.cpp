#include "app/Termination.h"

#include "platform/MainQueue.h"
#include "platform/TerminationSignals.h"

#include <utility>

namespace lumvik {

Termination::Termination(MainQueue &mainQueue, std::function<void()> end)
    : m_mainQueue(mainQueue)
    , m_end(std::move(end)) {}

void Termination::request() {
    m_isRequested = true;
    m_mainQueue.async(m_end);
}

bool Termination::isUnderWay() const {
    return m_isRequested || TerminationSignals::haveArrived();
}

} // namespace lumvik
