#pragma once

#include <QList>
#include <QSize>

#include <optional>

namespace lumvik {

/// Decides whether a window with the wrong aspect ratio requests a corrected size. A window manager
/// may refuse a size, as tiling window managers do, by sending the old size again. A request that
/// is repeated after each refusal would then be repeated endlessly. The same request is therefore
/// not made twice from the same size until the window has had the right aspect ratio or is to have
/// a different one.
class ShapeCorrection {
  public:
    /// Returns the size to request for a window that has `size` and should have `shaped`. Returns
    /// nothing if the window already has that size or the request was refused before.
    [[nodiscard]] std::optional<QSize> sizeToAskFor(const QSize &size, const QSize &shaped);

    /// Forgets all refusals. Call this when the window is to have a different aspect ratio, or when
    /// the window manager may now grant what it refused.
    void reset() { m_requests.clear(); }

  private:
    struct Request {
        QSize from;
        QSize to;
        friend bool operator==(const Request &, const Request &) = default;
    };
    /// The requests since the window last had the right aspect ratio. A window manager that rounds
    /// sizes to its own grid may cycle through several sizes, so remembering one request is not
    /// enough.
    QList<Request> m_requests;
};

} // namespace lumvik
