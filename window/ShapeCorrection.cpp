#include "window/ShapeCorrection.h"

namespace lumvik {

namespace {

/// The maximum number of requests to remember. The oldest request is forgotten first.
constexpr qsizetype maximumRequests = 16;

} // namespace

std::optional<QSize> ShapeCorrection::sizeToAskFor(const QSize &size, const QSize &shaped) {
    if (shaped == size) {
        reset();
        return std::nullopt;
    }
    const Request request{.from = size, .to = shaped};
    if (m_requests.contains(request))
        return std::nullopt;
    if (m_requests.size() == maximumRequests)
        m_requests.removeFirst();
    m_requests.append(request);
    return shaped;
}

} // namespace lumvik
