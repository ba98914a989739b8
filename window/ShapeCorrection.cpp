#include "window/ShapeCorrection.h"

namespace lumvik {

namespace {

/// Refusals of more sizes than these are forgotten, oldest first.
constexpr qsizetype mostRequests = 16;

} // namespace

std::optional<QSize> ShapeCorrection::sizeToAskFor(const QSize &size, const QSize &shaped) {
    if (shaped == size) {
        reset();
        return std::nullopt;
    }
    const Request request{.from = size, .to = shaped};
    if (m_requests.contains(request))
        return std::nullopt;
    if (m_requests.size() == mostRequests)
        m_requests.removeFirst();
    m_requests.append(request);
    return shaped;
}

} // namespace lumvik
