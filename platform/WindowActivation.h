#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>

class QWindow;

namespace lumvik {

/// Brings `window` to the front and gives it keyboard focus, as far as the desktop allows. Call it
/// in response to a user's request made outside the window. `token` is what the desktop passed
/// along with that request: an activation token (Wayland), a startup id (X11), or nothing. If the
/// desktop shows a busy pointer until the program responds, the function also ends the busy
/// pointer. Main thread only.
void activateWindow(QWindow &window, const QByteArray &token);

/// Returns the time of the user's action that a startup id contains, in the X server's
/// milliseconds, or nothing if the id contains none.
[[nodiscard]] std::optional<std::uint32_t> timeOfStartupId(const QByteArray &id);

} // namespace lumvik
