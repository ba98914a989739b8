#pragma once

#include <QList>
#include <QSize>

#include <optional>

namespace lumvik {

/// Decides whether a window in the wrong shape asks for the right one. A window manager may refuse
/// a size, as tiling ones do, and answers by sending the old size again; asking again then would
/// never end. So the same request is not made twice from the same size until the window has had the
/// right shape or is to have another one.
class ShapeCorrection {
  public:
    /// The size to ask for, when the window has `size` and ought to have `shaped`; nothing when it
    /// has it already or the request was refused before.
    [[nodiscard]] std::optional<QSize> sizeToAskFor(const QSize &size, const QSize &shaped);

    /// Forgets every refusal: the window is to have another shape, or may be treated differently
    /// now.
    void reset() { m_requests.clear(); }

  private:
    struct Request {
        QSize from;
        QSize to;
        friend bool operator==(const Request &, const Request &) = default;
    };
    /// Those since the right shape was had last. More than one, since a window manager that rounds
    /// sizes to its own grid may answer in circles.
    QList<Request> m_requests;
};

} // namespace lumvik
